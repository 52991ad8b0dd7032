#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/temp_dir.h"
#include "tests/system/gtk/gtk_user.h"
#include "ztk/system/file_dialog.h"
#include "ztk/system/timer.h"

inline constexpr char kWildcard[] = "Images|*.png;*.jpg|Text|*.txt|All files|*.*|";

class FileDialogGtk : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!Server().Running()) GTEST_SKIP() << "Xvfb is not installed, or has ended";
    for (const char* const name : {"photo.JPG", "sea.png", "notes.txt", "README"}) {
      WriteWholeFile(m_files / name, name);
    }
    std::filesystem::create_directory(m_files.Path() / "folder.txt");
    testing::internal::CaptureStderr();
    m_captured = true;
  }
  void TearDown() override {
    if (!m_captured) return;
    // Neither the plug-in nor the toolkit has a word for the user of the program.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  }

  ZTKFileDLG Dialog(unsigned long nStyle, const char* wildcard = kWildcard,
                    const char* fileName = "") {
    return {nullptr, nStyle, wildcard, "", m_files.Path().c_str(), fileName};
  }
  static bool Press(int response) {
    return ::Press(reinterpret_cast<GtkDialog*>(OpenChooser()), response);
  }
  // In one turn of the loop: the chooser may still be reading, and select another file then.
  static bool Open(const std::string& path) {
    if (!Select(OpenChooser(), path)) return false;
    gtk_dialog_response(GTK_DIALOG(OpenChooser()), GTK_RESPONSE_ACCEPT);
    return true;
  }
  static bool Answer(int response) { return ::Press(OpenQuestion(), response); }
  static bool TypeName(const char* name) {
    // The name field of a save dialog has the focus from the start.
    GtkFileChooser* const chooser = OpenChooser();
    GtkWidget* const focus =
        chooser != nullptr ? gtk_window_get_focus(GTK_WINDOW(chooser)) : nullptr;
    if (focus == nullptr || !GTK_IS_ENTRY(focus)) return false;
    gtk_entry_set_text(GTK_ENTRY(focus), name);
    return true;
  }
  static std::string CurrentName() {
    char* const name = gtk_file_chooser_get_current_name(OpenChooser());
    std::string text = name;
    g_free(name);
    return text;
  }

  // GTK keeps to its first display, so the cases share one.
  static VirtualDisplay& Server() {
    static VirtualDisplay s_display;
    return s_display;
  }

  TempDir m_files;

 private:
  bool m_captured = false;
};

struct CountingTimer : ZTKTimer {
  void Notify() override {
    ++fired;
    if (onFire) onFire();
  }
  int fired = 0;
  std::function<void()> onFire;
};
