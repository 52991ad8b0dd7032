#pragma once

#include "ztk/stream/seek_mode.h"
