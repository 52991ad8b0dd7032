#include "examples/notes/window.h"

#include "ztk/file/file_system.h"
#include "ztk/foundation/log.h"
#include "ztk/system/file_dialog.h"

namespace {

constexpr char kFilters[] = "Notes|*.txt;*.md|All files|*.*|";

void SetLabel(GtkWidget* label, const std::string& text) {
  gtk_label_set_text(GTK_LABEL(label), text.c_str());
}

std::string Quantity(unsigned long n, const char* what) {
  std::string text = std::to_string(n);
  text.append(" ").append(what);
  if (n != 1) text.append("s");
  return text;
}

// As people read it: "~/Notes".
std::string ShownFolder(const Note& note) {
  std::string folder = note.GetFolder();
  const std::string home = g_get_home_dir();
  const bool inHome = folder.compare(0, home.size(), home) == 0 &&
                      (folder.size() == home.size() || folder[home.size()] == '/');
  if (!inHome) return folder;
  std::string shown = "~";
  shown.append(folder, home.size());
  return shown;
}

}  // namespace

NotesWindow::NotesWindow(Settings& settings, const LogView& log)
    : m_settings(settings),
      m_ui(log.GetBuffer()),
      m_buffer(gtk_text_view_get_buffer(GTK_TEXT_VIEW(m_ui.text))),
      m_autosave([this] { return GetText(); },
                 [this](bool done) {
                   ShowState(done ? "Changes kept safe" : "Not saved, and no copy either");
                   if (done) {
                     ZTKLogInfo("autosaved to %s", m_autosave.GetPath().c_str());
                   } else {
                     ZTKLogError("cannot write %s", m_autosave.GetPath().c_str());
                   }
                 }) {
  const auto onClick = [this](GtkWidget* button, void (*act)(NotesWindow*)) {
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(act), this);
  };
  onClick(m_ui.newButton, [](NotesWindow* self) { self->New(); });
  onClick(m_ui.openButton, [](NotesWindow* self) { self->AskForOpen(); });
  onClick(m_ui.saveButton, [](NotesWindow* self) { self->Save(); });
  onClick(m_ui.darkButton, [](NotesWindow* self) {
    self->SetDark(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(self->m_ui.darkButton)) != FALSE);
  });
  g_object_bind_property(m_ui.logButton, "active", m_ui.logRevealer, "reveal-child",
                         G_BINDING_DEFAULT);
  g_signal_connect(m_buffer, "changed", G_CALLBACK(OnChanged), this);
  g_signal_connect(m_buffer, "notify::cursor-position", G_CALLBACK(OnMoved), this);
  g_signal_connect(m_ui.recent, "row-activated", G_CALLBACK(OnRecent), this);
  g_signal_connect(m_ui.recovery, "response", G_CALLBACK(OnRecovery), this);
  g_signal_connect(m_ui.window, "delete-event", G_CALLBACK(OnClose), this);

  GtkAccelGroup* const keys = gtk_accel_group_new();
  gtk_window_add_accel_group(GTK_WINDOW(m_ui.window), keys);
  const std::pair<GtkWidget*, guint> shortcuts[] = {
      {m_ui.newButton, GDK_KEY_n}, {m_ui.openButton, GDK_KEY_o}, {m_ui.saveButton, GDK_KEY_s}};
  for (const auto& [button, key] : shortcuts) {
    gtk_widget_add_accelerator(button, "clicked", keys, key, GDK_CONTROL_MASK, GTK_ACCEL_VISIBLE);
  }
  g_object_unref(keys);

  gtk_window_set_default_size(GTK_WINDOW(m_ui.window),
                              static_cast<int>(settings.Get("/Window", "Width", 960)),
                              static_cast<int>(settings.Get("/Window", "Height", 640)));
  const bool dark = settings.Get("/Window", "Dark", 0) != 0;
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_ui.darkButton), dark);
  SetDark(dark);
  if (!m_words.IsThere()) ZTKLogWarning("the plug-in that counts words is not there");
  New();
}

NotesWindow::~NotesWindow() { gtk_widget_destroy(m_ui.window); }

