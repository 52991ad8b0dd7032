#include "examples/notes/word_counter.h"

#include <cstring>

WordCounter::WordCounter() {
  m_module.SetInitCleanupName("WordsInit", "WordsCleanup");
  if (!m_module.Load("ztk_notes_words")) return;
  void* const symbol = m_module.GetSymbol("WordsCount");
  std::memcpy(&m_count, &symbol, sizeof m_count);
}

unsigned long WordCounter::Count(const std::string& text) const {
  return m_count != nullptr ? m_count(text.c_str()) : 0;
}
