#include "examples/notes/autosave.h"

#include <glib/gstdio.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "examples/notes/whole_file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr char kExtension[] = ".autosave";
constexpr char kUntitled[] = "ztk-notes-untitled-";  // The number of the process follows.

}  // namespace

Autosave::Autosave(std::function<std::string()> getText, std::function<void(bool)> done)
    : m_getText(std::move(getText)), m_done(std::move(done)) {}

void Autosave::SetNote(const std::string& path) {
  Stop();
  m_note = path;
  m_path = path + kExtension;
  m_bSafe = true;
}

void Autosave::SetUntitled(const std::string& folder) {
  SetNote(folder + kUntitled + std::to_string(getpid()));
  GDir* const dir = g_dir_open(folder.c_str(), 0, nullptr);
  while (const char* const name = dir != nullptr ? g_dir_read_name(dir) : nullptr) {
    if (!g_str_has_prefix(name, kUntitled)) continue;
    char* end = nullptr;
    const long program = std::strtol(name + std::strlen(kUntitled), &end, 10);
    const bool left =
        std::strcmp(end, kExtension) == 0 && kill(static_cast<pid_t>(program), 0) != 0;
    if (left && !g_file_test(m_path.c_str(), G_FILE_TEST_EXISTS)) {
      g_rename((folder + name).c_str(), m_path.c_str());
    }
  }
  if (dir != nullptr) g_dir_close(dir);
}

void Autosave::Touch() {
  Stop();
  Start(kDelayMs, 1);
}

bool Autosave::Finish() {
  if (IsRunning() || !m_bSafe) {
    Stop();
    Notify();
  }
  return m_bSafe;
}

void Autosave::Forget() {
  Stop();
  m_bSafe = true;
  ZTKRemoveFile(m_path.c_str());
}

bool Autosave::Recover(std::string& text) const { return ReadWhole(m_path, text).empty(); }

void Autosave::Notify() {
  const std::string text = m_getText();
  ZTKTempFile copy(m_path.c_str(), TEMP_ONE_STEP);
  GStatBuf note;
  const int mode =
      g_stat(m_note.c_str(), &note) == 0 ? static_cast<int>(note.st_mode & 0666) : 0600;
  m_bSafe = copy.GetFile().IsOpen() && g_chmod(copy.GetTempPath().c_str(), mode) == 0 &&
            copy.GetFile().Write(text.data(), text.size()) == text.size() && copy.Commit();
  m_done(m_bSafe);
}
