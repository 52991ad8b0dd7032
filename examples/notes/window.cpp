#include "examples/notes/window.h"

#include "examples/notes/questions.h"
#include "ztk/log/log.h"

namespace {

constexpr char kPath[] = "notes-path";  // Of a row of the recent notes.

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
                 }),
      m_history(m_buffer,
                [this] {
                  gtk_widget_set_sensitive(m_ui.undoButton, m_history.CanUndo());
                  gtk_widget_set_sensitive(m_ui.redoButton, m_history.CanRedo());
                }),
      m_finder(m_ui.findBar, m_ui.findEntry, m_ui.text) {
  const auto onClick = [this](GtkWidget* button, void (*act)(NotesWindow*)) {
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(act), this);
  };
  onClick(m_ui.newButton, [](NotesWindow* self) { self->New(); });
  onClick(m_ui.openButton, [](NotesWindow* self) {
    const std::string path = AskForOpen(self->m_ui.window, self->m_note.GetFolder());
    if (!path.empty()) self->Open(path);
  });
  onClick(m_ui.saveButton, [](NotesWindow* self) { self->Save(); });
  onClick(m_ui.saveAsButton, [](NotesWindow* self) { self->SaveAs(); });
  onClick(m_ui.undoButton, [](NotesWindow* self) { self->m_history.Undo(); });
  onClick(m_ui.redoButton, [](NotesWindow* self) { self->m_history.Redo(); });
  onClick(m_ui.findButton, [](NotesWindow* self) { self->m_finder.Show(); });
  onClick(m_ui.darkButton, [](NotesWindow* self) {
    self->SetDark(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(self->m_ui.darkButton)) != FALSE);
  });
  g_object_bind_property(m_ui.logButton, "active", m_ui.logRevealer, "reveal-child",
                         G_BINDING_DEFAULT);
  // After the buffer's own handler, which marks it as modified.
  g_signal_connect_after(m_buffer, "changed", G_CALLBACK(OnChanged), this);
  g_signal_connect(m_buffer, "notify::cursor-position", G_CALLBACK(OnMoved), this);
  g_signal_connect(m_ui.recent, "row-activated", G_CALLBACK(OnRecent), this);
  g_signal_connect(m_ui.recovery, "response", G_CALLBACK(OnRecovery), this);
  g_signal_connect(m_ui.window, "delete-event", G_CALLBACK(OnClose), this);

  GtkAccelGroup* const keys = gtk_accel_group_new();
  gtk_window_add_accel_group(GTK_WINDOW(m_ui.window), keys);
  constexpr int kShifted = GDK_CONTROL_MASK | GDK_SHIFT_MASK;
  const struct {
    GtkWidget* button;
    guint key;
    int modifiers;
  } shortcuts[] = {
      {m_ui.newButton, GDK_KEY_n, GDK_CONTROL_MASK},
      {m_ui.openButton, GDK_KEY_o, GDK_CONTROL_MASK},
      {m_ui.saveButton, GDK_KEY_s, GDK_CONTROL_MASK},
      {m_ui.saveAsButton, GDK_KEY_s, kShifted},
      {m_ui.undoButton, GDK_KEY_z, GDK_CONTROL_MASK},
      {m_ui.redoButton, GDK_KEY_z, kShifted},
      {m_ui.findButton, GDK_KEY_f, GDK_CONTROL_MASK},
  };
  for (const auto& [button, key, modifiers] : shortcuts) {
    gtk_widget_add_accelerator(button, "clicked", keys, key,
                               static_cast<GdkModifierType>(modifiers), GTK_ACCEL_VISIBLE);
  }
  gtk_accel_group_connect(keys, GDK_KEY_q, GDK_CONTROL_MASK, GTK_ACCEL_VISIBLE,
                          g_cclosure_new_swap(G_CALLBACK(gtk_window_close), m_ui.window, nullptr));
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

bool NotesWindow::MayLeave() {
  return m_autosave.Finish() ||
         AskWhether(m_ui.window, "The changes are saved nowhere. Discard them?", "Discard");
}

void NotesWindow::New() {
  if (!MayLeave()) return;
  m_note = Note();
  m_autosave.SetUntitled(m_settings.GetFolder());
  ShowNote("");
  ShowRecovery();
}

bool NotesWindow::Open(const std::string& path) {
  if (!MayLeave()) return false;
  const std::string problem = m_note.Load(path);
  if (!problem.empty()) {
    ZTKLogError("cannot open %s: %s", path.c_str(), problem.c_str());
    ShowState("Cannot open the file");
    ShowTrouble("Cannot open " + path + ": " + problem);
    return false;
  }
  ZTKLogInfo("opened %s: %s, line ends %s", path.c_str(), m_note.GetEncodingName(),
             m_note.GetLineEndName());
  Remember(m_settings.AddRecentFile(path));
  m_autosave.SetNote(path);
  ShowNote(m_note.text);
  ShowRecovery();
  return true;
}

