#pragma once

#include "ztk/foundation/arrays.h"
#include "ztk/foundation/list.h"
#include "ztk/foundation/maps.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/foundation/text_file_type.h"
#include "ztk/log/log.h"
