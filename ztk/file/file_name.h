#pragma once

#include <string_view>

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"

class ZTKFile;
class ZTKTextBuilder;
struct ZTKPathParts;

/// A path syntax.
enum ZTKPathFormat : int {
  ZTKPathNative = 0,  ///< The platform's own.
  ZTKPathUnix = 1,    ///< /dir/name.ext
  ZTKPathMac = 2,     ///< Volume:dir:name.ext, :dir:name.ext
  ZTKPathDos = 3,     ///< `C:\dir\name.ext`
  ZTKPathVms = 4,     ///< DISK:[DIR.DIR]NAME.EXT
};

/// Flags of ZTKFileName::GetPath.
enum : int {
  ZTKGetPathVolume = 1,       ///< The volume in front.
  ZTKGetPathTrailingSep = 2,  ///< A separator at the end.
};

/// Flags of ZTKFileName::XPNormalize.
enum : int {
  ZTKNormEnvVars = 1,    ///< Replace environment variables.
  ZTKNormDots = 2,       ///< Drop "." and "..".
  ZTKNormTilde = 4,      ///< Replace a first directory "~" or "~user" (ZTKPathUnix only).
  ZTKNormCase = 8,       ///< Lower-case everything where case means nothing.
  ZTKNormAbsolute = 16,  ///< Put a working directory in front of a relative path.
  ZTKNormLongPath = 32,  ///< Replace by the long form (ZTKPathDos only).
  ZTKNormShortcut = 64,  ///< Replace by the target of a link.
};

/// A path taken apart: a volume, the directories from the outermost inwards, a base name and an
/// extension; and the way between that form and path text in five syntaxes.
///
/// Operations take the syntax of the text they read or write; an unknown one is ZTKPathUnix:
///
///     syntax   separators   volume              "relative"
///     Unix     /            none                does not begin with / or ~
///     Mac      :            none                begins with :
///     Dos      \ or /       C: or \\server      does not begin with \ or /
///     Vms      . (dirs)     DISK:               never
///
/// Where Dos is the native syntax, as on Windows, a Dos volume is also a share or one of the
/// system's own names, with `\` or `/` in it, and a drive is a letter and nothing longer:
///
///     path                        volume          path        absolute
///     \\server\share\dir\f       server\share    \dir\f      yes
///     \\?\C:\dir\f               ?\C:            \dir\f      yes
///     C:\dir\f, C:dir\f          C               \dir\f, dir\f  yes, no
///     f.txt:stream                none            none, the name is all of it
///
/// Arguments may be fields of the object itself. Nothing throws or logs; without memory parts are
/// missing. Only operations that say so touch the disk or working directory. One thread at a time.
///
/// Some steps ask the native syntax whatever was given: which characters a directory component may
/// not have, whether the dot of ".profile" behind a directory starts an extension (so with ':', not
/// with '/'), and how XPNormalize reads what it got from outside.
class ZTK_API ZTKFileName {
 public:
  ZTKFileName() noexcept = default;
  ZTKFileName(const ZTKString& fullPath, ZTKPathFormat format);

  /// No parts, and relative.
  void Clear();
  void Assign(const ZTKString& fullPath, ZTKPathFormat format);
  /// Reads `path` as XPSetPath does and stores the other three as they are.
  void Assign(const ZTKString& volume, const ZTKString& path, const ZTKString& name,
              const ZTKString& ext, ZTKPathFormat format);
  /// Reads a folder, and a name with its extension. `path` gets a separator unless it ends in '/',
  /// ':' or '\', in every syntax; so an empty path becomes the root.
  void Assign(const ZTKString& path, const ZTKString& name, ZTKPathFormat format);
  /// Reads a folder: every component becomes a directory, and there is no name.
  void AssignDir(const ZTKString& dir, ZTKPathFormat format);
  /// Becomes the current directory, see GetCwd.
  void AssignCwd(const ZTKString& volume);
  /// Replaces name and extension, read in the native syntax.
  void SetFullName(const ZTKString& fullName);

  /// "name.ext", or "name" without an extension.
  ZTKString GetFullName() const;
  ZTKString GetFullPath(ZTKPathFormat format) const;
  /// The directories as text. Vms has no separator at the end, whatever `nFlags` say.
  ZTKString GetPath(int nFlags, ZTKPathFormat format) const;
  /// Where the syntax has volumes, only a path with a volume is absolute.
  bool IsAbsolute(ZTKPathFormat format) const;
  bool IsCaseSensitive(ZTKPathFormat format) const;

  /// A volume as it stands in front of a path: "C" gives "C:", a server "\\server", "" gives "".
  static ZTKString ZTKGetVolumeString(const ZTKString& volume, ZTKPathFormat format);
  static ZTKString GetPathSeparators(ZTKPathFormat format);
  /// The characters that may stand between the directories and the name.
  static ZTKString GetPathTerminators(ZTKPathFormat format);
  static ZTKString GetVolumeSeparator(ZTKPathFormat format);
  static char GetPathSeparator(ZTKPathFormat format);
  static bool IsPathSeparator(char ch, ZTKPathFormat format);
  /// Not empty and without native separators. ".." is valid.
  static bool IsValidDirComponent(const ZTKString& dir);

