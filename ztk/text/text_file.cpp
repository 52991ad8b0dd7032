#include "ztk/text/text_file.h"
