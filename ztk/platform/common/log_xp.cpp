#include "ztk/foundation/log.h"