  // These ignore an invalid component. A position past the end appends, or removes nothing.
  void AppendDir(const ZTKString& dir);
  void InsertDir(unsigned long nPos, const ZTKString& dir);
  void PrependDir(const ZTKString& dir);
  void RemoveDir(unsigned long nPos);

  /// The working directory; "" when it has no name or one of more than 1,023 characters.
  static ZTKString GetCwd();
  /// The current directory of a volume; "" stands for the current volume, any other changes the
  /// working directory of the process there and back, for all threads.
  static ZTKString GetCwd(const ZTKString& volume);
  static bool SetCwd(const ZTKString& dir);
  /// Makes this path, its name included, the working directory.
  bool SetCwd() const;

  // Splitting. An output that is not wanted may be null; an output may be the input.

  /// Cuts the volume off; Unix and Mac paths have none. A Dos server ends at "\/" and nothing else.
  static void SplitVolume(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                          ZTKPathFormat format);
  /// The path has no separator at its end, unless it is the root. ".profile" has no extension.
  static void SplitPath(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                        ZTKString* pName, ZTKString* pExt, ZTKPathFormat format);
  /// The same with the volume in front of the path.
  static void SplitPath(const ZTKString& fullPath, ZTKString* pPath, ZTKString* pName,
                        ZTKString* pExt, ZTKPathFormat format);

  /// Replaces environment variables:
  ///
  ///     $NAME ${NAME} $(NAME)    its value; when there is none, the text as it was written
  ///     \$ \%                    $ %
  ///     %NAME%                   unchanged
  ///
  /// A name is of letters, digits and '_'. A missing or wrong closing bracket is no error.
  static ZTKString ExpandEnvVars(const ZTKString& text);

  /// The platform's own syntax for ZTKPathNative, else `format`.
  static ZTKPathFormat XPGetFormat(ZTKPathFormat format);

  /// Reads a folder path with or without a volume: directories and the relative mark, and the
  /// volume when the path has one. Runs of separators count as one.
  void XPSetPath(const ZTKString& path, ZTKPathFormat format);

  /// Applies the ZTKNorm... steps of `nFlags`, in this order: environment variables, the working
  /// directory in front of a relative path (`cwd`, or GetCwd when it is empty), "~" and "~user",
  /// dots, link, case, long form. The name is not relative afterwards.
  ///
  /// "." and ".." are dropped, and ".." takes no other component with it ("a/../b" becomes "a/b").
  /// A ".." with nothing in front of it stops the operation: false, without directories and later
  /// steps.
  bool XPNormalize(int nFlags, const ZTKString& cwd, ZTKPathFormat format);

  /// The folder of the user's preferences, at most 1,023 characters, without a separator at its
  /// end; "" when there is none. It may be missing: a configuration makes it when it first writes,
  /// where the platform lets programs do that.
  static ZTKString XPGetUserHomeDir();

  /// Stores what the link at `path` finally leads to, or `path` itself. True; `pArgs` is ignored.
  bool XPGetShortcutTarget(const ZTKString& path, ZTKString& target, ZTKString* pArgs) const;

  /// The long form of the path; "" where paths have no other form. What there is no file for is as
  /// it is written.
  ZTKString XPGetLongPath() const;

  /// A free file name that begins with `prefix` (its extension dropped) and ends in a three-digit
  /// hexadecimal counter, opened for writing in `pFile` when that holds no file; "" when all 1000
  /// are taken or the file cannot be opened.
  static ZTKString XPCreateTempFileName(const ZTKString& prefix, ZTKFile* pFile);

  const ZTKString& GetVolume() const noexcept { return m_volume; }
  const ZTKString& GetName() const noexcept { return m_name; }
  const ZTKString& GetExt() const noexcept { return m_ext; }
  const ZTKStringArray& GetDirs() const noexcept { return m_dirs; }
  bool IsRelative() const noexcept { return m_bRelative; }

 private:
  friend struct ZTKFileNameLayout;

  // `format` is resolved in all of these, and views do not point into this object.
  void SetParts(const ZTKPathParts& parts, ZTKPathFormat format);
  void SetDirs(std::string_view path, ZTKPathFormat format);
  ZTK_LOCAL void SetDirs(const ZTKPathParts& parts, ZTKPathFormat format);
  bool PutDir(unsigned long& nUsed, std::string_view dir);
  void CutDirs(unsigned long nUsed);
  void AddFullName(ZTKTextBuilder& out) const;
  void AddPath(ZTKTextBuilder& out, int nFlags, ZTKPathFormat format) const;
  ZTKFileName FindBase(int nFlags, const ZTKString& cwd, ZTKPathFormat format,
                       ZTKStringArray& dirs);

  ZTKString m_volume;
  ZTKString m_name;
  ZTKString m_ext;
  ZTKStringArray m_dirs;
  bool m_bRelative = true;
};
