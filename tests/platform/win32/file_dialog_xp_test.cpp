#include "ztk/system/file_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cwchar>
#include <functional>
#include <string>
#include <thread>

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
  static std::atomic<int> s_nMessages;
  s_nMessages = 0;
  const HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      GetModuleHandleW(nullptr), nullptr);
  ASSERT_NE(window, nullptr);
  SetTimer(window, 1, 10, [](HWND, UINT, UINT_PTR, DWORD) { ++s_nMessages; });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  const User user([] {
    EXPECT_TRUE(WaitUntil([] { return s_nMessages >= 3; }));
    Press(VK_ESCAPE);
  });
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  DestroyWindow(window);
}
