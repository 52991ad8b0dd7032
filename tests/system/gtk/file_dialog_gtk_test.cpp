// The dialog as a user meets it: on a display, worked through its own widgets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <clocale>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/temp_dir.h"
#include "tests/system/gtk/file_dialog_fixture.h"
#include "tests/system/gtk/gtk_user.h"
#include "tests/system/gtk/windows_on_screen.h"
#include "ztk/system/file_dialog.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(FileDialogGtk, IsTheBackEndThatWouldBeUsed) {
  ZTKString text;
  EXPECT_TRUE(ZTKFileDLG::QueryBackEnd(text)) << text;
  EXPECT_EQ(text.view(), "gtk3");
}

TEST_F(FileDialogGtk, ChoosesAFile) {
  TempDir elsewhere;
  const ScopedWorkingDirectory here(elsewhere.Path());
  User user;
  user.Then("open", [&] { return Open(m_files / "sea.png"); });
  ZTKFileDLG dialog = Dialog(FD_OPEN | FD_CHANGE_DIR);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetPath().view(), m_files / "sea.png");
  EXPECT_EQ(dialog.GetDirectory().view(), m_files.Path().string());
  EXPECT_EQ(dialog.GetFilename().view(), "sea.png");
  EXPECT_EQ(dialog.GetFilterIndex(), 0);
  EXPECT_EQ(std::filesystem::current_path(), m_files.Path());
}

TEST_F(FileDialogGtk, ListsWhatTheChosenFilterShows) {
  std::vector<std::string> images, text, all;
  User user;
  user.Then("list images", [&] { return (images = ListedNames(OpenChooser())).size() == 3; })
      .Then("pick text", [] { return PickFilter(OpenChooser(), 1); })
      .Then("list text", [&] { return (text = ListedNames(OpenChooser())).size() == 2; })
      .Then("pick all", [] { return PickFilter(OpenChooser(), 2); })
      .Then("list all", [&] { return (all = ListedNames(OpenChooser())).size() == 5; })
      .Then("open", [&] { return Open(m_files / "README"); });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_THAT(images, ElementsAre("folder.txt", "photo.JPG", "sea.png"));
  EXPECT_THAT(text, ElementsAre("folder.txt", "notes.txt"));
  EXPECT_THAT(all, ElementsAre("README", "folder.txt", "notes.txt", "photo.JPG", "sea.png"));
  EXPECT_EQ(dialog.GetFilename().view(), "README");
  EXPECT_EQ(dialog.GetFilterIndex(), 2);
}

TEST_F(FileDialogGtk, HidesWhatAFilterTextWithoutAClosingBarCutsOff) {
  std::vector<std::string> names;
  User user;
  user.Then("list", [&] { return (names = ListedNames(OpenChooser())).size() == 2; })
      .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
  EXPECT_EQ(Dialog(FD_OPEN, "Images|*.png;*.jpg").ShowModal(), DLG_CANCEL);
  EXPECT_THAT(names, ElementsAre("folder.txt", "sea.png"));
}

TEST_F(FileDialogGtk, BeginsWithTheFilterOfTheIndex) {
  std::vector<std::string> names;
  User user;
  user.Then("list", [&] { return (names = ListedNames(OpenChooser())).size() == 2; })
      .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  dialog.SetFilterIndex(1);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_THAT(names, ElementsAre("folder.txt", "notes.txt"));
}

TEST_F(FileDialogGtk, HasNoFilterPopUpWithoutFilters) {
  bool visible = true;
  std::vector<std::string> names;
  User user;
  user.Then("list", [&] { return (names = ListedNames(OpenChooser())).size() == 5; })
      .Then("look",
            [&] {
              GtkWidget* const box = PartOf(OpenChooser(), "filter_combo");
              visible = box != nullptr && gtk_widget_get_mapped(box);
              return box != nullptr;
            })
      .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
  EXPECT_EQ(Dialog(FD_OPEN, "").ShowModal(), DLG_CANCEL);
  EXPECT_FALSE(visible);
}

