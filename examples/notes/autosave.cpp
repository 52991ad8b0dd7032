#include "examples/notes/autosave.h"

#include <utility>

#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

Autosave::Autosave(std::function<std::string()> getText, std::function<void(bool)> done)
    : m_getText(std::move(getText)), m_done(std::move(done)) {}

void Autosave::SetNote(const std::string& path) {
  Stop();
  m_path = path + ".autosave";
}

void Autosave::Touch() {
  Stop();
  Start(kDelayMs, 1);
}

void Autosave::Finish() {
  if (!IsRunning()) return;
  Stop();
  Notify();
}

void Autosave::Forget() {
  Stop();
  ZTKRemoveFile(m_path.c_str());
}

bool Autosave::Recover(std::string& text) const {
  ZTKFile file(m_path.c_str(), ZTKFile::read);
  const long length = file.IsOpen() ? file.Length() : -1;
  if (length < 0) return false;
  text.resize(static_cast<size_t>(length));
  return file.Read(text.data(), text.size()) == text.size();
}

void Autosave::Notify() {
  const std::string text = m_getText();
  ZTKTempFile copy(m_path.c_str());
  const bool written = copy.GetFile().Write(text.data(), text.size()) == text.size();
  m_done(written && copy.Commit());
}
