#include "ztk/platform/mac/services/mounts.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "ztk/foundation/internal/never_destroyed.h"

namespace ztk_mac_services {

namespace {

constexpr const char* kHostTable = "/proc/self/mounts";

// A table that is kept open: only then does the system report its changes.
class OpenTable {
 public:
  OpenTable() noexcept = default;
  ~OpenTable() { Close(); }
  OpenTable(const OpenTable&) = delete;
  OpenTable& operator=(const OpenTable&) = delete;

  /// False when there is no such file, or no descriptor to be had; throws without memory.
  bool Open(const char* pszFile) {
    Close();
    m_handle = open(pszFile, O_RDONLY | O_CLOEXEC);
    if (m_handle < 0 && errno == ENOMEM) throw std::bad_alloc();
    struct stat status;
    if (m_handle < 0 || fstat(m_handle, &status) != 0) return false;
    m_device = status.st_dev;
    m_file = status.st_ino;
    m_process = getpid();
    return true;
  }

  /// Whether this process opened it and nobody has closed it since, as daemons do with whatever
  /// they find open: the number may mean another file by now. A child shares what it inherited with
  /// its parent, and would take reports away from it.
  bool IsOpen() const noexcept { return m_process == getpid() && IsOurs(); }

  /// Whether the system has reported a change since this was asked last.
  bool HasChanged() const noexcept {
    pollfd request = {m_handle, POLLPRI, 0};
    return poll(&request, 1, 0) != 0;  // POLLERR is always among what is reported.
  }

  /// False when it cannot be read to its end.
  bool Read(std::string& text) const {
    if (lseek(m_handle, 0, SEEK_SET) != 0) return false;
    char block[2048];
    for (;;) {
      const ssize_t got = read(m_handle, block, sizeof block);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return got == 0;
      text.append(block, static_cast<size_t>(got));
    }
  }

  void Close() noexcept {
    if (IsOurs()) close(m_handle);
    m_handle = -1;
  }

 private:
  // Whether the number still means the file that was opened.
  bool IsOurs() const noexcept {
    struct stat status;
    return m_handle >= 0 && fstat(m_handle, &status) == 0 && status.st_dev == m_device &&
           status.st_ino == m_file;
  }

  int m_handle = -1;
  pid_t m_process = 0;
  dev_t m_device = 0;
  ino_t m_file = 0;
};

struct State {
  std::mutex mutex;
  std::string testTable;  // "" for the host's.
  OpenTable table;
  std::shared_ptr<const MountList> known;  // What `table` said last; null when it has to be read.
  unsigned long reads = 0;
};
State& TheState() {
  static ZTKNeverDestroyed<State> s_state;
  return s_state.value;
}

// The state outlives the library; the descriptor does not. Whoever asks later opens it again.
struct CloseAtTheEnd {
  ~CloseAtTheEnd() {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.table.Close();
    state.known.reset();
  }
};
const CloseAtTheEnd s_closeAtTheEnd;

bool IsOctal(char ch) { return ch >= '0' && ch <= '7'; }

// The table writes blanks and the like as a '\' and three octal digits.
std::string Unescaped(std::string_view field) {
  std::string text;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && IsOctal(field[i + 1]) &&
        IsOctal(field[i + 2]) && IsOctal(field[i + 3])) {
      const int code = (field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0');
      text += static_cast<char>(code);
      i += 3;
    } else {
      text += field[i];
    }
  }
  return text;
}

// The mount points are the second field of each line.
std::shared_ptr<const MountList> Parse(std::string_view table) {
  auto list = std::make_shared<MountList>();
  while (!table.empty()) {
    const std::string_view line = table.substr(0, table.find('\n'));
    table.remove_prefix(std::min(table.size(), line.size() + 1));
    const size_t start = line.find(' ');
    if (start == std::string_view::npos) continue;
    const std::string_view fields = line.substr(start + 1);
    std::string point = Unescaped(fields.substr(0, fields.find(' ')));
    while (point.size() > 1 && point.back() == '/') point.pop_back();
    if (point.size() <= 1 || point.front() != '/') continue;
    std::string name = Mounts::NameOf(point);
    list->push_back({std::move(point), std::move(name)});
  }
  return list;
}

}  // namespace

std::shared_ptr<const MountList> Mounts::Get() {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  const bool isHosts = state.testTable.empty();
  const bool isOpen = isHosts && state.table.IsOpen();
  // Asked before the table is read: what changes after that is reported the next time.
  if (isOpen && !state.table.HasChanged() && state.known != nullptr) return state.known;

  state.known.reset();
  std::string text;
  OpenTable other;
  OpenTable& table = isHosts ? state.table : other;
  if (!isOpen && !table.Open(isHosts ? kHostTable : state.testTable.c_str())) return Parse("");
  ++state.reads;
  const bool isWhole = table.Read(text);
  std::shared_ptr<const MountList> list = Parse(text);
  if (isHosts && isWhole) state.known = list;
  return list;
}

std::string Mounts::NameOf(const std::string& point) {
  std::string name = point.substr(point.rfind('/') + 1);
  std::replace(name.begin(), name.end(), ':', '/');
  return name;
}

void Mounts::UseTable(const char* pszFile) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.testTable = pszFile != nullptr ? pszFile : "";
  state.known.reset();
}

unsigned long Mounts::Reads() noexcept {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  return state.reads;
}

}  // namespace ztk_mac_services
