#pragma once

#include "ztk/file/temp_file.h"

// Strict mode, and every option alone: all of them promise something about the target.
struct Mode {
  bool strict;
  unsigned int options;
};
inline constexpr Mode kCarefulModes[] = {
    {true, 0},
    {false, TEMP_ONE_STEP},
    {false, TEMP_FOLLOW_LINKS},
    {false, TEMP_KEEP_IDENTITY},
    {false, TEMP_UNNAMED},
    {false, TEMP_ONE_STEP | TEMP_FOLLOW_LINKS | TEMP_KEEP_IDENTITY}};
