#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/string.h"

// Shared by the sources of this folder. Internal to the library.

/// The characters that mean something in a path syntax. `format` is resolved: no ZTKPathNative. A
/// value that is no syntax reads as ZTKPathUnix.
struct ZTKPathSyntax {
  std::string_view separators;   ///< Between directories, the preferred one first.
  std::string_view terminators;  ///< Between the directories and the name.
  std::string_view volumeSeparator;

  static const ZTKPathSyntax& Of(ZTKPathFormat format) noexcept;
  // No syntax has more than two separators, or more terminators.
  bool IsSeparator(char ch) const noexcept {
    return ch == separators.front() || ch == separators.back();
  }
  bool IsTerminator(char ch) const noexcept {
    return ch == terminators.front() || ch == terminators.back();
  }
};

/// A full path cut into its parts; views into the text it was cut from.
struct ZTKPathParts {
  std::string_view volume;
  std::string_view path;
  std::string_view name;
  std::string_view ext;
  bool hasNoVolumeInPath = false;  // Whatever `path` begins with.

  /// Cuts the volume off `text`: fills `volume`, and `path` with all of the rest. `scratch` holds
  /// the text of a volume that has to be rewritten, and must live as long as the views.
  static ZTKPathParts CutVolume(std::string_view text, ZTKPathFormat format, ZTKString& scratch);
  /// All four parts.
  static ZTKPathParts Cut(std::string_view text, ZTKPathFormat format, ZTKString& scratch);
};

inline ZTKString ZTKSystemPath(const ZTKString& path) noexcept {
  return XPMacPathToCompName(path.c_str());
}

/// The absolute form of a native path, and of a relative one normalised by `nFlags`
/// (ZTKNormAbsolute and others). "" for a relative one without a working directory: it would become
/// a path below the root.
ZTKString ZTKAbsolutePath(const ZTKString& path, int nFlags);

/// Whether paths of the system are Dos paths: the native syntax alone says so, as paths that have
/// colons for the native syntax have slashes for the system.
inline bool ZTKIsDosSystem() noexcept {
  return ZTKFileName::XPGetFormat(ZTKPathNative) == ZTKPathDos;
}

/// The folder in a path of the system, with its separator; "" where there is none.
std::string_view ZTKFolderIn(const ZTKString& path) noexcept;

/// Whether a path of the system begins at a volume or at its root.
bool ZTKIsRooted(const ZTKString& path) noexcept;

/// A path of that folder that can be opened.
inline ZTKString ZTKFolderOf(const ZTKString& path) noexcept {
  const std::string_view folder = ZTKFolderIn(path);
  return ZTKString(folder.empty() ? std::string_view(".") : folder);
}

/// The path at the end of the links, which need not exist; of what is no link, the path itself.
/// False when the links form a loop, or one of them cannot be read. Where the layer knows no links,
/// nothing is one.
bool ZTKFindEndOfLinks(const ZTKString& path, ZTKString& end) noexcept;

/// The same; a path whose links lead nowhere, or cannot be read, stands for itself.
ZTKString ZTKEndOfLinksOrItself(const ZTKString& path) noexcept;

/// Replaces the content of `target` and keeps its block. `text` may not lie inside `target`.
void ZTKPutText(ZTKString& target, std::string_view text) noexcept;

/// The result of `makePath`, or "" when an allocation failed: a path with parts missing would name
/// another file.
template <class MakePath>
ZTKString ZTKWholePath(MakePath makePath) {
  const ZTKAllocationWatch memory;
  ZTKString path = makePath();
  if (memory.RanOut()) path.Clear();
  return path;
}

/// Whether a text has a '/' where that separates nothing in native paths, but is part of a name.
bool ZTKHasStraySlash(const ZTKString& text) noexcept;

/// Whether a target was written with slashes, and the steps that take it apart in the native syntax
/// would lead elsewhere: to a relative name with slashes in it, to another path than was given, or
/// to a temporary name in another folder. False wherever slashes are native.
bool ZTKSlashesMislead(const ZTKString& target);

/// A copy of a text that allocates nothing when it is short, so that an argument stays readable
/// while the object it may belong to is being changed. Empty when memory runs out.
class ZTKTextCopy {
 public:
  explicit ZTKTextCopy(const ZTKString& text) noexcept;
  ZTKTextCopy(const ZTKTextCopy&) = delete;
  ZTKTextCopy& operator=(const ZTKTextCopy&) = delete;

  std::string_view View() const noexcept { return m_view; }

 private:
  ZTKString m_long;
  std::string_view m_view;
  char m_short[256];
};

/// A text that grows at its end and becomes a string once, when it is complete.
class ZTKTextBuilder {
 public:
  ZTKTextBuilder() noexcept = default;
  ZTKTextBuilder(const ZTKTextBuilder&) = delete;
  ZTKTextBuilder& operator=(const ZTKTextBuilder&) = delete;

  void Add(std::string_view text) noexcept {
    if (text.size() > sizeof m_short - m_nShort) {
      AddToLong(text);
    } else if (!text.empty()) {
      std::memcpy(m_short + m_nShort, text.data(), text.size());
      m_nShort += text.size();
    }
  }
  void Add(char ch) noexcept {
    if (m_nShort == sizeof m_short) {
      AddToLong({&ch, 1});
    } else {
      m_short[m_nShort++] = ch;
    }
  }
  /// The text; the builder is of no use afterwards.
  ZTKString Finish() noexcept;

 private:
  void AddToLong(std::string_view text) noexcept;
  void AppendToLong(const char* pText, size_t nLength) noexcept;

  ZTKString m_long;  // Whatever no longer fitted, in front of what is in m_short.
  size_t m_nShort = 0;
  char m_short[512];
};
