// Makes Dos the native syntax of the library that a test is linked with.
#include "ztk/file/file_name.h"

ZTKPathFormat ZTKFileName::XPGetFormat(ZTKPathFormat format) {
  return format == ZTKPathNative ? ZTKPathDos : format;
}