TEST_F(FileDialogGtk, CancelCountsThoughAFileIsSelected) {
  struct {
    const char* what;
    std::function<void(GtkWidget*)> leave;
  } const rows[] = {
      {"Cancel", [](GtkWidget*) { Press(GTK_RESPONSE_CANCEL); }},
      {"closing the window", [](GtkWidget* window) { gtk_window_close(GTK_WINDOW(window)); }},
      {"another response", [](GtkWidget* window) { gtk_dialog_response(GTK_DIALOG(window), 77); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    bool selected = false;
    User user;
    user.Then("select and leave", [&] {
      selected = Select(OpenChooser(), m_files / "sea.png");
      if (selected) row.leave(GTK_WIDGET(OpenChooser()));
      return selected;
    });
    ZTKFileDLG dialog = Dialog(FD_OPEN, kWildcard, "kept.name");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_TRUE(selected);
    EXPECT_EQ(dialog.GetPath().view(), "");
    EXPECT_EQ(dialog.GetFilename().view(), "kept.name");
    EXPECT_EQ(dialog.GetDirectory().view(), m_files.Path().string());
    EXPECT_EQ(dialog.GetFilterIndex(), -1);
  }
}

TEST_F(FileDialogGtk, SavesUnderANewNameThatIsTyped) {
  std::string offered;
  User user;
  user.Then("see the name",
            [&] {
              if (OpenChooser() == nullptr) return false;
              offered = CurrentName();
              return true;
            })
      .Then("type", [] { return TypeName("brand new.txt"); })
      .Then("press Save", [] { return Press(GTK_RESPONSE_ACCEPT); });
  ZTKFileDLG dialog = Dialog(FD_SAVE, kWildcard, "draft.txt");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(offered, "draft.txt");
  EXPECT_EQ(dialog.GetPath().view(), m_files / "brand new.txt");
  EXPECT_EQ(dialog.GetFilename().view(), "brand new.txt");
  EXPECT_FALSE(std::filesystem::exists(m_files / "brand new.txt"));  // Only a name is chosen.
}

TEST_F(FileDialogGtk, AsksBeforeOverwriting) {
  int questions = 0;
  User user;
  user.Then("press Save", [] { return Press(GTK_RESPONSE_ACCEPT); })
      .Then("refuse",
            [&] {
              const bool refused = Answer(GTK_RESPONSE_CANCEL);
              if (refused) ++questions;
              return refused;
            })
      .Then("press Save again",
            [] { return OpenQuestion() == nullptr && Press(GTK_RESPONSE_ACCEPT); })
      .Then("replace", [&] {
        const bool replaced = Answer(GTK_RESPONSE_ACCEPT);
        if (replaced) ++questions;
        return replaced;
      });
  ZTKFileDLG dialog = Dialog(FD_SAVE, kWildcard, "notes.txt");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(questions, 2);
  EXPECT_EQ(dialog.GetPath().view(), m_files / "notes.txt");
  EXPECT_EQ(ReadWholeFile(m_files / "notes.txt"), "notes.txt");  // Writing is up to the program.
}

TEST_F(FileDialogGtk, TheSaveNameFollowsTheFilterAndTheQuestionTheName) {
  std::vector<std::string> names;
  User user;
  const auto note = [&] {
    names.push_back(CurrentName());
    return true;
  };
  user.Then("pick text", [] { return PickFilter(OpenChooser(), 1); })
      .Then("note", note)
      .Then("pick all", [] { return PickFilter(OpenChooser(), 2); })
      .Then("note", note)
      .Then("pick images", [] { return PickFilter(OpenChooser(), 0); })
      .Then("note", note)
      .Then("pick text again", [] { return PickFilter(OpenChooser(), 1); })
      .Then("press Save", [] { return Press(GTK_RESPONSE_ACCEPT); })
      .Then("replace", [] { return Answer(GTK_RESPONSE_ACCEPT); });
  // "notes.txt" exists, "notes.md" does not: the question is about the name as it became.
  ZTKFileDLG dialog = Dialog(FD_SAVE_AS, kWildcard, "notes.md");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_THAT(names, ElementsAre("notes.txt", "notes.txt", "notes.png"));
  EXPECT_EQ(dialog.GetFilename().view(), "notes.txt");
  EXPECT_EQ(dialog.GetFilterIndex(), 1);
}

TEST_F(FileDialogGtk, TheSaveDialogListsEveryFile) {
  std::vector<std::string> names;
  User user;
  user.Then("list", [&] { return (names = ListedNames(OpenChooser())).size() == 5; })
      .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
  EXPECT_EQ(Dialog(FD_SAVE, "Text|*.txt|").ShowModal(), DLG_CANCEL);
  EXPECT_EQ(names.size(), 5u);
}

TEST_F(FileDialogGtk, BeginsInTheWorkingDirectoryWithoutOneOfItsOwn) {
  const ScopedWorkingDirectory here(m_files.Path());
  for (const std::string& directory : {std::string(), m_files / "missing", m_files / "README"}) {
    SCOPED_TRACE(directory);
    std::string shown;
    User user;
    user.Then("look",
              [&] {
                if (OpenChooser() == nullptr) return false;
                char* const folder = gtk_file_chooser_get_current_folder(OpenChooser());
                if (folder == nullptr) return false;
                shown = folder;
                g_free(folder);
                return true;
              })
        .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
    ZTKFileDLG dialog(nullptr, FD_OPEN, "", "", directory.c_str(), "");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_EQ(shown, m_files.Path().string());
  }
}

TEST_F(FileDialogGtk, ShowsItsTitleWhateverItsBytes) {
  struct {
    const char* message;
    const char* shown;
  } const rows[] = {
      {"", "Save as"},
      {"Bild \xC3\xB6"
       "ffnen",
       "Bild \xC3\xB6"
       "ffnen"},
      {"broken \xFF", "broken \xEF\xBF\xBD"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.shown);
    std::string shown;
    User user;
    user.Then("look",
              [&] {
                if (OpenChooser() == nullptr) return false;
                shown = gtk_window_get_title(GTK_WINDOW(OpenChooser()));
                return true;
              })
        .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
    ZTKFileDLG dialog(nullptr, FD_SAVE_AS, "", row.message, m_files.Path().c_str(), "");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_EQ(shown, row.shown);
  }
}

TEST_F(FileDialogGtk, GivesAFileNameBackByteForByte) {
  WriteWholeFile(m_files / "odd \xFF.txt", "");
  User user;
  user.Then("open", [&] { return Open(m_files / "odd \xFF.txt"); });
  ZTKFileDLG dialog = Dialog(FD_OPEN, "");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetPath().view(), m_files / "odd \xFF.txt");
}

TEST_F(FileDialogGtk, LeavesNothingOnTheScreenAndOpensAgain) {
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    int during = 0;
    User user;
    user.Then("count", [&] { return OpenChooser() != nullptr && (during = WindowsOnScreen()) > 0; })
        .Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
    EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_CANCEL);
    EXPECT_GT(during, 0);
    // Nothing of this process runs from here on: the server has been told all it takes.
    const gint64 deadline = g_get_monotonic_time() + 10 * G_USEC_PER_SEC;
    while (WindowsOnScreen() != 0 && g_get_monotonic_time() < deadline) std::this_thread::yield();
    EXPECT_EQ(WindowsOnScreen(), 0);
    EXPECT_EQ(OpenChooser(), nullptr);
  }
}

