// A GLib program, and so every GTK program, watches the descriptor with a source of its main loop.

#include <glib-unix.h>
#include <glib.h>

#include "examples/loops/countdown.h"

namespace {

gboolean Serve(gint /*fd*/, GIOCondition /*condition*/, gpointer /*pUserData*/) {
  ZTKEventLoop::Main().Dispatch();
  return G_SOURCE_CONTINUE;
}

}  // namespace

int main() {
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  const guint source = g_unix_fd_add(ZTKEventLoop::Main().GetFd(), G_IO_IN, Serve, nullptr);

  Countdown countdown(3, [loop] { g_main_loop_quit(loop); });
  if (!countdown.Start(50, 0)) return 1;
  g_main_loop_run(loop);

  g_source_remove(source);
  g_main_loop_unref(loop);
  return 0;
}
