#include "ztk/foundation/text_conversion.h"
