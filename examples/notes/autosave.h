#pragma once

#include <functional>
#include <string>

#include "ztk/system/timer.h"

/// Keeps a copy of what is not saved yet: some time after the last change, the text goes to a file
/// beside the note, in one step. The note itself is left to the user.
class Autosave : public ZTKTimer {
 public:
  static constexpr unsigned long kDelayMs = 800;

  /// `getText` gives the text as it is by then; `done` is told whether it is safe.
  Autosave(std::function<std::string()> getText, std::function<void(bool)> done);

  /// Where copies go from now on: beside the note, open to those whom the note is open to. A change
  /// that is still waiting is forgotten.
  void SetNote(const std::string& path);
  /// The same for a note without a file: its copy lies in `folder`, apart from those of other
  /// windows. One that a program which is gone has left there becomes this note's.
  void SetUntitled(const std::string& folder);
  /// The text has changed.
  void Touch();
  /// What waits is written now. False when the last change is in no copy.
  bool Finish();
  /// The note is saved: the copy has had its day.
  void Forget();

  /// The copy that an earlier session has left; false when there is none.
  bool Recover(std::string& text) const;
  const std::string& GetPath() const { return m_path; }

 private:
  void Notify() override;

  std::function<std::string()> m_getText;
  std::function<void(bool)> m_done;
  std::string m_note;
  std::string m_path;
  bool m_bSafe = true;
};
