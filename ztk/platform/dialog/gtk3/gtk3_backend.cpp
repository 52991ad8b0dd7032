// The GTK 3 back end of the file dialog. It needs no symbol of the library: what it has to know and
// to ask comes with the request.

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <cstring>

#include "ztk/platform/dialog/gtk3/gtk3_display.h"
#include "ztk/system/file_dialog_backend.h"

namespace {

constexpr char kIndex[] = "ztk-filter-index";

// GTK takes UTF-8 only; file names and the program's texts may be anything. To be freed.
char* ToUtf8(const char* text) {
  if (g_utf8_validate(text, -1, nullptr)) return g_strdup(text);
  char* const converted = g_locale_to_utf8(text, -1, nullptr, nullptr, nullptr);
  return converted != nullptr ? converted : g_utf8_make_valid(text, -1);
}

class Dialog {
 public:
  explicit Dialog(const ZTKFileDialogRequest* pRequest);
  ~Dialog();
  Dialog(const Dialog&) = delete;
  Dialog& operator=(const Dialog&) = delete;

  bool Run();

 private:
  void AddFilters();
  void SetStart();

  static gboolean OnShows(const GtkFileFilterInfo* info, gpointer filter);
  static void OnFilterChosen(GObject* object, GParamSpec*, gpointer data);
  static gboolean OnTimers(gint, GIOCondition, gpointer data);
  static void OnMessage(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer);

  const ZTKFileDialogRequest* m_pRequest;
  GtkWidget* m_widget;
  GtkFileChooser* m_chooser;
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

Dialog::Dialog(const ZTKFileDialogRequest* pRequest) : m_pRequest(pRequest) {
  const bool save = pRequest->bSave != 0;
  char* const title = ToUtf8(pRequest->pszTitle);
  // The toolkit's own words, in the language that the program has chosen for it.
  m_widget = gtk_file_chooser_dialog_new(
      title, ActiveWindow(), save ? GTK_FILE_CHOOSER_ACTION_SAVE : GTK_FILE_CHOOSER_ACTION_OPEN,
      g_dgettext("gtk30", "_Cancel"), GTK_RESPONSE_CANCEL,
      g_dgettext("gtk30", save ? "_Save" : "_Open"), GTK_RESPONSE_ACCEPT,
      static_cast<const char*>(nullptr));
  g_free(title);
  m_chooser = GTK_FILE_CHOOSER(m_widget);
  gtk_dialog_set_default_response(GTK_DIALOG(m_widget), GTK_RESPONSE_ACCEPT);
  // Modal from the start, and so to the end: when gtk_dialog_run() has to make it so, it hands the
  // grab back to the window below, and asks the display for the pointer, which may be gone.
  gtk_window_set_modal(GTK_WINDOW(m_widget), TRUE);
  gtk_file_chooser_set_do_overwrite_confirmation(m_chooser, TRUE);
  SetStart();
  AddFilters();
}

Dialog::~Dialog() {
  // A window of a display that is gone cannot be taken down.
  if (Gtk3DisplayGuard::DisplayIsLost()) return;
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
  for (unsigned long i = 0; i < m_pRequest->nFilterCount; ++i) {
    GtkFileFilter* const filter = gtk_file_filter_new();
    char* const name = ToUtf8(m_pRequest->ppszDescriptions[i]);
    gtk_file_filter_set_name(filter, name);
    g_free(name);
    g_object_set_data(G_OBJECT(filter), kIndex, GSIZE_TO_POINTER(i));
    g_object_set_data(G_OBJECT(filter), "ztk-dialog", this);
    gtk_file_filter_add_custom(filter, GTK_FILE_FILTER_FILENAME, OnShows, filter, nullptr);
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
  const ZTKFileDialogRequest* const request = static_cast<const Dialog*>(data)->m_pRequest;
  request->pfnServeTimers(request->pContext);
  return G_SOURCE_CONTINUE;
}

// The parent window is of a type that only the application knows, so the dialog often has none, and
// that is no reason to write to the standard error stream of a program.
void Dialog::OnMessage(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer) {
  if (text != nullptr && std::strstr(text, "without a transient parent") != nullptr) return;
  g_log_default_handler(domain, level, text, nullptr);
}

bool Dialog::Run() {
  const Gtk3DisplayGuard guard(GTK_DIALOG(m_widget));
  guint timers = 0;
  if (m_pRequest->nTimerFd >= 0) {
    // In turn with idle work, below events and drawing: a timer that is always due must not keep
    // the dialog from the screen, nor from reading its folder.
    timers = g_unix_fd_add_full(G_PRIORITY_DEFAULT_IDLE, m_pRequest->nTimerFd, G_IO_IN, OnTimers,
                                this, nullptr);
  }
  const guint messages = g_log_set_handler("Gtk", G_LOG_LEVEL_MESSAGE, OnMessage, nullptr);

  const gint response = gtk_dialog_run(GTK_DIALOG(m_widget));

  g_log_remove_handler("Gtk", messages);
  if (timers != 0) g_source_remove(timers);
  // The response alone decides: the chooser has a path to tell after a cancel too.
  if (response != GTK_RESPONSE_ACCEPT) return false;
  char* const path = gtk_file_chooser_get_filename(m_chooser);
  if (path == nullptr) return false;
  m_pRequest->pfnChosen(m_pRequest->pContext, path);
  g_free(path);
  return true;
}

int RunDialog(const ZTKFileDialogRequest* pRequest) {
  if (Gtk3WhyNot() != nullptr) return 0;
  Dialog dialog(pRequest);
  return dialog.Run() ? 1 : 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const ZTKFileDialogBackend*
ztk_file_dialog_backend() {
  static constexpr ZTKFileDialogBackend kBackend = {ZTKFileDialogBackend::kVersion, "gtk3",
                                                    Gtk3WhyNot, RunDialog};
  return &kBackend;
}
