#include "ztk/system/file_dialog.h"

#include <gtest/gtest.h>
#include <shlobj.h>
#include <shobjidl.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cwchar>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/imports_win32.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/system/timer.h"

// The plug-in's dialogs, under key events of a user who sits at another thread.

namespace {

constexpr char kUmlauts[] = "gr\xC3\xB6\xC3\x9F\x65.txt";
constexpr char kTitle[] = "The dialog of this test";

// Looks until it is so; false when that does not come.
bool WaitUntil(const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

bool HasTitle(HWND hWindow) {
  wchar_t text[64] = L"";
  GetWindowTextW(hWindow, text, 64);
  return wcscmp(text, L"The dialog of this test") == 0;
}

// A question of the dialog's is owned by it, and may have its title.
bool IsQuestion(HWND hWindow) { return HasTitle(GetWindow(hWindow, GW_OWNER)); }

bool IsDialogInFront() {
  const HWND front = GetForegroundWindow();
  return HasTitle(front) && !IsQuestion(front);
}

// Whether the second entry of a list in the dialog is chosen.
bool HasSecondFilter(HWND hWindow) {
  bool has = false;
  EnumChildWindows(
      hWindow,
      [](HWND child, LPARAM pHas) -> BOOL {
        wchar_t name[16] = L"";
        GetClassNameW(child, name, 16);
        if (std::wcscmp(name, L"ComboBox") != 0) return TRUE;
        if (SendMessageW(child, CB_GETCURSEL, 0, 0) != 1 ||
            SendMessageW(child, CB_GETCOUNT, 0, 0) != 2) {
          return TRUE;
        }
        *reinterpret_cast<bool*>(pHas) = true;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&has));
  return has;
}

bool IsQuestionInFront() { return IsQuestion(GetForegroundWindow()); }

bool IsClosed() { return FindWindowW(nullptr, L"The dialog of this test") == nullptr; }

void Press(WORD nKey) {
  INPUT down = {};
  down.type = INPUT_KEYBOARD;
  down.ki.wVk = nKey;
  INPUT up = down;
  up.ki.dwFlags = KEYEVENTF_KEYUP;
  INPUT both[] = {down, up};
  SendInput(2, both, sizeof(INPUT));
}

// As an input method does.
void Type(const wchar_t* pszText) {
  for (; *pszText != L'\0'; ++pszText) {
    INPUT down = {};
    down.type = INPUT_KEYBOARD;
    down.ki.wScan = static_cast<WORD>(*pszText);
    down.ki.dwFlags = KEYEVENTF_UNICODE;
    INPUT up = down;
    up.ki.dwFlags |= KEYEVENTF_KEYUP;
    INPUT both[] = {down, up};
    SendInput(2, both, sizeof(INPUT));
  }
}

/// Does the script once the dialog is in front. It is closed in any case, so that no test hangs.
class User {
 public:
  explicit User(std::function<void()> script)
      : m_thread([script = std::move(script)] {
          if (WaitUntil(IsDialogInFront)) script();
          if (WaitUntil(IsClosed)) return;
          ADD_FAILURE() << "the dialog stays open";
          for (; !IsClosed(); std::this_thread::sleep_for(std::chrono::milliseconds(20))) {
            PostMessageW(GetForegroundWindow(), WM_COMMAND, IDCANCEL, 0);
          }
        }) {}
  ~User() { m_thread.join(); }
  User(const User&) = delete;
  User& operator=(const User&) = delete;

 private:
  std::thread m_thread;
};

std::atomic<int> s_nMessages;

void CALLBACK CountMessage(HWND, UINT, UINT_PTR, DWORD) { ++s_nMessages; }

bool IsKnownToTheShell(const wchar_t* pszPath) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IShellItem* item = nullptr;
  const HRESULT result = SHCreateItemFromParsingName(pszPath, nullptr, IID_IShellItem,
                                                     reinterpret_cast<void**>(&item));
  wchar_t* path = nullptr;
  const bool isKnown =
      SUCCEEDED(result) && SUCCEEDED(item->GetDisplayName(SIGDN_FILESYSPATH, &path));
  CoTaskMemFree(path);
  if (item != nullptr) item->Release();
  CoUninitialize();
  return isKnown;
}

// The system's wait, or one that fails for the program's thread, which waits for several.
DWORD(WINAPI* s_wait)(DWORD, const HANDLE*, DWORD, DWORD, DWORD);
std::atomic<bool> s_failsToWait = false;

DWORD WINAPI WaitOrFail(DWORD count, const HANDLE* handles, DWORD timeout, DWORD what,
                        DWORD flags) {
  if (!s_failsToWait || count == 1) return s_wait(count, handles, timeout, what, flags);
  SetLastError(ERROR_INVALID_HANDLE);
  return WAIT_FAILED;
}

class FileDialogWin32 : public testing::Test {
 protected:
  void SetUp() override {
    ZTKString reason;
    if (!ZTKFileDLG::QueryBackEnd(reason)) GTEST_SKIP() << reason.c_str();
    Create("alt.txt");
    Create(kUmlauts);
  }

