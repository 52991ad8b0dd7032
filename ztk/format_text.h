#pragma once

#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/foundation/string.h"
#include "ztk/system/date_time.h"

// What the formatters of ztk/format.h and ztk/format_fmt.h write for a value; they take care of
// width, fill and precision.

inline std::string_view ZTKFormatText(const ZTKString& text) { return text.view(); }

/// The whole path in the platform's own syntax.
inline ZTKString ZTKFormatText(const ZTKFileName& name) { return name.GetFullPath(ZTKPathNative); }

/// "2024-05-31 08:15:00", in local time, and the milliseconds where there are any: ".250".
inline ZTKString ZTKFormatText(const ZTKDateTime& point) {
  const ZTKDateTime::Tm tm = point.XPGetTm(ZTKDateTime::TimeZone(ZTKDateTime::TZ_LOCAL));
  ZTKString text = ZTKString::Format("%04d-%02d-%02d %02u:%02u:%02u", static_cast<int>(tm.year),
                                     static_cast<int>(tm.month) + 1, static_cast<int>(tm.day),
                                     unsigned{tm.hour}, unsigned{tm.minute}, unsigned{tm.second});
  if (tm.millisecond != 0) text << ZTKString::Format(".%03u", unsigned{tm.millisecond});
  return text;
}
