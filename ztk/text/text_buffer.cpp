#include "ztk/text/text_buffer.h"
