#pragma once

/// Tells whether an allocation of the strings and string arrays of this thread failed since the
/// watch was made; not installed. Each step that makes a text goes on with what it has: the text is
/// complete when none failed.
class ZTKAllocationWatch {
 public:
  ZTKAllocationWatch() noexcept : m_nStart(Failures()) {}

  bool RanOut() const noexcept { return Failures() != m_nStart; }

  /// Called wherever an allocation fails.
  static void NoteFailure() noexcept;

 private:
  static unsigned long Failures() noexcept;

  unsigned long m_nStart;
};
