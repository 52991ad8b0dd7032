#include "ztk/file/file_name.h"
