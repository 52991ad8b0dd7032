#pragma once

#include "ztk/system/condition.h"
#include "ztk/system/event.h"
#include "ztk/system/msg_event.h"
#include "ztk/system/mutex.h"
#include "ztk/system/semaphore.h"
#include "ztk/system/sync_result.h"
#include "ztk/system/thread.h"
