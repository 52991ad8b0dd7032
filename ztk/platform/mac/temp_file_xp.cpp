#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/temp_file.h"

// A file has the permissions that it was made with, and no others are given to it.

bool ZTKTempFile::XPChangePermissions() { return true; }

bool XPCopyPermissions(const char*, const char*) noexcept { return true; }
