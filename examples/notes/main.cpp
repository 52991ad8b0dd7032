// A small program for notes, to show the library at work in a desktop program:
//
//     ztk_notes [file]
//
// Files are opened and saved through ZTKFileDLG and ZTKTextFile; a ZTKTimer keeps unsaved changes
// in a ZTKTempFile; ZTKFileConfig remembers the window and the last notes; a ZTKModule counts the
// words; what happens is shown by a target of ZTKLog.

#include <glib-unix.h>
#include <gtk/gtk.h>

#include "examples/notes/window.h"
#include "ztk/file/file.h"
#include "ztk/system/event_loop.h"

namespace {

// The library's timers come through one descriptor, which GTK's main loop watches.
gboolean ServeTimers(gint, GIOCondition, gpointer) {
  ZTKEventLoop::Main().Dispatch();
  return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
  if (!gtk_init_check(&argc, &argv)) {
    g_printerr("No display to show a window on.\n");
    return 1;
  }
  ZTKFile::ms_strict = true;  // Nothing is lost without an error.
  auto* const log = new LogView;
  ZTKLog::SetActiveTarget(log);  // It belongs to the log now.
  ZTKLog::ms_doLog = 1;
  const guint timers = g_unix_fd_add(ZTKEventLoop::Main().GetFd(), G_IO_IN, ServeTimers, nullptr);
  {
    Settings settings;
    NotesWindow window(settings, *log);
    if (argc > 1) {
      // Only made absolute: what ".." behind a link leads to is up to the system.
      char* const folder = g_get_current_dir();
      char* const path = g_path_is_absolute(argv[1]) ? g_strdup(argv[1])
                                                     : g_build_filename(folder, argv[1], nullptr);
      window.Open(path);
      g_free(path);
      g_free(folder);
    }
    gtk_widget_show_all(window.GetWidget());
    gtk_main();
  }
  g_source_remove(timers);
  ZTKLog::ms_doLog = 0;
  ZTKLog::SetActiveTarget(nullptr);
  return 0;
}
