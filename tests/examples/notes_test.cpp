// The example as a user meets it: on a display, worked through its own widgets.

#include <glib-unix.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "examples/notes/window.h"
#include "tests/support/temp_dir.h"
#include "tests/system/gtk/gtk_user.h"
#include "tests/system/gtk/keyboard.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct Named {
  const char* name;
  GtkWidget* found;
};

void FindNamed(GtkWidget* widget, gpointer data) {
  auto* const search = static_cast<Named*>(data);
  if (std::strcmp(gtk_widget_get_name(widget), search->name) == 0) search->found = widget;
  if (search->found == nullptr && GTK_IS_CONTAINER(widget)) {
    gtk_container_forall(GTK_CONTAINER(widget), FindNamed, search);
  }
}

class Notes : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!m_display.Running()) GTEST_SKIP() << "Xvfb is not installed";
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    m_log = new LogView;
    ZTKLog::SetActiveTarget(m_log);
    ZTKLog::ms_doLog = 1;
    m_timers = g_unix_fd_add(
        ZTKEventLoop::Main().GetFd(), G_IO_IN,
        [](gint, GIOCondition, gpointer) -> gboolean {
          ZTKEventLoop::Main().Dispatch();
          return G_SOURCE_CONTINUE;
        },
        nullptr);
    Start();
  }
  void TearDown() override {
    m_window.reset();
    m_settings.reset();
    if (m_timers != 0) g_source_remove(m_timers);
    ZTKLog::ms_doLog = 0;
    ZTKLog::SetActiveTarget(nullptr);
  }

  void Start() {
    m_settings = std::make_unique<Settings>();
    m_window = std::make_unique<NotesWindow>(*m_settings, *m_log);
    gtk_widget_show_all(m_window->GetWidget());
  }
  // The user closes the window, and starts the program again.
  void Restart() {
    Close();
    m_window.reset();
    m_settings.reset();
    Start();
  }
  void Close() {
    g_idle_add(
        [](gpointer window) -> gboolean {
          gtk_window_close(GTK_WINDOW(window));
          return G_SOURCE_REMOVE;
        },
        m_window->GetWidget());
    gtk_main();
  }
  // Runs the program until the user is through.
  static void Work(const User& user) {
    const gint64 end = g_get_monotonic_time() + 60 * G_USEC_PER_SEC;
    while (!user.Finished() && g_get_monotonic_time() < end) gtk_main_iteration();
  }

  GtkWidget* Find(const char* name) const {
    Named search = {name, nullptr};
    FindNamed(m_window->GetWidget(), &search);
    // The header bar is a child that no container tells of.
    if (search.found == nullptr) {
      FindNamed(gtk_window_get_titlebar(GTK_WINDOW(m_window->GetWidget())), &search);
    }
    EXPECT_NE(search.found, nullptr) << name;
    return search.found;
  }
  std::string Label(const char* name) const { return gtk_label_get_text(GTK_LABEL(Find(name))); }
  static std::string TextIn(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* const text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string copy = text;
    g_free(text);
    return copy;
  }
  std::string Text() const { return TextIn(gtk_text_view_get_buffer(GTK_TEXT_VIEW(Find("text")))); }
  std::string Log() const { return TextIn(m_log->GetBuffer()); }
  bool Type(const char* text) const {
    GtkWidget* const view = Find("text");
    if (!gtk_text_view_get_editable(GTK_TEXT_VIEW(view))) return false;
    gtk_text_buffer_insert_at_cursor(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), text, -1);
    return true;
  }
  bool Key(const char* keys) const { return PressKey(m_window->GetWidget(), keys); }
  bool CanClick(const char* name) const { return gtk_widget_is_sensitive(Find(name)) != FALSE; }
  const char* Title() const {
    return gtk_header_bar_get_title(
        GTK_HEADER_BAR(gtk_window_get_titlebar(GTK_WINDOW(m_window->GetWidget()))));
  }
  std::string Trouble() const {
    return gtk_widget_get_visible(Find("trouble")) ? Label("trouble-text") : "";
  }
  // Types the name in the save dialog, and has it saved there.
  bool SaveUnder(const char* name) const {
    GtkFileChooser* const chooser = OpenChooser();
    if (chooser == nullptr) return false;
    char* const folder = gtk_file_chooser_get_current_folder(chooser);
    const bool there = folder != nullptr && m_files.Path() == folder;
    g_free(folder);
    if (!there) {
      gtk_file_chooser_set_current_folder(chooser, m_files.Path().c_str());
      return false;
    }
    gtk_file_chooser_set_current_name(chooser, name);
    return Press(GTK_DIALOG(chooser), GTK_RESPONSE_ACCEPT);
  }
  // Saves under "todo" when there is a "todo.txt". It is made as the save dialog closes: that
  // completes the names that it lists, and would ask about the whole one itself.
  bool SaveUnderATakenName() const {
    if (!SaveUnder("todo")) return false;
    g_signal_connect_swapped(OpenChooser(), "response", G_CALLBACK(+[](const TempDir* files) {
                               WriteWholeFile(*files / "todo.txt", "of old");
                             }),
                             const_cast<TempDir*>(&m_files));
    return true;
  }
  // Later, for what it opens may be modal.
  bool Click(const char* name) const {
    GtkWidget* const button = Find(name);
    if (!gtk_widget_is_sensitive(button)) return false;
    g_idle_add(
        [](gpointer clicked) -> gboolean {
          gtk_button_clicked(GTK_BUTTON(clicked));
          return G_SOURCE_REMOVE;
        },
        button);
    return true;
  }
  static bool Choose(const std::string& path) {
    if (!Select(OpenChooser(), path)) return false;
    gtk_dialog_response(GTK_DIALOG(OpenChooser()), GTK_RESPONSE_ACCEPT);
    return true;
  }
  std::string UntitledCopy(int nProgram) const {
    return m_settings->GetFolder() + "ztk-notes-untitled-" + std::to_string(nProgram) + ".autosave";
  }
  std::vector<std::string> RecentNames() const { return Names(*m_settings); }
  static std::vector<std::string> Names(Settings& settings) {
    std::vector<std::string> names;
    for (const std::string& path : settings.GetRecentFiles()) {
      names.push_back(std::filesystem::path(path).filename());
    }
    return names;
  }

  VirtualDisplay m_display;
  TempDir m_files;
  LogView* m_log = nullptr;  // The log's.
  guint m_timers = 0;
  std::unique_ptr<Settings> m_settings;
  std::unique_ptr<NotesWindow> m_window;
};