  void Create(const char* pszName) {
    ZTKFile file;
    ASSERT_TRUE(file.XPCreate((m_temp / "").append(pszName).c_str(), true, 0666));
  }
  ZTKFileDLG Dialog(unsigned long nStyle, const char* pszName = "") {
    return {nullptr, nStyle, "Texts|*.txt|Logs|*.log|", kTitle, (m_temp / "").c_str(), pszName};
  }

  TempDir m_temp;
};

}  // namespace

TEST_F(FileDialogWin32, AFileIsChosenByItsName) {
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  const User user([] {
    Type(L"gr\u00F6\u00DFe.txt");
    Press(VK_RETURN);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), kUmlauts);
  EXPECT_TRUE(ZTKFileExists(dialog.GetPath()));
  EXPECT_EQ(dialog.GetFilterIndex(), 0);
}

TEST_F(FileDialogWin32, EscapeCancelsAndLeavesEveryField) {
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  const ZTKString directory = dialog.GetDirectory();
  const User user([] { Press(VK_ESCAPE); });
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(dialog.GetPath().view(), "");
  EXPECT_EQ(dialog.GetDirectory().view(), directory.view());
}

TEST_F(FileDialogWin32, ANewNameIsSavedUnder) {
  ZTKFileDLG dialog = Dialog(FD_SAVE, "new.txt");
  const User user([] { Press(VK_RETURN); });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "new.txt");
}

