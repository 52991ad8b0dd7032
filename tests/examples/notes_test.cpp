// The example as a user meets it: on a display, worked through its own widgets.

#include <glib-unix.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "examples/notes/window.h"
#include "tests/support/temp_dir.h"
#include "tests/system/gtk/gtk_user.h"

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
    ZTKTextFile::ms_swapUtf16 = true;
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
  std::vector<std::string> RecentNames() const {
    std::vector<std::string> names;
    for (const std::string& path : m_settings->GetRecentFiles()) {
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
      {"a.txt", "\xEF\xBB\xBFone\ntwo\n", "UTF-8", "LF"},
      {"b.txt", {"\xFF\xFEo\0n\0e\0\r\0\n\0t\0w\0o\0\r\0\n\0", 22}, "UTF-16 LE", "CR LF"},
      {"c.txt", {"\xFE\xFF\0o\0n\0e\0\r\0t\0w\0o", 16}, "UTF-16 BE", "CR"},
      {"d.txt", "one\ntwo\r\n", "System text", "Mixed"},
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
  EXPECT_THAT(RecentNames(), ElementsAre("d.txt", "c.txt", "b.txt", "a.txt"));
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
  EXPECT_EQ(ReadWholeFile(path), "\xEF\xBB\xBFtea\r\nmilk\r\nbread\r\n");
  EXPECT_EQ(Label("encoding"), "UTF-8");
  EXPECT_THAT(Log(), HasSubstr("Warning: list.txt was System text, and is UTF-8 now"));
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
  EXPECT_EQ(ReadWholeFile(m_files / "note.txt"), "\xEF\xBB\xBFHello\nworld");
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
  EXPECT_EQ(ReadWholeFile(path), "\xEF\xBB\xBFsecond first\n");
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
  EXPECT_THAT(Log(), HasSubstr("Error: cannot open " + m_files / "missing.txt"));

  std::filesystem::create_directory(m_files / "folder");
  WriteWholeFile(m_files / "folder/note.txt", "text");
  ASSERT_TRUE(m_window->Open(m_files / "folder/note.txt"));
  ASSERT_TRUE(Type("more "));
  std::filesystem::remove_all(m_files / "folder");
  EXPECT_FALSE(m_window->Save());
  EXPECT_EQ(Label("state"), "Cannot save the file");
  EXPECT_EQ(Text(), "more text");
}

}  // namespace
