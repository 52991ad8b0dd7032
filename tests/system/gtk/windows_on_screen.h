#pragma once

/// The number of windows that the X server shows, as any other program sees them; -1 without one.
int WindowsOnScreen();

/// The descriptor of GTK's own connection to the server.
int ToolkitConnection();
