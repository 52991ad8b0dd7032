// A display that goes away. Nothing has a display after one of these cases, so each of them needs a
// process of its own; ctest gives it one.

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "tests/system/gtk/file_dialog_fixture.h"
#include "tests/system/gtk/gtk_suppressions.h"
#include "tests/system/gtk/gtk_user.h"
#include "tests/system/gtk/windows_on_screen.h"
#include "ztk/system/file_dialog.h"

namespace {

class FileDialogGtkLoss : public FileDialogGtk {
 protected:
  // Nothing is left of a dialog, nor of the toolkit.
  void ExpectLost(ZTKFileDLG& dialog) {
    EXPECT_EQ(dialog.GetPath().view(), "");
    ZTKString text;
    EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
    EXPECT_EQ(text.view(), "the display went away");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_FALSE(g_main_context_is_owner(nullptr));
  }
};

GtkWidget* Widget() { return GTK_WIDGET(OpenChooser()); }

bool IsListing() { return !ListedNames(OpenChooser()).empty(); }

// What happens when the server goes. Plain functions, for they are abandoned in the middle.
gboolean KillWhileDrawing(GtkWidget*, cairo_t*, gpointer server) {
  static_cast<VirtualDisplay*>(server)->Kill();
  return FALSE;  // The toolkit goes on drawing.
}

gboolean KillAndAsk(gpointer server) {
  GtkWidget* const chooser = Widget();
  static_cast<VirtualDisplay*>(server)->Kill();
  gtk_window_resize(GTK_WINDOW(chooser), 500, 400);
  gdk_window_get_root_origin(gtk_widget_get_window(chooser), nullptr, nullptr);
  int x = 0;
  int y = 0;
  gdk_device_get_position(
      gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default())), nullptr, &x,
      &y);
  ADD_FAILURE() << "went on without a server";
  return G_SOURCE_REMOVE;
}

void KillOnResponse(GtkDialog*, int, gpointer server) {
  static_cast<VirtualDisplay*>(server)->Kill();
}

TEST_F(FileDialogGtkLoss, WhileTheDialogWaitsCancelsIt) {
  User user;
  user.Then("end the server", [] {
    if (!IsListing()) return false;
    Server().Kill();
    return true;
  });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, BeforeTheDialogReadItsFolderCancelsIt) {
  User user;
  user.Then("end the server", [] {
    if (OpenChooser() == nullptr) return false;
    Server().Kill();
    return true;
  });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, WhileTheDialogDrawsCancelsIt) {
  ExpectAbandonedCall();
  User user;
  user.Then("end the server at the next drawing", [] {
    if (!IsListing()) return false;
    g_signal_connect(Widget(), "draw", G_CALLBACK(KillWhileDrawing), &Server());
    gtk_widget_queue_draw(Widget());
    return true;
  });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, WhileTheToolkitWaitsForAnAnswerCancelsTheDialog) {
  ExpectAbandonedCall();
  User user;
  user.Then("end the server before a question to it", [] {
    if (!IsListing()) return false;
    g_idle_add(KillAndAsk, &Server());
    return true;
  });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, WhileItAsksWhetherToOverwriteCancelsTheDialog) {
  ExpectAbandonedCall();
  User user;
  user.Then("press Save", [] { return Press(GTK_RESPONSE_ACCEPT); }).Then("end the server", [] {
    if (OpenQuestion() == nullptr) return false;
    Server().Kill();
    return true;
  });
  ZTKFileDLG dialog = Dialog(FD_SAVE, kWildcard, "notes.txt");
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, WhileTheDialogClosesLeavesTheChoice) {
  ExpectAbandonedCall();
  User user;
  user.Then("press Save", [] {
    if (OpenChooser() == nullptr) return false;
    g_signal_connect(Widget(), "response", G_CALLBACK(KillOnResponse), &Server());
    return Press(GTK_RESPONSE_ACCEPT);
  });
  ZTKFileDLG dialog = Dialog(FD_SAVE, kWildcard, "new.txt");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetPath().view(), m_files / "new.txt");
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
}

