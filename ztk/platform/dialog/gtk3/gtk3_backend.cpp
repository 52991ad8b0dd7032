// The GTK 3 back end of the file dialog. It needs no symbol of the library: what it has to know and
// to ask comes with the request.

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <cstring>
#include <new>

#include "ztk/platform/dialog/gtk3/gtk3_display.h"
#include "ztk/system/file_dialog_backend.h"

namespace {

constexpr char kIndex[] = "ztk-filter-index";

// GTK takes UTF-8 only; file names and the program's texts may be anything. The caller frees it.
char* ToUtf8(const char* text) {
  if (g_utf8_validate(text, -1, nullptr)) return g_strdup(text);
  char* const converted = g_locale_to_utf8(text, -1, nullptr, nullptr, nullptr);
  return converted != nullptr ? converted : g_utf8_make_valid(text, -1);
}

// Leaked once the display is lost: the toolkit may still refer to it. Its operations may be
// abandoned at any call of the toolkit, so their frames own nothing.
class Dialog {
 public:
  explicit Dialog(const ZTKFileDialogRequest* pRequest) : m_pRequest(pRequest) {}
  Dialog(const Dialog&) = delete;
  Dialog& operator=(const Dialog&) = delete;

  /// From creating the widget to taking it off the screen, for Gtk3RunGuarded().
  static void Show(void* self);
  /// Detaches from the program, after Show() was abandoned.
  void Abandon();
  /// The path that was chosen, which the caller frees; null when none was.
  char* GetPath() const { return m_path; }

 private:
  void Create();
  void AddFilters();
  void SetStart();
  bool Run();
  void Destroy();

  static void OnResponse(GtkDialog*, gint response, gpointer data);
  static void OnUnmap(GtkWidget*, gpointer data);
  static gboolean OnShows(const GtkFileFilterInfo* info, gpointer filter);
  static void OnFilterChosen(GObject* object, GParamSpec*, gpointer data);
  static gboolean OnTimers(gint, GIOCondition, gpointer data);
  static void OnMessage(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer);

