#pragma once

#include "ztk/system/date_time.h"
#include "ztk/system/tick_count.h"
