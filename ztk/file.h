#pragma once

#include "ztk/file/file.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/file_watch.h"
#include "ztk/file/temp_file.h"
