#pragma once

#include "ztk/file.h"
#include "ztk/foundation.h"
#include "ztk/stream.h"
#include "ztk/system.h"
#include "ztk/text.h"