void NotesWindow::New() {
  m_autosave.Finish();
  m_note = Note();
  m_autosave.SetNote(m_settings.GetFolder() + "ztk-notes-untitled");
  ShowNote("");
  ShowRecovery();
}

bool NotesWindow::Open(const std::string& path) {
  m_autosave.Finish();
  if (!m_note.Load(path)) {
    ZTKLogError("cannot open %s", path.c_str());
    ShowState("Cannot open the file");
    return false;
  }
  ZTKLogInfo("opened %s: %s, line ends %s", path.c_str(), m_note.GetEncodingName(),
             m_note.GetLineEndName());
  m_settings.AddRecentFile(path);
  m_autosave.SetNote(path);
  ShowNote(m_note.text);
  ShowRecovery();
  return true;
}

bool NotesWindow::Save() {
  if (m_note.path.empty() && !AskForName()) return false;
  const std::string before = m_note.GetEncodingName();
  m_note.text = GetText();
  if (!m_note.Save()) {
    ZTKLogError("cannot save %s", m_note.path.c_str());
    ShowState("Cannot save the file");
    return false;
  }
  m_autosave.Forget();
  m_autosave.SetNote(m_note.path);
  m_settings.AddRecentFile(m_note.path);
  if (before != m_note.GetEncodingName()) {
    ZTKLogWarning("%s was %s, and is UTF-8 now", m_note.GetName().c_str(), before.c_str());
  }
  ZTKLogInfo("saved %s", m_note.path.c_str());
  gtk_widget_hide(m_ui.recovery);
  gtk_text_buffer_set_modified(m_buffer, FALSE);
  ShowRecent();
  ShowState("Saved");
  return true;
}

void NotesWindow::AskForOpen() {
  ZTKFileDLG dialog(m_ui.window, FD_OPEN, kFilters, "Open a note", m_note.GetFolder().c_str(), "");
  if (dialog.ShowModal() == DLG_OK) Open(dialog.GetPath().c_str());
}

bool NotesWindow::AskForName() {
  ZTKFileDLG dialog(m_ui.window, FD_SAVE, kFilters, "Save the note", "", "note.txt");
  if (dialog.ShowModal() != DLG_OK) return false;
  m_note.path = dialog.GetPath().c_str();
  return true;
}

void NotesWindow::SetDark(bool bDark) {
  g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", bDark, nullptr);
  m_settings.Set("/Window", "Dark", bDark ? 1 : 0);
}

void NotesWindow::ShowNote(const std::string& text) {
  m_bShowing = true;
  char* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  gtk_text_buffer_set_text(m_buffer, valid, -1);
  g_free(valid);
  GtkTextIter start;
  gtk_text_buffer_get_start_iter(m_buffer, &start);
  gtk_text_buffer_place_cursor(m_buffer, &start);
  gtk_text_buffer_set_modified(m_buffer, FALSE);
  m_bShowing = false;
  ShowRecent();
  ShowState(m_note.path.empty() ? "New" : "Saved");
  gtk_widget_grab_focus(m_ui.text);
}

void NotesWindow::ShowRecovery() {
  std::string text;
  const bool offer = m_autosave.Recover(text) && text != m_note.text;
  gtk_widget_set_visible(m_ui.recovery, offer);
  // The next change would take the place of the copy.
  gtk_text_view_set_editable(GTK_TEXT_VIEW(m_ui.text), !offer);
}

void NotesWindow::ShowRecent() {
  gtk_container_foreach(
      GTK_CONTAINER(m_ui.recent), [](GtkWidget* row, gpointer) { gtk_widget_destroy(row); },
      nullptr);
  for (const std::string& path : m_settings.GetRecentFiles()) {
    Note entry;
    entry.path = path;
    gtk_list_box_insert(GTK_LIST_BOX(m_ui.recent),
                        MakeRecentRow(entry.GetName().c_str(), ShownFolder(entry).c_str()), -1);
  }
  GtkListBoxRow* const first = gtk_list_box_get_row_at_index(GTK_LIST_BOX(m_ui.recent), 0);
  gtk_list_box_select_row(GTK_LIST_BOX(m_ui.recent), m_note.path.empty() ? nullptr : first);
}