TEST_F(FileDialogWin32, AnExistingNameIsAskedAboutAndMayBeReplaced) {
  ZTKFileDLG dialog = Dialog(FD_SAVE, "alt.txt");
  const User user([] {
    Press(VK_RETURN);
    ASSERT_TRUE(WaitUntil(IsQuestionInFront));
    Press(L'Y');
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "alt.txt");
}

TEST_F(FileDialogWin32, AnExistingNameIsNotReplacedWithoutAYes) {
  ZTKFileDLG dialog = Dialog(FD_SAVE, "alt.txt");
  const User user([] {
    Press(VK_RETURN);
    ASSERT_TRUE(WaitUntil(IsQuestionInFront));
    Press(L'N');
    ASSERT_TRUE(WaitUntil(IsDialogInFront));
    Press(VK_ESCAPE);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(dialog.GetPath().view(), "");
}

TEST_F(FileDialogWin32, TheSaveNameFollowsTheFilter) {
  ZTKFileDLG dialog = Dialog(FD_SAVE, "new.txt");
  const User user([] {
    Press(VK_TAB);
    Press(VK_DOWN);
    Press(VK_RETURN);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "new.log");
  EXPECT_EQ(dialog.GetFilterIndex(), 1);
}

TEST_F(FileDialogWin32, TimersFireWhileItIsOpen) {
  struct Counter : ZTKTimer {
    void Notify() override { ++count; }
    std::atomic<int> count = 0;
  } counter;
  counter.Start(10, 0);
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  const User user([&] {
    EXPECT_TRUE(WaitUntil([&] { return counter.count >= 3; }));
    Press(VK_ESCAPE);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  counter.Stop();
}

TEST_F(FileDialogWin32, WindowsOfTheProgramGetTheirMessages) {
  s_nMessages = 0;
  const HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      GetModuleHandleW(nullptr), nullptr);
  ASSERT_NE(window, nullptr);
  SetTimer(window, 1, 10, CountMessage);
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  const User user([] {
    EXPECT_TRUE(WaitUntil([] { return s_nMessages >= 3; }));
    Press(VK_ESCAPE);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  DestroyWindow(window);
}

TEST_F(FileDialogWin32, AStartFolderMayHaveALongPath) {
  std::string folder = m_temp.Path().string();
  while (folder.size() < 300) {
    folder += "\\" + std::string(60, 'f');
    ASSERT_TRUE(ZTKMkdir(folder.c_str(), 0777));
  }
  wchar_t shortPath[MAX_PATH];
  const std::wstring wide(folder.begin(), folder.end());
  const DWORD length = GetShortPathNameW((L"\\\\?\\" + wide).c_str(), shortPath, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) GTEST_SKIP() << "the drive has no short names";
  if (!IsKnownToTheShell(wide.c_str()) && !IsKnownToTheShell(shortPath + 4)) {
    GTEST_SKIP() << "the shell knows no such paths";
  }
  ZTKFileDLG dialog(nullptr, FD_SAVE, "Texts|*.txt|", kTitle, folder.c_str(), "new.txt");
  const User user([] { Press(VK_RETURN); });
  ASSERT_EQ(dialog.ShowModal(), DLG_OK);
  ZTKFile file;
  EXPECT_TRUE(file.XPCreate(dialog.GetPath().c_str(), true, 0666));
  EXPECT_TRUE(ZTKFileExists((folder + "\\new.txt").c_str())) << dialog.GetPath().c_str();
}

TEST_F(FileDialogWin32, ADialogThatATimerOpensEndsWhileTheFirstOneAsks) {
  static std::atomic<bool> s_isAsking;
  s_isAsking = false;
  struct Opener : ZTKTimer {
    void Notify() override {
      if (!s_isAsking) return;
      Stop();
      ZTKFileDLG inner(nullptr, FD_OPEN, "", "Inner", "", "");
      result = inner.ShowModal();
    }
    int result = 0;
  } opener;
  ZTKFileDLG dialog = Dialog(FD_SAVE, "new.txt");
  // The program is in the timer's call from the choice of the filter on: nobody answers.
  class Blocker : public ZTKTimer {
   public:
    void Notify() override {
      if (!IsDialogInFront()) return;
      Stop();
      EXPECT_TRUE(WaitUntil([] { return s_isAsking.load(); }));
    }
  } blocker;
  opener.Start(1, 0);
  blocker.Start(1, 0);
  const User user([] {
    const HWND front = GetForegroundWindow();
    Press(VK_TAB);
    Press(VK_DOWN);
    EXPECT_TRUE(WaitUntil([front] { return HasSecondFilter(front); }));
    s_isAsking = true;
    const bool isInnerOpen = WaitUntil([] { return FindWindowW(nullptr, L"Inner") != nullptr; });
    EXPECT_TRUE(isInnerOpen);
    const HWND inner = FindWindowW(nullptr, L"Inner");
    PostMessageW(inner, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(WaitUntil([] { return FindWindowW(nullptr, L"Inner") == nullptr; }));
    SetForegroundWindow(front);
    EXPECT_TRUE(WaitUntil(IsDialogInFront));
    PostMessageW(front, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "new.log");
  EXPECT_EQ(opener.result, DLG_CANCEL);
}

TEST_F(FileDialogWin32, WhereWaitingFailsItIsServedAllTheSame) {
  const imports::Replacement replacement =
      imports::Replace("MsgWaitForMultipleObjectsEx", &WaitOrFail, &s_wait);
  ASSERT_NE(GetModuleHandleW(L"ztkdialog-win32.dll"), nullptr);  // Since it was looked for.
  imports::ReplaceIn(GetModuleHandleW(L"ztkdialog-win32.dll"), &replacement, 1);
  ASSERT_NE(s_wait, nullptr);
  struct Counter : ZTKTimer {
    void Notify() override { ++count; }
    std::atomic<int> count = 0;
  } counter;
  counter.Start(10, 0);
  s_failsToWait = true;
  ZTKFileDLG dialog = Dialog(FD_SAVE, "new.txt");
  const User user([&] {
    EXPECT_TRUE(WaitUntil([&] { return counter.count >= 3; }));
    Press(VK_TAB);
    Press(VK_DOWN);
    Press(VK_RETURN);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "new.log");
  s_failsToWait = false;
}
