// How the plug-in is looked for, in a program that uses no toolkit and has no display.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/system/file_dialog.h"

namespace {

class ZTKFileDLGNoDisplay : public ::testing::Test {
 private:
  const ScopedEnv m_display{"DISPLAY", nullptr};
  const ScopedEnv m_wayland{"WAYLAND_DISPLAY", nullptr};
  const ScopedEnv m_socket{"WAYLAND_SOCKET", nullptr};
  const ScopedEnv m_backend{"GDK_BACKEND", nullptr};
};

bool HasToolkit() {
  std::ifstream maps("/proc/self/maps");
  const std::string text{std::istreambuf_iterator<char>(maps), {}};
  EXPECT_FALSE(text.empty());
  return text.find("libgtk") != std::string::npos;
}

int Show() { return ZTKFileDLG(nullptr, FD_OPEN, "", "", "", "").ShowModal(); }

TEST_F(ZTKFileDLGNoDisplay, CancelsAtOnceWithoutASoundOrAToolkit) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int result = Show();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(result, DLG_CANCEL);
  EXPECT_FALSE(HasToolkit());
}

TEST_F(ZTKFileDLGNoDisplay, TellsThatThereIsNone) {
  ZTKString text;
  EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
  EXPECT_EQ(text.view(), "no display: neither DISPLAY nor WAYLAND_DISPLAY is set");
  EXPECT_FALSE(HasToolkit());
}

TEST_F(ZTKFileDLGNoDisplay, AnEmptyVariableIsNoDisplay) {
  const ScopedEnv empty("DISPLAY", "");
  ZTKString text;
  EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
  EXPECT_EQ(text.view(), "no display: neither DISPLAY nor WAYLAND_DISPLAY is set");
}

// Where the plug-in was built, it says that it cannot open that display; elsewhere it is missing.
TEST_F(ZTKFileDLGNoDisplay, ADisplayThatIsNotThereCancelsToo) {
  const ScopedEnv display("DISPLAY", ":98765");
  testing::internal::CaptureStderr();
  ZTKString text;
  const bool usable = ZTKFileDLG::QueryBackEnd(text);
  const int result = Show();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(usable);
  EXPECT_EQ(result, DLG_CANCEL);
  EXPECT_THAT(
      std::string(text.view()),
      testing::AnyOf(testing::StrEq("cannot open the display \":98765\""),
                     testing::HasSubstr("libztkdialog-gtk3.so: cannot open shared object")));
}

// A stand-in by the name of another GTK is enough to see that the plug-in is then left alone.
TEST_F(ZTKFileDLGNoDisplay, RefusesBesideAnotherGtk) {
  struct {
    const char* library;
    const char* reason;
  } const rows[] = {
      {ZTK_FAKE_GTK2, "GTK 2 is in this process, and GTK 3 cannot be beside it"},
      {ZTK_FAKE_GTK4, "GTK 4 is in this process, and GTK 3 cannot be beside it"},
  };
  const ScopedEnv display("DISPLAY", ":98765");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.library);
    void* const other = dlopen(row.library, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(other, nullptr) << dlerror();
    ZTKString text;
    EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
    EXPECT_EQ(text.view(), row.reason);
    EXPECT_EQ(Show(), DLG_CANCEL);
    dlclose(other);
  }
}

}  // namespace