void NotesWindow::ShowState(const char* text) {
  const bool changed = gtk_text_buffer_get_modified(m_buffer) != FALSE;
  std::string title = changed ? "\u2022 " : "";
  title.append(m_note.GetName());
  gtk_header_bar_set_title(GTK_HEADER_BAR(m_ui.header), title.c_str());
  gtk_header_bar_set_subtitle(GTK_HEADER_BAR(m_ui.header), ShownFolder(m_note).c_str());
  gtk_widget_set_sensitive(m_ui.saveButton, changed || m_note.path.empty());
  SetLabel(m_ui.state, text);
  SetLabel(m_ui.encoding, m_note.GetEncodingName());
  SetLabel(m_ui.lineEnds, m_note.GetLineEndName());
  ShowCounts();
}

void NotesWindow::ShowCounts() {
  const auto characters = static_cast<unsigned long>(gtk_text_buffer_get_char_count(m_buffer));
  std::string text;
  if (m_words.IsThere()) text.append(Quantity(m_words.Count(GetText()), "word")).append(", ");
  text.append(Quantity(characters, "character"));
  SetLabel(m_ui.words, text);
}

std::string NotesWindow::GetText() const {
  GtkTextIter start;
  GtkTextIter end;
  gtk_text_buffer_get_bounds(m_buffer, &start, &end);
  char* const text = gtk_text_buffer_get_text(m_buffer, &start, &end, TRUE);
  std::string copy = text;
  g_free(text);
  return copy;
}

void NotesWindow::OnChanged(GtkTextBuffer* buffer, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  GtkTextIter start;
  GtkTextIter end;
  gtk_text_buffer_get_bounds(buffer, &start, &end);
  gtk_text_buffer_remove_tag_by_name(buffer, "title", &start, &end);
  end = start;
  gtk_text_iter_forward_line(&end);
  gtk_text_buffer_apply_tag_by_name(buffer, "title", &start, &end);
  if (window->m_bShowing) return;
  window->m_autosave.Touch();
  window->ShowState("Changed");
}

void NotesWindow::OnMoved(GtkTextBuffer* buffer, GParamSpec*, gpointer self) {
  GtkTextIter cursor;
  gtk_text_buffer_get_iter_at_mark(buffer, &cursor, gtk_text_buffer_get_insert(buffer));
  SetLabel(static_cast<NotesWindow*>(self)->m_ui.position,
           "Line " + std::to_string(gtk_text_iter_get_line(&cursor) + 1) + ", column " +
               std::to_string(gtk_text_iter_get_line_offset(&cursor) + 1));
}

void NotesWindow::OnRecent(GtkListBox*, GtkListBoxRow* row, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  const auto index = static_cast<size_t>(gtk_list_box_row_get_index(row));
  const std::vector<std::string> files = window->m_settings.GetRecentFiles();
  if (index < files.size() && files[index] != window->m_note.path) window->Open(files[index]);
}

void NotesWindow::OnRecovery(GtkInfoBar* bar, gint response, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  std::string text;
  gtk_widget_hide(GTK_WIDGET(bar));
  gtk_text_view_set_editable(GTK_TEXT_VIEW(window->m_ui.text), TRUE);
  if (response == GTK_RESPONSE_ACCEPT && window->m_autosave.Recover(text)) {
    char* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    gtk_text_buffer_set_text(window->m_buffer, valid, -1);  // Changed, and not saved yet.
    g_free(valid);
    ZTKLogInfo("restored the changes of the last time");
  } else {
    window->m_autosave.Forget();
  }
}

gboolean NotesWindow::OnClose(GtkWidget* widget, GdkEvent*, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  window->m_autosave.Finish();
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(widget), &width, &height);
  window->m_settings.Set("/Window", "Width", static_cast<unsigned long>(width));
  window->m_settings.Set("/Window", "Height", static_cast<unsigned long>(height));
  window->m_settings.Flush();
  gtk_main_quit();
  return TRUE;  // The object takes the widget down.
}
