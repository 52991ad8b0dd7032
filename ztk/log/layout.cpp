// Programs outside the library derive from these classes: a table of virtual operations each, and
// the one field of the file's.
#include "ztk/log/log.h"

static_assert(sizeof(ZTKLog) == sizeof(void*));
static_assert(sizeof(ZTKLogStderr) == sizeof(void*));
static_assert(sizeof(ZTKLogFile) == sizeof(void*) + sizeof(ZTKFile));