TEST_F(Notes, OpensAFileAndTellsItsEncodingAndLineEnds) {
  struct {
    const char* name;
    std::string bytes;
    const char* encoding;
    const char* lineEnds;
  } const rows[] = {
      {"a.txt", "\xEF\xBB\xBFone\ntwo\n", "UTF-8 with mark", "LF"},
      {"b.txt", {"\xFF\xFEo\0n\0e\0\r\0\n\0t\0w\0o\0\r\0\n\0", 22}, "UTF-16 LE", "CR LF"},
      {"c.txt", {"\xFE\xFF\0o\0n\0e\0\r\0t\0w\0o", 16}, "UTF-16 BE", "CR"},
      {"d.txt", "one\ntwo\r\n", "UTF-8", "Mixed"},
      {"e.txt", "one\ntwo \xE9\n", "Windows-1252", "LF"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string path = m_files / row.name;
    WriteWholeFile(path, row.bytes);
    User user;
    user.Then("press Open", [&] { return Click("open"); })
        .Then("choose", [&] { return Choose(path); })
        .Then("see it", [&] { return Label("encoding") == row.encoding; });
    Work(user);
    EXPECT_EQ(Text().substr(0, 7), "one\ntwo");
    EXPECT_EQ(Label("line-ends"), row.lineEnds);
  }
  EXPECT_THAT(RecentNames(), ElementsAre("e.txt", "d.txt", "c.txt", "b.txt", "a.txt"));
}

TEST_F(Notes, SavesWhatWasTypedWithTheLineEndsOfTheFile) {
  const std::string path = m_files / "list.txt";
  WriteWholeFile(path, "milk\r\nbread\r\n");
  ASSERT_TRUE(m_window->Open(path));
  User user;
  user.Then("type", [&] { return Type("tea\n"); })
      .Then("press Save", [&] { return Click("save"); })
      .Then("see it saved", [&] { return Label("state") == "Saved"; });
  Work(user);
  EXPECT_EQ(ReadWholeFile(path), "tea\r\nmilk\r\nbread\r\n");
  EXPECT_EQ(Label("encoding"), "UTF-8");
  EXPECT_THAT(Log(), HasSubstr("saved " + path));
}

TEST_F(Notes, SavesANewNoteUnderTheNameThatIsChosen) {
  User user;
  user.Then("type", [&] { return Type("Hello\nworld"); })
      .Then("press Save", [&] { return Click("save"); })
      .Then("choose the folder",
            [&] {
              return OpenChooser() != nullptr &&
                     gtk_file_chooser_set_current_folder(OpenChooser(), m_files.Path().c_str());
            })
      .Then("press Save",
            [&] {
              char* const folder = gtk_file_chooser_get_current_folder(OpenChooser());
              const bool there = folder != nullptr && m_files.Path() == folder;
              g_free(folder);
              return there && Press(GTK_DIALOG(OpenChooser()), GTK_RESPONSE_ACCEPT);
            })
      .Then("see it saved", [&] { return Label("state") == "Saved"; });
  Work(user);
  EXPECT_EQ(ReadWholeFile(m_files / "note.txt"), "Hello\nworld");
  EXPECT_THAT(RecentNames(), ElementsAre("note.txt"));
}

TEST_F(Notes, KeepsWhatIsNotSavedAndOffersItTheNextTime) {
  const std::string path = m_files / "draft.txt";
  WriteWholeFile(path, "first\n");
  ASSERT_TRUE(m_window->Open(path));
  {
    User user;
    user.Then("type", [&] { return Type("second "); }).Then("wait for the copy", [&] {
      return Label("state") == "Changes kept safe";
    });
    Work(user);
  }
  EXPECT_EQ(ReadWholeFile(path), "first\n");
  EXPECT_EQ(ReadWholeFile(path + ".autosave"), "second first\n");

  Restart();
  ASSERT_TRUE(m_window->Open(path));
  EXPECT_EQ(Text(), "first\n");
  EXPECT_TRUE(gtk_widget_get_visible(Find("recovery")));
  gtk_info_bar_response(GTK_INFO_BAR(Find("recovery")), GTK_RESPONSE_ACCEPT);
  EXPECT_EQ(Text(), "second first\n");
  EXPECT_FALSE(gtk_widget_get_visible(Find("recovery")));
  EXPECT_TRUE(m_window->Save());
  EXPECT_EQ(ReadWholeFile(path), "second first\n");
  EXPECT_FALSE(std::filesystem::exists(path + ".autosave"));
}

TEST_F(Notes, KeepsWhatIsTypedRightBeforeTheEnd) {
  ASSERT_TRUE(Type("an idea"));
  Restart();  // Before the timer was due.
  EXPECT_TRUE(gtk_widget_get_visible(Find("recovery")));
  EXPECT_FALSE(Type("too soon"));
  gtk_info_bar_response(GTK_INFO_BAR(Find("recovery")), GTK_RESPONSE_REJECT);
  EXPECT_EQ(Text(), "");
  Restart();
  EXPECT_FALSE(gtk_widget_get_visible(Find("recovery")));
}

TEST_F(Notes, WhatIsOfferedIsNotLostBySavingFirst) {
  ASSERT_TRUE(Type("an idea"));
  Restart();
  EXPECT_FALSE(m_window->Save());
  EXPECT_THAT(Trouble(), HasSubstr("Restore or discard"));
  EXPECT_EQ(ReadWholeFile(UntitledCopy(getpid())), "an idea");
  gtk_info_bar_response(GTK_INFO_BAR(Find("recovery")), GTK_RESPONSE_ACCEPT);
  EXPECT_EQ(Text(), "an idea");
  EXPECT_TRUE(Type("more "));
}

TEST_F(Notes, ANewNoteIsOfferedTheCopyOfAProgramThatIsGoneAndNoOther) {
  const std::string ofLiving = UntitledCopy(getppid());
  WriteWholeFile(ofLiving, "of another window");
  m_window->New();
  EXPECT_FALSE(gtk_widget_get_visible(Find("recovery")));
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  ASSERT_EQ(waitpid(gone, nullptr, 0), gone);
  WriteWholeFile(UntitledCopy(gone), "of a crash");
  m_window->New();
  EXPECT_TRUE(gtk_widget_get_visible(Find("recovery")));
  gtk_info_bar_response(GTK_INFO_BAR(Find("recovery")), GTK_RESPONSE_ACCEPT);
  EXPECT_EQ(Text(), "of a crash");
  m_window->New();
  EXPECT_EQ(ReadWholeFile(ofLiving), "of another window");
}

TEST_F(Notes, CountsWordsByThePlugIn) {
  EXPECT_EQ(Label("words"), "0 words, 0 characters");
  ASSERT_TRUE(Type("a b\u00E9e\n  c"));
  EXPECT_EQ(Label("words"), "3 words, 9 characters");
  EXPECT_EQ(Label("position"), "Line 2, column 4");
}

TEST_F(Notes, RemembersTheWindowAndTheLastNotes) {
  for (const char* name : {"one.txt", "two.txt"}) {
    WriteWholeFile(m_files / name, name);
    ASSERT_TRUE(m_window->Open(m_files / name));
  }
  User user;
  user.Then("press Dark", [&] { return Click("dark"); }).Then("resize", [&] {
    gtk_window_resize(GTK_WINDOW(m_window->GetWidget()), 800, 500);
    int width = 0;
    int height = 0;
    gtk_window_get_size(GTK_WINDOW(m_window->GetWidget()), &width, &height);
    return width == 800 && height == 500;
  });
  Work(user);
  Restart();
  int width = 0;
  int height = 0;
  gtk_window_get_default_size(GTK_WINDOW(m_window->GetWidget()), &width, &height);
  EXPECT_EQ(width, 800);
  EXPECT_EQ(height, 500);
  gboolean dark = FALSE;
  g_object_get(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", &dark, nullptr);
  EXPECT_TRUE(dark);
  EXPECT_THAT(RecentNames(), ElementsAre("two.txt", "one.txt"));

  GtkListBox* const recent = GTK_LIST_BOX(Find("recent"));
  g_signal_emit_by_name(recent, "row-activated", gtk_list_box_get_row_at_index(recent, 1));
  EXPECT_EQ(Text(), "one.txt");
}

TEST_F(Notes, TellsWhatItCannotOpenOrSave) {
  EXPECT_FALSE(m_window->Open(m_files / "missing.txt"));
  EXPECT_EQ(Label("state"), "Cannot open the file");
  const std::string reason = m_files / "missing.txt" + ": No such file or directory.";
  EXPECT_THAT(Log(), HasSubstr("Error: cannot open " + reason));
  EXPECT_EQ(Trouble(), "Cannot open " + reason);

  std::filesystem::create_directory(m_files / "folder");
  const std::string path = m_files / "folder/note.txt";
  WriteWholeFile(path, "text");
  ASSERT_TRUE(m_window->Open(path));
  EXPECT_EQ(Trouble(), "");
  ASSERT_TRUE(Type("more "));
  std::filesystem::remove_all(m_files / "folder");
  EXPECT_FALSE(m_window->Save());
  EXPECT_EQ(Label("state"), "Cannot save the file");
  EXPECT_EQ(Trouble(), "Cannot save " + path + ": No such file or directory.");
  EXPECT_EQ(Text(), "more text");

  std::filesystem::create_directory(m_files / "folder");
  EXPECT_TRUE(m_window->Save());
  EXPECT_EQ(Trouble(), "");
}

TEST_F(Notes, TellsAtOnceWhatItWillNotSave) {
  const std::string path = m_files / "binary.txt";
  const std::string bytes = {"one\0two\n", 8};
  WriteWholeFile(path, bytes);
  ASSERT_TRUE(m_window->Open(path));
  EXPECT_THAT(Trouble(), HasSubstr("NUL characters; what follows them would be lost"));
  ASSERT_TRUE(Type("more "));
  EXPECT_FALSE(m_window->Save());
  EXPECT_THAT(Trouble(), HasSubstr("NUL characters; what follows them would be lost"));
  EXPECT_EQ(ReadWholeFile(path), bytes);
}

TEST_F(Notes, EveryCharacterSurvivesTheWindow) {
  const std::string path = m_files / "odd.txt";
  const std::string bytes =
      "\x01\x7F\v\f\xC2\x85\xE2\x80\xA8\xE2\x80\xA9 \xEF\xBF\xBC \xEF\xBF\xBE \xF4\x8F\xBF\xBF\n"
      "a\tb  \n\xCC\x81 \xEF\xBB\xBF\n";
  WriteWholeFile(path, bytes);
  ASSERT_TRUE(m_window->Open(path));
  EXPECT_EQ(Trouble(), "");
  EXPECT_TRUE(m_window->Save());
  EXPECT_EQ(Hex(ReadWholeFile(path)), Hex(bytes));
}

TEST_F(Notes, NoticesTheFirstKeyThatIsPressed) {
  const std::string path = m_files / "list.txt";
  WriteWholeFile(path, "milk\n");
  ASSERT_TRUE(m_window->Open(path));
  EXPECT_FALSE(CanClick("save"));
  User user;
  user.Then("press a key", [&] { return Key("x"); }).Then("see it", [&] {
    if (Text() != "xmilk\n") return false;
    EXPECT_EQ(Label("state"), "Changed");  // Now, and not when the copy is kept.
    EXPECT_STREQ(Title(), "\u2022 list.txt");
    EXPECT_TRUE(CanClick("save"));
    return true;
  });
  user.Then("press Ctrl+S", [&] { return Key("ctrl+s"); }).Then("see it saved", [&] {
    return Label("state") == "Saved";
  });
  Work(user);
  EXPECT_EQ(ReadWholeFile(path), "xmilk\n");
  EXPECT_STREQ(Title(), "list.txt");
}

TEST_F(Notes, UndoesAndRedoesByKeys) {
  User user;
  for (const char* const key : {"a", "b", "space", "c", "Return", "d"}) {
    user.Then(key, [this, key] { return Key(key); });
  }
  user.Then("see the text", [&] { return Text() == "ab c\nd"; });
  for (const char* const left : {"ab c\n", "ab ", ""}) {
    user.Then("undo", [&] { return Key("ctrl+z"); }).Then(left, [this, left] {
      return Text() == left;
    });
  }
  user.Then("nothing is left", [&] { return !CanClick("undo") && CanClick("redo"); });
  for (const char* const back : {"ab ", "ab c\n", "ab c\nd"}) {
    user.Then("redo", [&] { return Key("ctrl+shift+z"); }).Then(back, [this, back] {
      return Text() == back;
    });
  }
  user.Then("select all", [&] { return Key("ctrl+a"); })
      .Then("type over it", [&] { return Key("e"); })
      .Then("see the text", [&] { return Text() == "e" && !CanClick("redo"); })
      .Then("undo", [&] { return Key("ctrl+z"); })
      .Then("see the old text", [&] { return Text() == "ab c\nd"; });
  Work(user);
}

TEST_F(Notes, AnotherNoteHasNothingToUndo) {
  WriteWholeFile(m_files / "one.txt", "one");
  ASSERT_TRUE(Type("text"));
  EXPECT_TRUE(CanClick("undo"));
  ASSERT_TRUE(m_window->Open(m_files / "one.txt"));
  EXPECT_FALSE(CanClick("undo"));
}

TEST_F(Notes, FindsByKeysWhateverTheCaseAndGoesRound) {
  WriteWholeFile(m_files / "text.txt", "An apple, a pear,\nan APPLE\n");
  ASSERT_TRUE(m_window->Open(m_files / "text.txt"));
  const auto selection = [&] {
    GtkTextBuffer* const buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(Find("text")));
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_selection_bounds(buffer, &start, &end);
    return std::pair(gtk_text_iter_get_offset(&start), gtk_text_iter_get_offset(&end));
  };
  User user;
  user.Then("press Ctrl+F", [&] { return Key("ctrl+f"); }).Then("type there", [&] {
    return gtk_widget_has_focus(Find("find-entry")) != FALSE && Key("a") && Key("p");
  });
  user.Then("see the first", [&] { return selection() == std::pair(3, 5); });
  for (const int next : {21, 3}) {
    user.Then("go on", [&] { return Key("Return"); }).Then("see it", [next, selection] {
      return selection() == std::pair(next, next + 2);
    });
  }
  user.Then("go back", [&] { return Key("ctrl+shift+g"); })
      .Then("see the last", [&] { return selection() == std::pair(21, 23); })
      .Then("type more", [&] { return Key("x"); })
      .Then("see that there is none",
            [&] {
              return gtk_style_context_has_class(gtk_widget_get_style_context(Find("find-entry")),
                                                 GTK_STYLE_CLASS_ERROR) != FALSE;
            })
      .Then("leave", [&] { return Key("Escape"); })
      .Then("be in the text", [&] { return gtk_widget_has_focus(Find("text")) != FALSE; });
  Work(user);
  EXPECT_EQ(Text(), "An apple, a pear,\nan APPLE\n");
}

TEST_F(Notes, SavesUnderAnotherNameByKeys) {
  const std::string path = m_files / "one.txt";
  WriteWholeFile(path, "\xEF\xBB\xBFone\r\n");
  ASSERT_TRUE(m_window->Open(path));
  ASSERT_TRUE(Type("not "));
  User user;
  user.Then("press Ctrl+Shift+S", [&] { return Key("ctrl+shift+s"); })
      .Then("name it", [&] { return SaveUnder("two.md"); })
      .Then("see it saved", [&] { return Label("state") == "Saved"; });
  Work(user);
  EXPECT_EQ(ReadWholeFile(path), "\xEF\xBB\xBFone\r\n");
  EXPECT_EQ(ReadWholeFile(m_files / "two.md"), "not one\r\n");
  EXPECT_STREQ(Title(), "two.md");
  EXPECT_THAT(RecentNames(), ElementsAre("two.md", "one.txt"));
  EXPECT_FALSE(std::filesystem::exists(path + ".autosave"));
}

TEST_F(Notes, ANameGetsTheExtensionOfTheFilter) {
  const struct {
    const char* name;
    int filter;
    const char* saved;
  } rows[] = {{"todo", 0, "todo.txt"},  // No name begins another: the dialog would complete it.
              {"list.v2", 0, "list.v2.txt"},
              {"plan.MD", 0, "plan.MD"},
              {"idea", 1, "idea"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.saved);
    m_window->New();
    User user;
    user.Then("type", [&] { return Type(row.saved); })
        .Then("press Save as", [&] { return Click("save-as"); })
        .Then("pick the filter and name it",
              [&] { return PickFilter(OpenChooser(), row.filter) && SaveUnder(row.name); })
        .Then("see it saved", [&] { return Label("state") == "Saved"; });
    Work(user);
    EXPECT_EQ(ReadWholeFile(m_files / row.saved), row.saved);
  }
}

TEST_F(Notes, AsksBeforeTheNameWithTheExtensionReplacesAFile) {
  ASSERT_TRUE(Type("new"));
  User user;
  user.Then("press Save", [&] { return Click("save"); })
      .Then("name it", [&] { return SaveUnderATakenName(); })
      .Then("refuse", [&] {
        if (OpenQuestion() != nullptr) gtk_dialog_response(OpenQuestion(), GTK_RESPONSE_CANCEL);
        return OpenQuestion() != nullptr;
      });
  user.Then("be through", [&] { return OpenQuestion() == nullptr && OpenChooser() == nullptr; });
  Work(user);
  EXPECT_EQ(ReadWholeFile(m_files / "todo.txt"), "of old");
  EXPECT_EQ(Text(), "new");
}

TEST_F(Notes, ReplacesAFileUnderTheNameWithTheExtensionWhenToldTo) {
  ASSERT_TRUE(Type("new"));
  User user;
  user.Then("press Save", [&] { return Click("save"); })
      .Then("name it", [&] { return SaveUnderATakenName(); })
      .Then("agree", [&] { return Press(OpenQuestion(), GTK_RESPONSE_ACCEPT); })
      .Then("see it saved", [&] { return Label("state") == "Saved"; });
  Work(user);
  EXPECT_EQ(ReadWholeFile(m_files / "todo.txt"), "new");
  EXPECT_STREQ(Title(), "todo.txt");
}

TEST_F(Notes, QuitsByKeys) {
  ASSERT_TRUE(Type("an idea"));
  User user;
  user.Then("press Ctrl+Q", [&] { return Key("ctrl+q"); });
  gtk_main();
  EXPECT_TRUE(user.Finished());
  EXPECT_EQ(ReadWholeFile(UntitledCopy(getpid())), "an idea");
}

TEST_F(Notes, AsksBeforeItClosesWithChangesThatAreNowhere) {
  std::filesystem::create_directory(m_files / "folder");
  WriteWholeFile(m_files / "folder/note.txt", "text");
  ASSERT_TRUE(m_window->Open(m_files / "folder/note.txt"));
  ASSERT_TRUE(Type("more "));
  std::filesystem::remove_all(m_files / "folder");
  User user;
  user.Then("press Ctrl+Q", [&] { return Key("ctrl+q"); })
      .Then("stay", [&] { return Press(OpenQuestion(), GTK_RESPONSE_CANCEL); })
      .Then("see the text", [&] { return OpenQuestion() == nullptr && Text() == "more text"; })
      .Then("press Ctrl+Q", [&] { return Key("ctrl+q"); })
      .Then("leave", [&] { return Press(OpenQuestion(), GTK_RESPONSE_ACCEPT); });
  gtk_main();
  EXPECT_TRUE(user.Finished());
}

TEST_F(Notes, ACopyOfAPrivateNoteIsPrivate) {
  const std::string path = m_files / "secret.txt";
  WriteWholeFile(path, "text");
  std::filesystem::permissions(path, std::filesystem::perms(0600));
  ASSERT_TRUE(m_window->Open(path));
  ASSERT_TRUE(Type("more "));
  m_window->New();  // Leaves the note, so the copy is kept now.
  EXPECT_EQ(ReadWholeFile(path + ".autosave"), "more text");
  EXPECT_EQ(std::filesystem::status(path + ".autosave").permissions(),
            std::filesystem::perms(0600));
}

TEST_F(Notes, TheLastNotesAreKeptAtOnce) {
  WriteWholeFile(m_files / "one.txt", "one");
  ASSERT_TRUE(m_window->Open(m_files / "one.txt"));
  Settings another;  // What a program that starts now reads; this one may crash.
  EXPECT_THAT(Names(another), ElementsAre("one.txt"));
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(Find("dark")), TRUE);
  Settings third;
  EXPECT_EQ(third.Get("/Window", "Dark", 0), 1u);
}

