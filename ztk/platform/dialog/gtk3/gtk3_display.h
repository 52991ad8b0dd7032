#pragma once

#include <gtk/gtk.h>

/// Null when GTK 3 runs and has a display; else the reason. The first call initialises GTK, without
/// setting the program's locale.
const char* Gtk3WhyNot();

/// Whether it was this plug-in that started GTK: the program then has no GTK loop of its own.
bool Gtk3StartedHere();

/// Calls `pfnWork(pData)`; true when the display was there to the end.
///
/// The toolkit crashes on replies that never came, so the loss of the display ends the call and not
/// the program. A loop that runs in Gtk3RunLoop() is quit. Anywhere else the call is abandoned
/// where it stands: its frames are left by siglongjmp, without destructors, must own nothing, and
/// what it was working on must stay allocated. After a loss the toolkit is out of use, and its
/// sources are removed from the main loop. Calls may be nested; each of them ends.
///
/// That is possible for X only, and done only in programs that do not use GTK themselves; elsewhere
/// the work is simply called.
bool Gtk3RunGuarded(void (*pfnWork)(void*), void* pData);

/// g_main_loop_run(), for work that is guarded. False: it ended because the display was lost, of
/// which nothing may be asked any more.
bool Gtk3RunLoop(GMainLoop* pLoop);

/// Calls the program back from guarded work. The program's frames are not abandoned, whatever it
/// runs in there. False: the display was lost meanwhile.
bool Gtk3CallProgram(void (*pfnCall)(void*), void* pData);
