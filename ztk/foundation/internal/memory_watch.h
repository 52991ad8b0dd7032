#pragma once

/// Tells whether the strings and string arrays of this thread went without memory since the watch
/// was made. A text that was made of many steps is complete when they did not: each step goes on
/// with what it has. Internal to the library.
class ZTKMemoryWatch {
 public:
  ZTKMemoryWatch() noexcept : m_nStart(Failures()) {}

  bool RanOut() const noexcept { return Failures() != m_nStart; }

  /// To be called wherever a block is asked for and not given.
  static void NoteFailure() noexcept;

 private:
  static unsigned long Failures() noexcept;

  unsigned long m_nStart;
};