  const ZTKFileDialogRequest* m_pRequest;  // Null once abandoned.
  GtkWidget* m_widget = nullptr;
  GtkFileChooser* m_chooser = nullptr;
  GMainLoop* m_loop = nullptr;
  char* m_path = nullptr;
  guint m_timers = 0;
  guint m_messages = 0;
};

GtkWindow* ActiveWindow() {
  GtkWindow* active = nullptr;
  GList* const windows = gtk_window_list_toplevels();
  for (const GList* at = windows; at != nullptr; at = at->next) {
    if (gtk_window_is_active(GTK_WINDOW(at->data))) active = GTK_WINDOW(at->data);
  }
  g_list_free(windows);
  return active;
}

void Dialog::Show(void* self) {
  auto* const dialog = static_cast<Dialog*>(self);
  dialog->Create();
  if (dialog->Run()) dialog->Destroy();
}

void Dialog::Abandon() {
  if (m_timers != 0) g_source_remove(m_timers);
  if (m_messages != 0) g_log_remove_handler("Gtk", m_messages);
  m_pRequest = nullptr;
  m_path = nullptr;
  static GSList* s_pAbandoned = nullptr;
  s_pAbandoned = g_slist_prepend(s_pAbandoned, this);
}

void Dialog::Create() {
  const bool save = m_pRequest->bSave != 0;
  char* const title = ToUtf8(m_pRequest->pszTitle);
  // The toolkit's own words, in the language that the program has chosen for it.
  m_widget = gtk_file_chooser_dialog_new(
      title, ActiveWindow(), save ? GTK_FILE_CHOOSER_ACTION_SAVE : GTK_FILE_CHOOSER_ACTION_OPEN,
      g_dgettext("gtk30", "_Cancel"), GTK_RESPONSE_CANCEL,
      g_dgettext("gtk30", save ? "_Save" : "_Open"), GTK_RESPONSE_ACCEPT,
      static_cast<const char*>(nullptr));
  g_free(title);
  m_chooser = GTK_FILE_CHOOSER(m_widget);
  gtk_dialog_set_default_response(GTK_DIALOG(m_widget), GTK_RESPONSE_ACCEPT);
  gtk_window_set_modal(GTK_WINDOW(m_widget), TRUE);
  gtk_file_chooser_set_do_overwrite_confirmation(m_chooser, TRUE);
  SetStart();
  AddFilters();
}

void Dialog::Destroy() {
  gtk_widget_destroy(m_widget);
  if (!Gtk3StartedHere()) return;
  // Nobody runs a loop of GTK from here on, so the window is taken off the screen now. Bounded,
  // for the program may have put sources into the loop that are always ready.
  for (int i = 0; i < 200 && gtk_events_pending(); ++i) gtk_main_iteration_do(FALSE);
  gdk_display_flush(gdk_display_get_default());
}

void Dialog::SetStart() {
  const char* const wanted = m_pRequest->pszDirectory;
  char* const current = g_get_current_dir();
  const bool usable = *wanted != '\0' && g_file_test(wanted, G_FILE_TEST_IS_DIR);
  gtk_file_chooser_set_current_folder(m_chooser, usable ? wanted : current);
  g_free(current);

  if (m_pRequest->bSave == 0 || *m_pRequest->pszFileName == '\0') return;
  char* const name = ToUtf8(m_pRequest->pszFileName);
  gtk_file_chooser_set_current_name(m_chooser, name);
  g_free(name);
}

void Dialog::AddFilters() {
  // A save dialog shows every file, so no name is asked for. The completion of its name field would
  // lose the memory of each.
  const auto needed = m_pRequest->bSave != 0 ? GtkFileFilterFlags{} : GTK_FILE_FILTER_FILENAME;
  for (unsigned long i = 0; i < m_pRequest->nFilterCount; ++i) {
    GtkFileFilter* const filter = gtk_file_filter_new();
    char* const name = ToUtf8(m_pRequest->ppszDescriptions[i]);
    gtk_file_filter_set_name(filter, name);
    g_free(name);
    g_object_set_data(G_OBJECT(filter), kIndex, GSIZE_TO_POINTER(i));
    g_object_set_data(G_OBJECT(filter), "ztk-dialog", this);
    gtk_file_filter_add_custom(filter, needed, OnShows, filter, nullptr);
    gtk_file_chooser_add_filter(m_chooser, filter);
    if (i == m_pRequest->nFilter) gtk_file_chooser_set_filter(m_chooser, filter);
  }
  // Connected last: the filter to begin with is not a choice of the user's.
  g_signal_connect(m_widget, "notify::filter", G_CALLBACK(OnFilterChosen), this);
}

gboolean Dialog::OnShows(const GtkFileFilterInfo* info, gpointer filter) {
  if ((info->contains & GTK_FILE_FILTER_FILENAME) == 0) return TRUE;
  const auto* const self =
      static_cast<const Dialog*>(g_object_get_data(G_OBJECT(filter), "ztk-dialog"));
  const auto index = GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(filter), kIndex));
  const ZTKFileDialogRequest* const request = self->m_pRequest;
  if (request == nullptr) return TRUE;
  return request->pfnShowsFile(request->pContext, index, info->filename, 0);
}

void Dialog::OnFilterChosen(GObject*, GParamSpec*, gpointer data) {
  const auto* const self = static_cast<const Dialog*>(data);
  const ZTKFileDialogRequest* const request = self->m_pRequest;
  GtkFileFilter* const filter = gtk_file_chooser_get_filter(self->m_chooser);
  if (filter == nullptr) return;

  const auto index = GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(filter), kIndex));
  char* const name =
      request->bSave != 0 ? gtk_file_chooser_get_current_name(self->m_chooser) : g_strdup("");
  const char* const renamed = request->pfnFilterChosen(request->pContext, index, name);
  if (renamed != nullptr && request->bSave != 0) {
    char* const text = ToUtf8(renamed);
    gtk_file_chooser_set_current_name(self->m_chooser, text);
    g_free(text);
  }
  g_free(name);
}

