#include "tests/system/gtk/gtk_user.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr gint64 kPatience = 30 * G_USEC_PER_SEC;

// Starts Xvfb, which picks a free display and writes its number to a pipe once it is ready.
int StartServer(std::string& display) {
  int ready[2];
  if (pipe(ready) != 0) return -1;
  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // A test that crashes leaves no server behind.
    dup2(ready[1], 3);
    if (ready[0] != 3) close(ready[0]);
    if (ready[1] != 3) close(ready[1]);
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere >= 0) dup2(nowhere, 2);  // It remarks on every display that is taken.
    execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1024x768x24", "-nolisten", "tcp",
           static_cast<char*>(nullptr));
    _exit(127);
  }
  close(ready[1]);
  char ch = 0;
  display = ":";
  while (pid > 0 && read(ready[0], &ch, 1) == 1 && ch != '\n') display += ch;
  close(ready[0]);
  if (pid > 0 && display.size() > 1) return pid;
  if (pid > 0) waitpid(pid, nullptr, 0);
  return -1;
}

GtkWidget* FindBelow(GtkWidget* widget, const char* name) {
  if (GTK_IS_BUILDABLE(widget)) {
    const char* const own = gtk_buildable_get_name(GTK_BUILDABLE(widget));
    if (own != nullptr && std::strcmp(own, name) == 0) return widget;
  }
  if (!GTK_IS_CONTAINER(widget)) return nullptr;
  struct Search {
    const char* name;
    GtkWidget* found;
  } search = {name, nullptr};
  gtk_container_forall(
      GTK_CONTAINER(widget),
      [](GtkWidget* child, gpointer data) {
        auto* const below = static_cast<Search*>(data);
        if (below->found == nullptr) below->found = FindBelow(child, below->name);
      },
      &search);
  return search.found;
}

template <typename Matches>
GtkWidget* FindWindow(Matches matches) {
  GtkWidget* found = nullptr;
  GList* const windows = gtk_window_list_toplevels();
  // New windows come last in the list.
  for (const GList* at = windows; at != nullptr; at = at->next) {
    auto* const window = static_cast<GtkWidget*>(at->data);
    if (gtk_widget_get_mapped(window) && matches(window)) found = window;
  }
  g_list_free(windows);
  return found;
}

}  // namespace

VirtualDisplay::VirtualDisplay() {
  std::string display;
  m_pid = StartServer(display);
  const std::string& folder = home.Path().string();
  const std::pair<const char*, const char*> variables[] = {
      {"DISPLAY", Running() ? display.c_str() : nullptr},
      {"WAYLAND_DISPLAY", nullptr},
      {"GDK_BACKEND", "x11"},
      {"HOME", folder.c_str()},
      {"XDG_CONFIG_HOME", folder.c_str()},
      {"XDG_DATA_HOME", folder.c_str()},
      {"XDG_CACHE_HOME", folder.c_str()},
      {"XDG_RUNTIME_DIR", folder.c_str()},
      {"GSETTINGS_BACKEND", "memory"},
      {"GIO_USE_VFS", "local"},
      {"GIO_USE_VOLUME_MONITOR", "unix"},
      {"NO_AT_BRIDGE", "1"},
      {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
      {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
      {"LC_ALL", "C.UTF-8"},
  };
  for (const auto& [name, value] : variables) {
    m_environment.push_back(std::make_unique<ScopedEnv>(name, value));
  }
}

VirtualDisplay::~VirtualDisplay() { Kill(); }

void VirtualDisplay::Kill() {
  if (!Running()) return;
  kill(m_pid, SIGKILL);
  waitpid(m_pid, nullptr, 0);
  m_pid = -1;
}

User::User()
    : m_source(g_timeout_add(10, OnTick, this)), m_deadline(g_get_monotonic_time() + kPatience) {}

User::~User() {
  g_source_remove(m_source);
  EXPECT_TRUE(Finished()) << "never came to: " << m_steps[m_next].what;
}

User& User::Then(const char* what, std::function<bool()> step) {
  m_steps.push_back({what, std::move(step)});
  return *this;
}

gboolean User::OnTick(gpointer data) {
  auto* const self = static_cast<User*>(data);
  if (self->m_busy) return G_SOURCE_CONTINUE;
  if (g_get_monotonic_time() > self->m_deadline) {
    if (OpenQuestion() != nullptr) gtk_dialog_response(OpenQuestion(), GTK_RESPONSE_CANCEL);
    if (OpenChooser() != nullptr) gtk_dialog_response(GTK_DIALOG(OpenChooser()), 0);
    return G_SOURCE_CONTINUE;
  }
  self->m_busy = true;
  if (!self->Finished() && self->m_steps[self->m_next].run()) ++self->m_next;
  self->m_busy = false;
  return G_SOURCE_CONTINUE;
}

GtkFileChooser* OpenChooser() {
  return reinterpret_cast<GtkFileChooser*>(
      FindWindow([](GtkWidget* window) { return GTK_IS_FILE_CHOOSER_DIALOG(window); }));
}

GtkDialog* OpenQuestion() {
  return reinterpret_cast<GtkDialog*>(
      FindWindow([](GtkWidget* window) { return GTK_IS_MESSAGE_DIALOG(window); }));
}

GtkWidget* PartOf(GtkFileChooser* chooser, const char* name) {
  return chooser != nullptr ? FindBelow(GTK_WIDGET(chooser), name) : nullptr;
}

std::vector<std::string> ListedNames(GtkFileChooser* chooser) {
  std::vector<std::string> names;
  GtkWidget* const view = PartOf(chooser, "browse_files_tree_view");
  GtkTreeModel* const model =
      view != nullptr ? gtk_tree_view_get_model(GTK_TREE_VIEW(view)) : nullptr;
  GtkTreeIter row;
  bool more = model != nullptr && gtk_tree_model_get_iter_first(model, &row);
  while (more) {
    char* name = nullptr;
    gtk_tree_model_get(model, &row, 0, &name, -1);
    if (name != nullptr) names.emplace_back(name);
    g_free(name);
    more = gtk_tree_model_iter_next(model, &row);
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool Press(GtkDialog* dialog, int response) {
  if (dialog == nullptr) return false;
  GtkWidget* const button = gtk_dialog_get_widget_for_response(dialog, response);
  if (button == nullptr || !gtk_widget_is_sensitive(button)) return false;
  // Not from here: the button may open a question of its own, and the steps must go on then.
  g_idle_add(
      [](gpointer data) -> gboolean {
        gtk_button_clicked(GTK_BUTTON(data));
        g_object_unref(data);
        return G_SOURCE_REMOVE;
      },
      g_object_ref(button));
  return true;
}

bool Select(GtkFileChooser* chooser, const std::string& path) {
  if (chooser == nullptr) return false;
  char* const selected = gtk_file_chooser_get_filename(chooser);
  const bool done = selected != nullptr && path == selected;
  g_free(selected);
  // While the folder is still being read this is a wish that the chooser remembers.
  if (!done) gtk_file_chooser_select_filename(chooser, path.c_str());
  return done;
}

bool PickFilter(GtkFileChooser* chooser, int index) {
  GtkWidget* const box = PartOf(chooser, "filter_combo");
  if (box == nullptr || !gtk_widget_is_visible(box)) return false;
  gtk_combo_box_set_active(GTK_COMBO_BOX(box), index);
  return true;
}
