#pragma once

#include "ztk/file/file.h"

/// Strict (or not) for the time of a test.
class Strict {
 public:
  explicit Strict(bool strict = true) { ZTKFile::ms_strict = strict; }
  ~Strict() { ZTKFile::ms_strict = false; }
  Strict(const Strict&) = delete;
  Strict& operator=(const Strict&) = delete;
};