TEST_F(Notes, TwoWindowsKeepEachOthersSettings) {
  Settings another;
  EXPECT_TRUE(another.AddRecentFile("/a/one.txt"));
  EXPECT_TRUE(m_settings->AddRecentFile("/a/two.txt"));
  EXPECT_TRUE(another.Set("/Window", "Dark", 1));
  EXPECT_TRUE(m_settings->Set("/Window", "Width", 777));
  EXPECT_TRUE(another.AddRecentFile("/a/three.txt"));
  Settings later;
  EXPECT_THAT(Names(later), ElementsAre("three.txt", "two.txt", "one.txt"));
  EXPECT_EQ(later.Get("/Window", "Dark", 0), 1u);
  EXPECT_EQ(later.Get("/Window", "Width", 0), 777u);
}

TEST_F(Notes, SettingsThatCannotBeReadAreNotReplaced) {
  m_window.reset();
  const std::string path = m_settings->GetFolder() + "ztk-notes.conf";
  const std::string damaged = {"[Notes/Recent]\r\nFile1=/a\0b\r\n", 28};
  WriteWholeFile(path, damaged);
  Settings settings;
  EXPECT_FALSE(settings.AddRecentFile("/a/one.txt"));
  EXPECT_EQ(ReadWholeFile(path), damaged);
}

TEST_F(Notes, ARowOpensTheNoteThatItShows) {
  for (const char* name : {"one.txt", "two.txt"}) {
    WriteWholeFile(m_files / name, name);
    ASSERT_TRUE(m_window->Open(m_files / name));
  }
  Settings another;
  ASSERT_TRUE(another.AddRecentFile(m_files / "three.txt"));
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(Find("dark")), TRUE);  // Brings the list in.
  GtkListBox* const recent = GTK_LIST_BOX(Find("recent"));
  g_signal_emit_by_name(recent, "row-activated", gtk_list_box_get_row_at_index(recent, 1));
  EXPECT_EQ(Text(), "one.txt");
}

}  // namespace
