#pragma once

#include "ztk/system/date_time.h"
#include "ztk/system/event_loop.h"
#include "ztk/system/file_dialog.h"
#include "ztk/system/file_dialog_backend.h"
#include "ztk/system/module.h"
#include "ztk/system/sync.h"
#include "ztk/system/tick_count.h"
#include "ztk/system/timer.h"
