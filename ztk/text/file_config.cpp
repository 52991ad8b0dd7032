#include "ztk/text/file_config.h"
