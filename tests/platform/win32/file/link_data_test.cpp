// What links say, from the bytes that the system gives: Wine makes no links to try.

#include "ztk/platform/win32/link_data.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr std::uint32_t kSymbolicLink = 0xA000000C;
constexpr std::uint32_t kJunction = 0xA0000003;

std::string Bytes(const std::wstring& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

template <class Value>
void Put(std::string& data, Value value) {
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  data.append(bytes, sizeof value);
}

std::string LinkData(std::uint32_t tag, const std::wstring& kernel, const std::wstring& written) {
  const std::string texts = Bytes(kernel) + Bytes(written);
  std::string data;
  Put(data, tag);
  Put(data, static_cast<std::uint16_t>(texts.size() + (tag == kSymbolicLink ? 12 : 8)));
  Put(data, std::uint16_t{0});
  Put(data, std::uint16_t{0});
  Put(data, static_cast<std::uint16_t>(Bytes(kernel).size()));
  Put(data, static_cast<std::uint16_t>(Bytes(kernel).size()));
  Put(data, static_cast<std::uint16_t>(Bytes(written).size()));
  if (tag == kSymbolicLink) Put(data, std::uint32_t{1});
  return data + texts;
}

std::wstring Target(const std::string& data) {
  const WideText text = TargetOfLink(data.data(), data.size());
  return text != nullptr ? text.get() : L"(none)";
}

TEST(LinkData, ALinkSaysWhatWasWritten) {
  EXPECT_EQ(Target(LinkData(kSymbolicLink, L"..\\dir\\f", L"..\\dir\\f")), L"..\\dir\\f");
  EXPECT_EQ(Target(LinkData(kSymbolicLink, L"\\??\\C:\\x", L"C:\\x")), L"C:\\x");
  EXPECT_EQ(Target(LinkData(kJunction, L"\\??\\D:\\data", L"D:\\data")), L"D:\\data");
}

TEST(LinkData, WithoutThatItSaysWhatTheKernelReads) {
  EXPECT_EQ(Target(LinkData(kSymbolicLink, L"\\??\\C:\\x", L"")), L"C:\\x");
  EXPECT_EQ(Target(LinkData(kJunction, L"\\??\\UNC\\server\\share", L"")), L"\\\\server\\share");
  EXPECT_EQ(Target(LinkData(kJunction, L"\\??\\Volume{1}\\", L"")), L"\\\\?\\Volume{1}\\");
}

TEST(LinkData, OtherKindsAndDamagedOnesSayNothing) {
  EXPECT_EQ(Target(LinkData(0x9000001A, L"a", L"b")), L"(none)");
  EXPECT_EQ(Target(LinkData(kSymbolicLink, L"", L"")), L"(none)");
  for (const std::uint32_t tag : {kSymbolicLink, kJunction}) {
    const std::string whole = LinkData(tag, L"\\??\\C:\\x", L"C:\\x");
    for (size_t size = 0; size < whole.size(); ++size) {
      const std::string cut = whole.substr(0, size);
      EXPECT_EQ(Target(cut), L"(none)") << size;
    }
  }
}

}  // namespace
