#pragma once

#include "ztk/config/file_config.h"
#include "ztk/text/text_buffer.h"
#include "ztk/text/text_file.h"
