#pragma once

#include <string>

#include "ztk/system/module.h"

/// Counts words by a plug-in that lies beside the program. Without it there is no count.
class WordCounter {
 public:
  WordCounter();

  bool IsThere() const { return m_count != nullptr; }
  unsigned long Count(const std::string& text) const;

 private:
  ZTKModule m_module;
  unsigned long (*m_count)(const char*) = nullptr;
};
