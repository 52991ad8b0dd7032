#pragma once

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"

class ZTKFile;

/// A path syntax.
enum ZTKPathFormat : int {
  ZTKPathNative = 0,  ///< The platform's own.
  ZTKPathUnix = 1,    ///< /dir/name.ext
  ZTKPathMac = 2,     ///< Volume:dir:name.ext, :dir:name.ext
  ZTKPathDos = 3,     ///< C:\dir\name.ext
  ZTKPathVms = 4,     ///< DISK:[DIR.DIR]NAME.EXT
};

/// Flags of ZTKFileName::GetPath.
enum : int {
  ZTKGetPathVolume = 1,
  ZTKGetPathTrailingSep = 2,
};

/// Flags of ZTKFileName::XPNormalize.
enum : int {
  ZTKNormEnvVars = 1,
  ZTKNormDots = 2,
  ZTKNormTilde = 4,
  ZTKNormCase = 8,
  ZTKNormAbsolute = 16,
  ZTKNormLongPath = 32,
  ZTKNormShortcut = 64,
};

class ZTK_API ZTKFileName {
 public:
  ZTKFileName() noexcept = default;
  ZTKFileName(const ZTKString& fullPath, ZTKPathFormat format);

  void Clear();
  void Assign(const ZTKString& fullPath, ZTKPathFormat format);
  void Assign(const ZTKString& volume, const ZTKString& path, const ZTKString& name,
              const ZTKString& ext, ZTKPathFormat format);
  void Assign(const ZTKString& path, const ZTKString& name, ZTKPathFormat format);
  void AssignDir(const ZTKString& dir, ZTKPathFormat format);
  void AssignCwd(const ZTKString& volume);
  void SetFullName(const ZTKString& fullName);

  ZTKString GetFullName() const;
  ZTKString GetFullPath(ZTKPathFormat format) const;
  ZTKString GetPath(int nFlags, ZTKPathFormat format) const;
  bool IsAbsolute(ZTKPathFormat format) const;
  bool IsCaseSensitive(ZTKPathFormat format) const;

  static ZTKString ZTKGetVolumeString(const ZTKString& volume, ZTKPathFormat format);
  static ZTKString GetPathSeparators(ZTKPathFormat format);
  static ZTKString GetPathTerminators(ZTKPathFormat format);
  static ZTKString GetVolumeSeparator(ZTKPathFormat format);
  static char GetPathSeparator(ZTKPathFormat format);
  static bool IsPathSeparator(char ch, ZTKPathFormat format);
  static bool IsValidDirComponent(const ZTKString& dir);

  void AppendDir(const ZTKString& dir);
  void InsertDir(unsigned long nPos, const ZTKString& dir);
  void PrependDir(const ZTKString& dir);
  void RemoveDir(unsigned long nPos);

  static ZTKString GetCwd();
  static ZTKString GetCwd(const ZTKString& volume);
  static bool SetCwd(const ZTKString& dir);
  bool SetCwd() const;

  static void SplitVolume(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                          ZTKPathFormat format);
  static void SplitPath(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                        ZTKString* pName, ZTKString* pExt, ZTKPathFormat format);
  static void SplitPath(const ZTKString& fullPath, ZTKString* pPath, ZTKString* pName,
                        ZTKString* pExt, ZTKPathFormat format);
  static ZTKString ExpandEnvVars(const ZTKString& text);

  static ZTKPathFormat XPGetFormat(ZTKPathFormat format);
  void XPSetPath(const ZTKString& path, ZTKPathFormat format);
  bool XPNormalize(int nFlags, const ZTKString& cwd, ZTKPathFormat format);
  static ZTKString XPGetUserHomeDir();
  bool XPGetShortcutTarget(const ZTKString& path, ZTKString& target, ZTKString* pArgs) const;
  ZTKString XPGetLongPath() const;
  static ZTKString XPCreateTempFileName(const ZTKString& prefix, ZTKFile* pFile);

  const ZTKString& GetVolume() const noexcept { return m_volume; }
  const ZTKString& GetName() const noexcept { return m_name; }
  const ZTKString& GetExt() const noexcept { return m_ext; }
  const ZTKStringArray& GetDirs() const noexcept { return m_dirs; }
  bool IsRelative() const noexcept { return m_bRelative; }

 private:
  ZTKString m_volume;
  ZTKString m_name;
  ZTKString m_ext;
  ZTKStringArray m_dirs;
  bool m_bRelative = true;
};
