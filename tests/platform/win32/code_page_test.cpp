// Code page 0 where it has characters of two bytes, as in eastern Asia.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/scoped_code_page_win32.h"
#include "tests/support/temp_dir.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/text_file.h"

namespace {

class Win32CodePage : public testing::TestWithParam<UINT> {
 protected:
  void SetUp() override {
    if (IsValidCodePage(GetParam()) == 0) GTEST_SKIP() << "the system has no such code page";
  }

  // What the system makes of bytes; "" for what is no text.
  std::wstring Decoded(const std::string& bytes) const {
    wchar_t wide[8];
    const int units = MultiByteToWideChar(GetParam(), MB_ERR_INVALID_CHARS, bytes.data(),
                                          static_cast<int>(bytes.size()), wide, 8);
    return std::wstring(wide, static_cast<size_t>(units));
  }
  std::string Encoded(const std::wstring& wide) const {
    char bytes[8];
    BOOL isReplaced = FALSE;
    const int size =
        WideCharToMultiByte(GetParam(), WC_NO_BEST_FIT_CHARS, wide.data(),
                            static_cast<int>(wide.size()), bytes, 8, nullptr, &isReplaced);
    return isReplaced != FALSE ? "?" : std::string(bytes, static_cast<size_t>(size));
  }
  // Every character of two bytes that is one unit of UTF-16, and comes back from that.
  std::vector<std::string> Pairs() const {
    std::vector<std::string> pairs;
    for (int lead = 0x80; lead < 0x100; ++lead) {
      if (IsDBCSLeadByteEx(GetParam(), static_cast<BYTE>(lead)) == 0) continue;
      for (int trail = 0x30; trail < 0x100; ++trail) {
        const std::string bytes = {static_cast<char>(lead), static_cast<char>(trail)};
        const std::wstring wide = Decoded(bytes);
        if (wide.size() == 1 && Encoded(wide) == bytes) pairs.push_back(bytes);
      }
    }
    return pairs;
  }
  static std::string Utf8(const std::wstring& wide) {
    return ZTKCW2AEX<128>(wide.c_str(), kCodePageUtf8).m_psz;
  }
};

std::wstring ToWide(const std::string& bytes) {
  return ZTKCA2WEX<128>(bytes.c_str(), kCodePageSystem).m_psz;
}

std::string ToBytes(const std::wstring& wide) {
  return ZTKCW2AEX<128>(wide.c_str(), kCodePageSystem).m_psz;
}

std::string NameOf(const testing::TestParamInfo<UINT>& info) { return std::to_string(info.param); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(, Win32CodePage, testing::Values(932u, 936u, 949u, 950u), NameOf);

TEST_P(Win32CodePage, EveryCharacterIsThatOfTheSystem) {
  const ScopedCodePage page(GetParam());
  EXPECT_FALSE(XPSystemReadsUtf8());
  const std::vector<std::string> pairs = Pairs();
  EXPECT_GT(pairs.size(), 6000u);
  std::string text;
  std::wstring wideText;
  for (const std::string& pair : pairs) {
    const std::wstring wide = Decoded(pair);
    ASSERT_EQ(ToWide(pair), wide);
    ASSERT_EQ(ToBytes(wide), pair);
    text += pair + "a";
    wideText += wide + L"a";
  }
  EXPECT_EQ(ToWide(text), wideText);
  EXPECT_EQ(ToBytes(wideText), text);
  for (int byte = 1; byte < 0x100; ++byte) {
    if (IsDBCSLeadByteEx(GetParam(), static_cast<BYTE>(byte)) != 0) continue;
    const std::string bytes(1, static_cast<char>(byte));
    const std::wstring wide = Decoded(bytes);
    if (wide.empty()) continue;
    EXPECT_EQ(ToWide(bytes), wide) << byte;
  }
  EXPECT_EQ(ToBytes(L"\x0E01|\xD83D\xDCC1"), "?|?");
}

TEST_P(Win32CodePage, ATextThatEndsInHalfACharacterLosesNoByte) {
  const ScopedCodePage page(GetParam());
  const std::string pair = Pairs()[100];
  for (const std::string& start : {std::string(), std::string("a"), pair}) {
    // No text of the code page: every byte of it is a character of Windows-1252.
    const std::string bytes = start + pair[0];
    const std::wstring wide = ToWide(bytes);
    EXPECT_EQ(wide.size(), bytes.size());
    EXPECT_EQ(ToWide(bytes + '\0' + pair[1]), wide);
  }
}

TEST_P(Win32CodePage, ATargetEndsBetweenTwoCharacters) {
  const ScopedCodePage page(GetParam());
  const std::vector<std::string> pairs = Pairs();
  std::wstring wide;
  for (size_t i = 0; i < 20; ++i) wide += Decoded(pairs[i * 100]) + (i % 3 == 0 ? L"a" : L"");
  const std::string bytes = ToBytes(wide);
  for (int size = 1; size <= static_cast<int>(bytes.size()) + 2; ++size) {
    SCOPED_TRACE(size);
    std::string target(static_cast<size_t>(size), '#');
    const unsigned long count = XPW2A(wide.c_str(), target.data(), size, kCodePageSystem);
    ASSERT_LE(count, static_cast<unsigned long>(size));
    target.resize(count - 1);
    EXPECT_GE(target.size() + 2, std::min(bytes.size() + 2, static_cast<size_t>(size)));
    const std::wstring back = ToWide(target);
    EXPECT_EQ(back, wide.substr(0, back.size()));
    EXPECT_EQ(ToBytes(back), target);

    std::wstring wideTarget(static_cast<size_t>(size), L'#');
    const unsigned long units = XPA2W(bytes.c_str(), wideTarget.data(), size, kCodePageSystem);
    wideTarget.resize(units - 1);
    EXPECT_EQ(wideTarget, wide.substr(0, static_cast<size_t>(size) - 1));
  }
}

TEST_P(Win32CodePage, TextFilesAreReadAndKeptWherePiecesOfThemEndInHalfACharacter) {
  const ScopedCodePage page(GetParam());
  TempDir dir;
  const std::vector<std::string> pairs = Pairs();
  // What is read at once has 64 KiB; lines are shorter, and longer.
  for (const size_t length : {size_t{7}, size_t{1001}, size_t{200'000}}) {
    for (size_t shift = 0; shift < 3; ++shift) {
      SCOPED_TRACE(testing::Message() << length << ", " << shift);
      std::string bytes(shift, 'a');
      std::string line = bytes;
      std::vector<std::string> lines;
      for (size_t i = 0; bytes.size() < 300'000; ++i) {
        const std::string& pair = pairs[i * 7 % pairs.size()];
        bytes += pair;
        line += Utf8(Decoded(pair));
        if (i % length != length - 1) continue;
        bytes += "\r\n";
        lines.push_back(line);
        line.clear();
      }
      bytes += "\r\n";
      lines.push_back(line);

      const std::string path = dir / "text.txt";
      WriteWholeFile(path, bytes);
      ZTKTextFile file(path.c_str(), TEXT_KEEP_ENCODING);
      ASSERT_TRUE(file.Open());
      ASSERT_EQ(file.GetLineCount(), lines.size());
      for (size_t i = 0; i < lines.size(); ++i) {
        ASSERT_EQ(file.GetLine(static_cast<unsigned long>(i)).view(), lines[i]) << i;
      }
      ASSERT_TRUE(file.Write(EOL_NONE));
      EXPECT_EQ(ReadWholeFile(path), bytes);

      // What the code page lacks is refused, and the file as it was.
      file.AddLine("\xF0\x9F\x93\x81", EOL_DOS);
      EXPECT_FALSE(file.Write(EOL_NONE));
      EXPECT_EQ(ReadWholeFile(path), bytes);
    }
  }
}

TEST(Win32Utf8CodePage, IsReadAndWrittenAsInAUtf8Locale) {
  const ScopedCodePage page(CP_UTF8);
  EXPECT_TRUE(XPSystemReadsUtf8());
  EXPECT_EQ(ToWide("\xC3\xA9 \xF0\x9F\x93\x81"), L"\x00E9 \xD83D\xDCC1");
  EXPECT_EQ(ToWide("\xC3\xA9 \xE9"), L"\x00C3\x00A9 \x00E9") << "what is no UTF-8 loses no byte";
  EXPECT_EQ(ToBytes(L"\x00E9\x4E2D\xD800"), "\xC3\xA9\xE4\xB8\xAD\xEF\xBF\xBD");
}

TEST(Win32AsciiCodePage, IsReadAndWrittenAsInTheCLocale) {
  const ScopedCodePage page(20127);
  EXPECT_TRUE(XPSystemReadsUtf8());
  EXPECT_EQ(ToWide("\xC3\xA9"), L"\x00E9");
  EXPECT_EQ(ToWide("\xE9\x80"), L"\x00E9\x20AC");
  EXPECT_EQ(ToBytes(L"\x00E9\x4E2D"), "\xE9?");
}
