// From the UTF-8 of the body to the paths that calls of the system take, and back.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/win32/wide_path.h"

namespace {

std::wstring Wide(const std::string& utf8) {
  const WideText text = ToWide(utf8.c_str());
  return text != nullptr ? std::wstring(text.get()) : L"(none)";
}

WideText Copy(const std::wstring& text) {
  WideText copy(new wchar_t[text.size() + 1]);
  std::wcscpy(copy.get(), text.c_str());
  return copy;
}

std::wstring Prefixed(const std::wstring& full) { return WithPrefix(Copy(full)).get(); }

std::wstring Unprefixed(const std::wstring& full) {
  const WideText copy = Copy(full);
  return WithoutPrefix(copy.get());
}

TEST(WidePath, TextsAreConvertedBothWays) {
  struct {
    const char* utf8;
    const wchar_t* wide;
  } const rows[] = {
      {"", L""},
      {"abc", L"abc"},
      {"\xC3\xA4\xE2\x82\xAC", L"\x00E4\x20AC"},
      {"\xF0\x9F\x93\x81", L"\xD83D\xDCC1"},
      {"\xEF\xBF\xBD", L"\xFFFD"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Wide(row.utf8), row.wide);
    ZTKString text("old");
    EXPECT_TRUE(ToUtf8(row.wide, text));
    EXPECT_STREQ(text.c_str(), row.utf8);
  }
}

TEST(WidePath, WhatCannotBeConvertedIsRefused) {
  for (const char* const text : {"\x80", "a\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80",
                                 "\xF4\x90\x80\x80", "\xE2\x82", "\xF0\x9F\x93"}) {
    EXPECT_EQ(ToWide(text), nullptr);
    EXPECT_EQ(ErrnoOf(GetLastError()), EILSEQ);
    EXPECT_FALSE(WidePath(text).IsValid());
    EXPECT_FALSE(XPKeepsName(text));
  }
  ZTKString text("old");
  for (const wchar_t* const lone : {L"\xD83D", L"a\xDCC1z", L"\xDCC1\xD83D"}) {
    EXPECT_FALSE(ToUtf8(lone, text));
    EXPECT_STREQ(text.c_str(), "old");
  }
}

TEST(WidePath, APathIsMadeAbsoluteAndItsDotsAreResolved) {
  EXPECT_STREQ(WidePath("C:\\dir\\.\\sub\\..\\f").Get(), L"C:\\dir\\f");
  EXPECT_STREQ(WidePath("C:/dir/f").Get(), L"C:\\dir\\f");
  EXPECT_STREQ(WidePath("//server/share/f").Get(), L"\\\\server\\share\\f");
  EXPECT_STREQ(WidePath("\\\\?\\C:\\dir\\..\\x.").Get(), L"\\\\?\\C:\\dir\\..\\x.");
  const WidePath relative("f");
  ASSERT_TRUE(relative.IsValid());
  EXPECT_EQ(relative.Get()[1], L':');
  EXPECT_FALSE(WidePath("").IsValid());
}

TEST(WidePath, LongPathsGetThePrefixAndShortOnesNone) {
  for (const size_t length : {size_t{4}, size_t{247}, size_t{248}, size_t{260}, size_t{4000}}) {
    SCOPED_TRACE(length);
    const bool isLong = length >= 248;
    const std::wstring drive = L"C:\\" + std::wstring(length - 3, L'x');
    EXPECT_EQ(Prefixed(drive), (isLong ? L"\\\\?\\" : L"") + drive);
    if (length < 20) continue;
    const std::wstring share = L"server\\share\\" + std::wstring(length - 15, L'x');
    EXPECT_EQ(Prefixed(L"\\\\" + share), (isLong ? L"\\\\?\\UNC\\" : L"\\\\") + share);
    for (const wchar_t* const start : {L"\\\\?\\", L"\\\\.\\"}) {
      const std::wstring path = start + std::wstring(length - 4, L'x');
      EXPECT_EQ(Prefixed(path), path);
    }
  }
}

TEST(WidePath, ALongPathIsMadeOfAllItsCharacters) {
  const std::string folder(200, 'a');
  const std::string path = "C:\\" + folder + "\\" + folder + "/" + "\xF0\x9F\x93\x81.txt";
  const std::wstring wide(200, L'a');
  EXPECT_EQ(WidePath(path.c_str()).Get(),
            L"\\\\?\\C:\\" + wide + L"\\" + wide + L"\\\xD83D\xDCC1.txt");
}

TEST(WidePath, ThePrefixIsTakenOffWhereNothingElseIsMeant) {
  EXPECT_EQ(Unprefixed(L"\\\\?\\C:\\dir"), L"C:\\dir");
  EXPECT_EQ(Unprefixed(L"\\\\?\\UNC\\server\\share\\f"), L"\\\\server\\share\\f");
  EXPECT_EQ(Unprefixed(L"\\\\?\\Volume{0-1}\\f"), L"\\\\?\\Volume{0-1}\\f");
  EXPECT_EQ(Unprefixed(L"C:\\dir"), L"C:\\dir");
  EXPECT_EQ(Unprefixed(L"\\\\server\\share"), L"\\\\server\\share");
  EXPECT_EQ(Unprefixed(L""), L"");
}

TEST(WidePath, NamesThatTheSystemWouldTakeForOthersAreNoNewNames) {
  for (const char* const name :
       {"NUL", "nul.txt", "con", "dir\\CON", "C:\\dir\\aux.log", "COM1", "lpt9", "x.", "x ", "x. .",
        "dir\\x.", "f.txt:stream", "C:\\f:s", "C:f:s", "..."}) {
    EXPECT_FALSE(XPKeepsName(name)) << name;
  }
  for (const char* const name : {"x", ".x", "x.y.z", "nulx", "console", "com", "dir\\x", "C:x",
                                 "C:\\x", "\\\\server\\share\\x", "dir.\\x", "dir\\", ".", "..",
                                 "\\\\?\\C:\\x.", "\\\\?\\C:\\nul", "x y", " x"}) {
    EXPECT_TRUE(XPKeepsName(name)) << name;
  }
  EXPECT_FALSE(XPKeepsName(""));
}

TEST(WidePath, OnlyAPlainNameIsADeviceOnPurpose) {
  EXPECT_TRUE(WidePath("NUL", WidePath::kNewName).IsDevice());
  EXPECT_TRUE(WidePath("\\\\.\\NUL", WidePath::kNewName).IsDevice());
  EXPECT_FALSE(WidePath("nul.txt", WidePath::kNewName).IsValid());
  EXPECT_FALSE(WidePath("C:\\dir\\nul", WidePath::kNewName).IsValid());
  EXPECT_EQ(ErrnoOf(GetLastError()), EINVAL);
  EXPECT_TRUE(WidePath("\\\\.\\pipe\\x").IsPipe());
  EXPECT_FALSE(WidePath("C:\\pipe\\x").IsPipe());
}

TEST(WidePath, EveryErrorOfTheSystemHasAReason) {
  const struct {
    int reason;
    std::vector<DWORD> errors;
  } rows[] = {
      {ENOENT,
       {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_DRIVE, ERROR_BAD_NETPATH,
        ERROR_BAD_NET_NAME, ERROR_BAD_PATHNAME, ERROR_DIRECTORY}},
      {EACCES,
       {ERROR_ACCESS_DENIED, ERROR_PRIVILEGE_NOT_HELD, ERROR_NETWORK_ACCESS_DENIED,
        ERROR_CANNOT_MAKE, 740, 225}},
      {ELOOP, {ERROR_CANT_RESOLVE_FILENAME, 681}},
      {EBUSY,
       {ERROR_SHARING_VIOLATION, ERROR_LOCK_VIOLATION, ERROR_PIPE_BUSY, ERROR_DELETE_PENDING,
        ERROR_USER_MAPPED_FILE, ERROR_BUSY, ERROR_PATH_BUSY, ERROR_DRIVE_LOCKED}},
      {EEXIST, {ERROR_FILE_EXISTS, ERROR_ALREADY_EXISTS}},
      {ENOTEMPTY, {ERROR_DIR_NOT_EMPTY}},
      {EXDEV, {ERROR_NOT_SAME_DEVICE}},
      {EMLINK, {ERROR_TOO_MANY_LINKS}},
      {ENOSPC, {ERROR_DISK_FULL, ERROR_HANDLE_DISK_FULL, 1295, 314}},
      {EFBIG, {ERROR_FILE_TOO_LARGE}},
      {EROFS, {ERROR_WRITE_PROTECT}},
      {ENAMETOOLONG, {ERROR_FILENAME_EXCED_RANGE, ERROR_BUFFER_OVERFLOW}},
      {EMFILE, {ERROR_TOO_MANY_OPEN_FILES}},
      {ENFILE, {ERROR_SHARING_BUFFER_EXCEEDED}},
      {ENOMEM,
       {ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY, ERROR_NOT_ENOUGH_QUOTA,
        ERROR_NO_SYSTEM_RESOURCES, ERROR_COMMITMENT_LIMIT}},
      {EINVAL,
       {ERROR_INVALID_NAME, ERROR_INVALID_PARAMETER, ERROR_INVALID_FUNCTION, ERROR_NEGATIVE_SEEK}},
      {EILSEQ, {ERROR_NO_UNICODE_TRANSLATION}},
      {EBADF, {ERROR_INVALID_HANDLE}},
      {EPIPE, {ERROR_BROKEN_PIPE, ERROR_NO_DATA}},
      {ETIMEDOUT, {ERROR_SEM_TIMEOUT}},
      {ECANCELED, {ERROR_OPERATION_ABORTED}},
      {ENOTSUP, {ERROR_NOT_SUPPORTED}},
      {ENOSYS, {ERROR_CALL_NOT_IMPLEMENTED}},
      {EIO, {ERROR_CRC, ERROR_GEN_FAILURE, ERROR_IO_DEVICE, 0xFFFFFFFF}},
  };
  for (const auto& row : rows) {
    for (const DWORD error : row.errors) EXPECT_EQ(ErrnoOf(error), row.reason) << error;
  }
}

}  // namespace
