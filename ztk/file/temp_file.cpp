#include "ztk/file/temp_file.h"
