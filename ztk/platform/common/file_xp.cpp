#include "ztk/file/file.h"