TEST_F(FileDialogGtk, OpensOverAnotherOfItsKind) {
  ZTKFileDLG inner = Dialog(FD_SAVE, kWildcard, "inner.txt");
  int innerResult = 0;
  User user;
  // The nested dialog runs inside a step, so its steps belong to a second user.
  user.Then("open the inner one",
            [&] {
              if (OpenChooser() == nullptr) return false;
              User second;
              second.Then("press Save", [] {
                return OpenChooser() != nullptr &&
                       gtk_file_chooser_get_action(OpenChooser()) == GTK_FILE_CHOOSER_ACTION_SAVE &&
                       Press(GTK_RESPONSE_ACCEPT);
              });
              innerResult = inner.ShowModal();
              return true;
            })
      .Then("open", [&] { return Open(m_files / "sea.png"); });
  ZTKFileDLG outer = Dialog(FD_OPEN);
  EXPECT_EQ(outer.ShowModal(), DLG_OK);
  EXPECT_EQ(innerResult, DLG_OK);
  EXPECT_EQ(inner.GetFilename().view(), "inner.txt");
  EXPECT_EQ(outer.GetFilename().view(), "sea.png");
}

TEST_F(FileDialogGtk, KeepsTimersFiringWhileItIsOpen) {
  CountingTimer timer;
  CountingTimer
      always;  // Due in every turn of the loop: the dialog must come through all the same.
  ASSERT_TRUE(timer.Start(5, 0));
  ASSERT_TRUE(always.Start(0, 0));
  int before = 0;
  User user;
  user.Then("see it",
            [&] {
              before = timer.fired;
              return ListedNames(OpenChooser()).size() == 3;
            })
      .Then("see it tick", [&] { return timer.fired >= before + 20; })
      .Then("open", [&] { return Open(m_files / "sea.png"); });
  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_OK);
  EXPECT_GE(timer.fired, before + 20);
  EXPECT_GT(always.fired, timer.fired);
}