TEST_F(FileDialogGtkLoss, BetweenTwoDialogsCancelsTheSecond) {
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  {
    User user;
    user.Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  }
  Server().Kill();
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  ExpectLost(dialog);
}

TEST_F(FileDialogGtkLoss, CancelsEveryDialog) {
  ExpectAbandonedCall();
  ZTKFileDLG inner = Dialog(FD_SAVE, kWildcard, "inner.txt");
  int innerResult = 0;
  CountingTimer opener;
  opener.onFire = [&] { innerResult = inner.ShowModal(); };
  User user;
  user.Then("start", [&] { return OpenChooser() != nullptr && opener.Start(1, 1); })
      .Then("end the server", [] {
        if (OpenChooser() == nullptr ||
            gtk_file_chooser_get_action(OpenChooser()) != GTK_FILE_CHOOSER_ACTION_SAVE) {
          return false;
        }
        g_idle_add(KillAndAsk, &Server());
        return true;
      });
  ZTKFileDLG outer = Dialog(FD_OPEN);
  EXPECT_EQ(outer.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(innerResult, DLG_CANCEL);
  ExpectLost(outer);
}

TEST_F(FileDialogGtkLoss, InALoopOfTheProgramsLetsTheProgramEndIt) {
  int ticks = 0;
  int ended = 0;
  struct AtEnd {
    ~AtEnd() { ++*count; }
    int* count;
  };
  CountingTimer timer;
  timer.onFire = [&] {
    const AtEnd atEnd = {&ended};
    Server().Kill();
    g_timeout_add(
        1, [](gpointer data) -> gboolean { return ++*static_cast<int*>(data) < 20; }, &ticks);
    while (ticks < 20) g_main_context_iteration(nullptr, TRUE);
  };
  User user;
  user.Then("start", [&] { return IsListing() && timer.Start(1, 1); });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(ticks, 20);
  ExpectLost(dialog);
}

// A program may use GLib's main loop without GTK: the toolkit's share of it must not come up again.
TEST_F(FileDialogGtkLoss, LeavesTheMainLoopOfTheProgramInOrder) {
  ExpectAbandonedCall();
  const int connection = [] {
    ZTKString text;
    EXPECT_TRUE(ZTKFileDLG::QueryBackEnd(text));
    return ToolkitConnection();
  }();
  // The dialog opens from within the program's own loop.
  struct Program {
    ZTKFileDLG dialog;
    int result = 0;
    int ticks = 0;
  } program = {Dialog(FD_OPEN)};
  {
    User user;
    user.Then("end the server at the next drawing", [] {
      if (!IsListing()) return false;
      g_signal_connect(Widget(), "draw", G_CALLBACK(KillWhileDrawing), &Server());
      gtk_widget_queue_draw(Widget());
      return true;
    });
    g_idle_add(
        [](gpointer data) -> gboolean {
          auto* const self = static_cast<Program*>(data);
          self->result = self->dialog.ShowModal();
          return G_SOURCE_REMOVE;
        },
        &program);
    while (program.result == 0) g_main_context_iteration(nullptr, TRUE);
  }
  EXPECT_EQ(program.result, DLG_CANCEL);

  g_timeout_add(
      1,
      [](gpointer data) -> gboolean {
        return ++static_cast<Program*>(data)->ticks < 100 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
      },
      &program);
  while (program.ticks < 100) g_main_context_iteration(nullptr, TRUE);

  int priority = 0;
  ASSERT_TRUE(g_main_context_acquire(nullptr));
  g_main_context_prepare(nullptr, &priority);
  std::vector<GPollFD> polled(100);
  int timeout = 0;
  const int count =
      g_main_context_query(g_main_context_default(), G_MAXINT, &timeout, polled.data(), 100);
  while (g_main_context_is_owner(nullptr)) g_main_context_release(nullptr);
  for (int i = 0; i < count; ++i) EXPECT_NE(polled[static_cast<size_t>(i)].fd, connection);
  ExpectLost(program.dialog);
}

}  // namespace
