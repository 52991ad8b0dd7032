#pragma once

#include <string>

#include "ztk/file/file_name.h"

/// Directories as one text, "a|b|c", so that a failed comparison shows all of them.
inline std::string DirsOf(const ZTKFileName& name) {
  std::string text;
  for (unsigned long i = 0; i < name.GetDirs().GetCount(); ++i) {
    if (i != 0) text += '|';
    text += name.GetDirs().Item(i).c_str();
  }
  return text;
}

/// Every part as one text: volume, directories, name, extension, "rel" or "abs".
inline std::string PartsOf(const ZTKFileName& name) {
  std::string text = "<";
  text += name.GetVolume().c_str();
  text += "> <" + DirsOf(name) + "> <";
  text += name.GetName().c_str();
  text += "> <";
  text += name.GetExt().c_str();
  text += name.IsRelative() ? "> rel" : "> abs";
  return text;
}

/// Whether Dos paths are read as Windows takes them; dos_native_test.cpp has those.
inline bool IsDosNative() { return ZTKFileName::XPGetFormat(ZTKPathNative) == ZTKPathDos; }

inline std::string Text(const ZTKString& text) { return text.c_str(); }