gboolean Dialog::OnTimers(gint, GIOCondition, gpointer data) {
  const auto* const self = static_cast<const Dialog*>(data);
  const ZTKFileDialogRequest* const request = self->m_pRequest;
  // The program may open another dialog in there, or run a loop of its own.
  if (!Gtk3CallProgram(request->pfnServeTimers, request->pContext)) g_main_loop_quit(self->m_loop);
  return G_SOURCE_CONTINUE;
}

// The parent window is of a type that only the application knows, so the dialog often has none, and
// that is no reason to write to the standard error stream of a program.
void Dialog::OnMessage(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer) {
  if (text != nullptr && std::strstr(text, "without a transient parent") != nullptr) return;
  g_log_default_handler(domain, level, text, nullptr);
}

// Comes after the chooser's own handler, which swallows a response that is no end: to enter a
// folder, or not to overwrite.
void Dialog::OnResponse(GtkDialog*, gint response, gpointer data) {
  auto* const self = static_cast<Dialog*>(data);
  // The response alone decides: the chooser has a path to tell after a cancel too. And it is asked
  // now: in the next turn of the loop it may have read its folder again, and lost its selection.
  if (response == GTK_RESPONSE_ACCEPT && self->m_path == nullptr) {
    self->m_path = gtk_file_chooser_get_filename(self->m_chooser);
  }
  g_main_loop_quit(self->m_loop);
}

void Dialog::OnUnmap(GtkWidget*, gpointer data) {
  g_main_loop_quit(static_cast<Dialog*>(data)->m_loop);
}

bool Dialog::Run() {
  if (m_pRequest->nTimerFd >= 0) {
    // In turn with idle work, below events and drawing: a timer that is always due must not keep
    // the dialog from the screen, nor from reading its folder.
    m_timers = g_unix_fd_add_full(G_PRIORITY_DEFAULT_IDLE, m_pRequest->nTimerFd, G_IO_IN, OnTimers,
                                  this, nullptr);
  }
  m_messages = g_log_set_handler("Gtk", G_LOG_LEVEL_MESSAGE, OnMessage, nullptr);
  m_loop = g_main_loop_new(nullptr, FALSE);
  g_signal_connect(m_widget, "response", G_CALLBACK(OnResponse), this);
  g_signal_connect(m_widget, "delete-event", G_CALLBACK(gtk_true), nullptr);  // Not destroyed yet.
  const gulong unmap = g_signal_connect(m_widget, "unmap", G_CALLBACK(OnUnmap), this);
  gtk_widget_show(m_widget);

  if (!Gtk3RunLoop(m_loop)) return false;

  g_signal_handler_disconnect(m_widget, unmap);
  g_main_loop_unref(m_loop);
  g_log_remove_handler("Gtk", m_messages);
  if (m_timers != 0) g_source_remove(m_timers);
  m_messages = 0;
  m_timers = 0;
  return true;
}

int RunDialog(const ZTKFileDialogRequest* pRequest) {
  if (Gtk3WhyNot() != nullptr) return 0;
  auto* const dialog = new (std::nothrow) Dialog(pRequest);
  if (dialog == nullptr) return 0;
  const bool whole = Gtk3RunGuarded(Dialog::Show, dialog);
  char* const path = dialog->GetPath();
  if (whole) {
    delete dialog;
  } else {
    dialog->Abandon();
  }
  if (path == nullptr) return 0;
  // Also when the display went while the dialog was closing: the user has chosen.
  pRequest->pfnChosen(pRequest->pContext, path);
  g_free(path);
  return 1;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const ZTKFileDialogBackend*
ztk_file_dialog_backend() {
  static constexpr ZTKFileDialogBackend kBackend = {ZTKFileDialogBackend::kVersion, "gtk3",
                                                    Gtk3WhyNot, RunDialog};
  return &kBackend;
}
