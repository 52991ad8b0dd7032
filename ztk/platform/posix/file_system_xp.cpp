#include "ztk/file/file_system.h"
