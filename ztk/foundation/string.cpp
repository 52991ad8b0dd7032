#include "ztk/foundation/string.h"