TEST_F(FileDialogGtk, OpensFromATimerOverAnother) {
  ZTKFileDLG inner = Dialog(FD_SAVE, kWildcard, "inner.txt");
  int innerResult = 0;
  CountingTimer opener;
  CountingTimer other;
  opener.onFire = [&] { innerResult = inner.ShowModal(); };
  User user;
  user.Then("start", [&] { return OpenChooser() != nullptr && opener.Start(1, 1); })
      .Then("see the inner one",
            [] {
              return OpenChooser() != nullptr &&
                     gtk_file_chooser_get_action(OpenChooser()) == GTK_FILE_CHOOSER_ACTION_SAVE;
            })
      .Then("start another", [&] { return other.Start(1, 0); })
      .Then("see it tick", [&] { return other.fired >= 3; })
      .Then("press Save", [] { return Press(GTK_RESPONSE_ACCEPT); })
      .Then("see it end", [&] { return innerResult != 0; })
      .Then("open", [&] { return Open(m_files / "sea.png"); });
  ZTKFileDLG outer = Dialog(FD_OPEN);
  EXPECT_EQ(outer.ShowModal(), DLG_OK);
  EXPECT_EQ(innerResult, DLG_OK);
  EXPECT_EQ(outer.GetFilename().view(), "sea.png");
}

TEST_F(FileDialogGtk, LeavesTheLocaleOfTheProgramAlone) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  User user;
  user.Then("press Cancel", [] { return Press(GTK_RESPONSE_CANCEL); });
  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_CANCEL);
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST_F(FileDialogGtk, TakesAThousandFilters) {
  std::string wildcard;
  for (int i = 0; i < 1000; ++i) wildcard += "Kind " + std::to_string(i) + "|*.k|";
  User user;
  user.Then("pick the last", [] { return PickFilter(OpenChooser(), 999); }).Then("press Save", [] {
    return Press(GTK_RESPONSE_ACCEPT);
  });
  ZTKFileDLG dialog = Dialog(FD_SAVE, wildcard.c_str(), "name");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetFilename().view(), "name.k");
  EXPECT_EQ(dialog.GetFilterIndex(), 999);
}

}  // namespace
