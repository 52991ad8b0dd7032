#pragma once

#include "ztk/text/file_config.h"
#include "ztk/text/text_buffer.h"
#include "ztk/text/text_file.h"