bool NotesWindow::IsAnswered() {
  if (!gtk_widget_get_visible(m_ui.recovery)) return true;
  ShowTrouble("Restore or discard the changes that were never saved first.");
  return false;
}

bool NotesWindow::Save() {
  if (m_note.path.empty()) return SaveAs();
  if (!IsAnswered()) return false;
  m_note.text = GetText();
  return ShowSaved(m_note.path, m_note.Save());
}

bool NotesWindow::SaveAs() {
  if (!IsAnswered()) return false;
  const bool isNew = m_note.path.empty();
  const std::string path =
      AskForName(m_ui.window, m_note.GetFolder(), isNew ? "note.txt" : m_note.GetName());
  if (path.empty()) return false;
  m_note.text = GetText();
  return ShowSaved(path, m_note.SaveAs(path));
}

bool NotesWindow::ShowSaved(const std::string& path, const std::string& problem) {
  if (!problem.empty()) {
    ZTKLogError("cannot save %s: %s", path.c_str(), problem.c_str());
    ShowState("Cannot save the file");
    ShowTrouble("Cannot save " + path + ": " + problem);
    return false;
  }
  m_autosave.Forget();
  m_autosave.SetNote(m_note.path);
  Remember(m_settings.AddRecentFile(m_note.path));
  ZTKLogInfo("saved %s", m_note.path.c_str());
  ShowTrouble("");
  gtk_text_buffer_set_modified(m_buffer, FALSE);
  ShowRecent();
  ShowState("Saved");
  return true;
}

void NotesWindow::Remember(bool bSaved) {
  if (!bSaved) ZTKLogError("cannot save the settings");
}

void NotesWindow::SetDark(bool bDark) {
  g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", bDark, nullptr);
  Remember(m_settings.Set("/Window", "Dark", bDark ? 1 : 0));
}

void NotesWindow::ShowNote(const std::string& text) {
  m_bShowing = true;
  gtk_text_buffer_set_text(m_buffer, text.data(), static_cast<gint>(text.size()));
  GtkTextIter start;
  gtk_text_buffer_get_start_iter(m_buffer, &start);
  gtk_text_buffer_place_cursor(m_buffer, &start);
  gtk_text_buffer_set_modified(m_buffer, FALSE);
  m_bShowing = false;
  m_history.Clear();
  if (m_note.unsavable.empty() && GetText() != text) {
    m_note.unsavable = "The file has characters that cannot be shown, and would be lost.";
  }
  ShowTrouble(m_note.unsavable.empty() ? "" : m_note.unsavable + " It will not be saved.");
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
    GtkWidget* const row = MakeRecentRow(entry.GetName().c_str(), ShownFolder(entry).c_str());
    g_object_set_data_full(G_OBJECT(row), kPath, g_strdup(path.c_str()), g_free);
    gtk_list_box_insert(GTK_LIST_BOX(m_ui.recent), row, -1);
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

void NotesWindow::ShowTrouble(const std::string& text) {
  SetLabel(m_ui.troubleText, text);
  gtk_widget_set_visible(m_ui.trouble, !text.empty());
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
  GtkWidget* const content = gtk_bin_get_child(GTK_BIN(row));
  const std::string path = static_cast<char*>(g_object_get_data(G_OBJECT(content), kPath));
  if (path != window->m_note.path) window->Open(path);
}

void NotesWindow::OnRecovery(GtkInfoBar* bar, gint response, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  std::string text;
  gtk_widget_hide(GTK_WIDGET(bar));
  window->ShowTrouble("");
  gtk_text_view_set_editable(GTK_TEXT_VIEW(window->m_ui.text), TRUE);
  if (response == GTK_RESPONSE_ACCEPT && window->m_autosave.Recover(text)) {
    char* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    gtk_text_buffer_begin_user_action(window->m_buffer);
    gtk_text_buffer_set_text(window->m_buffer, valid, -1);  // Changed, and not saved yet.
    gtk_text_buffer_end_user_action(window->m_buffer);
    g_free(valid);
    ZTKLogInfo("restored the changes of the last time");
  } else {
    window->m_autosave.Forget();
  }
}

gboolean NotesWindow::OnClose(GtkWidget* widget, GdkEvent*, gpointer self) {
  auto* const window = static_cast<NotesWindow*>(self);
  if (!window->MayLeave()) return TRUE;
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(widget), &width, &height);
  Settings& settings = window->m_settings;
  const bool kept = settings.Set("/Window", "Width", static_cast<unsigned long>(width));
  window->Remember(settings.Set("/Window", "Height", static_cast<unsigned long>(height)) && kept);
  gtk_main_quit();
  return TRUE;  // The object takes the widget down.
}
