#include "ztk/file/internal/dos_path.h"

namespace {

size_t EndOfComponent(std::string_view path, size_t start) noexcept {
  size_t end = start;
  while (end < path.size() && !ZTKIsDosSeparator(path[end])) ++end;
  return end;
}

// The end of the component behind the separator at `end`; `end` itself, where there is none.
size_t EndOfNext(std::string_view path, size_t end) noexcept {
  if (end == path.size()) return end;
  const size_t next = EndOfComponent(path, end + 1);
  return next == end + 1 ? end : next;
}

bool IsDrive(std::string_view path) noexcept {
  if (path.size() < 2 || path[1] != ':') return false;
  return (path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z');
}

bool IsUnc(std::string_view name) noexcept {
  return name.size() == 3 && (name[0] | 0x20) == 'u' && (name[1] | 0x20) == 'n' &&
         (name[2] | 0x20) == 'c';
}

}  // namespace

size_t ZTKDosVolumeLength(std::string_view path) noexcept {
  if (IsDrive(path)) return 2;
  if (path.size() < 3 || !ZTKIsDosSeparator(path[0]) || !ZTKIsDosSeparator(path[1])) return 0;

  const size_t server = EndOfComponent(path, 2);
  if (server == 2) return 0;
  const size_t share = EndOfNext(path, server);
  const std::string_view first = path.substr(2, server - 2);
  const bool isSystemName = (first == "?" || first == ".") && share != server;
  if (!isSystemName || !IsUnc(path.substr(server + 1, share - server - 1))) return share;
  return EndOfNext(path, EndOfNext(path, share));
}
