// Paths in every syntax: what is split and joined again must be what a second, simpler reading of
// the syntax expects, and the ways to split must agree.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "ztk/file/file_name.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

std::vector<std::string> Pieces(const std::string& text, const std::string& separators) {
  std::vector<std::string> pieces(1);
  for (const char ch : text) {
    if (separators.find(ch) == std::string::npos) {
      pieces.back() += ch;
    } else if (!pieces.back().empty()) {
      pieces.emplace_back();
    }
  }
  if (pieces.back().empty()) pieces.pop_back();
  return pieces;
}

std::string Joined(const std::vector<std::string>& pieces, char separator) {
  std::string text;
  for (const std::string& piece : pieces) text += piece + separator;
  return text;
}

std::string ExpectedUnix(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return path;
  const std::vector<std::string> dirs = Pieces(path.substr(0, slash), "/");
  const bool isRooted = path[0] == '/' || path[0] == '~';
  const bool isHome = !dirs.empty() && dirs[0] == "~";
  return (isRooted && !isHome ? "/" : "") + Joined(dirs, '/') + path.substr(slash + 1);
}

std::string ExpectedMac(const std::string& path) {
  const size_t colon = path.rfind(':');
  if (colon == std::string::npos) return ":" + path;
  std::string text = path[0] == ':' ? ":" : "";
  for (const std::string& piece : Pieces(path.substr(0, colon), ":")) {
    if (piece == ".") continue;
    text += piece == ".." ? ":" : piece + ":";
  }
  return text + path.substr(colon + 1);
}

// For paths with one ':' at most that name no server.
std::string ExpectedDos(const std::string& path) {
  const size_t colon = path.find(':');
  const std::string volume = colon == std::string::npos ? "" : path.substr(0, colon);
  const std::string rest = colon == std::string::npos ? path : path.substr(colon + 1);
  std::string text = volume.size() > 1 ? "\\\\" + volume : volume.empty() ? "" : volume + ":";
  const size_t end = rest.find_last_of("\\/");
  if (end == std::string::npos) return text + rest;
  if (rest[0] == '\\' || rest[0] == '/') text += '\\';
  return text + Joined(Pieces(rest.substr(0, end), "\\/"), '\\') + rest.substr(end + 1);
}

std::string ExpectedVms(const std::string& path) {
  const size_t colon = path.find(':');
  const std::string volume = colon == std::string::npos ? "" : path.substr(0, colon);
  const std::string rest = colon == std::string::npos ? path : path.substr(colon + 1);
  const std::string text = volume.empty() ? "" : volume + ":";
  const size_t end = rest.rfind(']');
  if (end == std::string::npos) return text + rest;
  std::string folder = end == 0 ? "]" : rest.substr(0, end);
  if (folder[0] == '[') folder.erase(0, 1);
  std::string dirs = Joined(Pieces(folder, "."), '.');
  if (!dirs.empty()) dirs.pop_back();
  return text + (dirs.empty() ? "" : "[" + dirs + "]") + rest.substr(end + 1);
}

bool HasModel(const std::string& path, ZTKPathFormat format) {
  if (!path.empty() && path.back() == '.') return false;  // The last dot of a name is dropped.
  if (format == ZTKPathUnix || format == ZTKPathMac) return true;
  if (path.find(':') != path.rfind(':')) return false;  // A folder with a volume of its own.
  if (format == ZTKPathVms) return true;
  const size_t colon = path.find(':');
  const std::string rest = colon == std::string::npos ? path : path.substr(colon + 1);
  return path.substr(0, 2) != "\\\\" && rest.substr(0, 2) != "\\\\";
}

std::string Expected(const std::string& path, ZTKPathFormat format) {
  if (format == ZTKPathMac) return ExpectedMac(path);
  if (format == ZTKPathDos) return ExpectedDos(path);
  if (format == ZTKPathVms) return ExpectedVms(path);
  return ExpectedUnix(path);
}

void Check(const std::string& path, ZTKPathFormat format) {
  const ZTKString text = path.c_str();
  const ZTKFileName name(text, format);
  const ZTKString full = name.GetFullPath(format);
  if (HasModel(path, format)) Require(Expected(path, format) == full.c_str());

  ZTKString volume;
  ZTKString folder;
  ZTKString base;
  ZTKString ext;
  ZTKFileName::SplitPath(text, &volume, &folder, &base, &ext, format);
  Require(volume == name.GetVolume() && base == name.GetName() && ext == name.GetExt());
  ZTKFileName byParts;
  byParts.Assign(volume, folder, base, ext, format);
  Require(byParts.GetFullPath(format) == full && byParts.IsRelative() == name.IsRelative());

  ZTKString whole;
  ZTKFileName::SplitPath(text, &whole, nullptr, nullptr, format);
  ZTKString expected = ZTKFileName::ZTKGetVolumeString(volume, format);
  expected.append(folder);
  Require(whole == expected);

  ZTKString rest;
  ZTKFileName::SplitVolume(text, &whole, &rest, format);
  Require(whole == volume);
  if (format == ZTKPathUnix || format == ZTKPathMac) Require(rest == text && volume.Len() == 0);

  for (const ZTKString& dir : name.GetDirs()) {
    Require(dir.Len() != 0);
    for (const char ch : dir.view()) Require(!ZTKFileName::IsPathSeparator(ch, format));
  }

  // Normalising never climbs, and leaves no dots behind.
  ZTKFileName normal = name;
  const bool done = normal.XPNormalize(ZTKNormDots | ZTKNormCase, ZTKString(), format);
  Require(done || normal.GetDirs().GetCount() == 0);
  for (const ZTKString& dir : normal.GetDirs()) {
    Require(dir.view() != "." && dir.view() != "..");
  }
  Require(normal.GetDirs().GetCount() <= name.GetDirs().GetCount());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  std::string path(reinterpret_cast<const char*>(pData), nSize);
  path.resize(path.find('\0') == std::string::npos ? nSize : path.find('\0'));
  for (const ZTKPathFormat format : {ZTKPathUnix, ZTKPathMac, ZTKPathDos, ZTKPathVms}) {
    Check(path, format);
  }
  return 0;
}
