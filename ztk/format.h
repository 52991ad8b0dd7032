#pragma once

// std::format for strings, file names, and dates and times. Opt-in: no other header includes it.
//
//     std::format("{:>8}|{}", ZTKString("right"), ZTKDateTime::Now())
//
// What stands behind the colon is as for a string: fill, alignment, width, precision. Where the
// standard library has no std::format the header adds nothing; see ztk/format_fmt.h.

#include <version>

#include "ztk/format_text.h"

#ifdef __cpp_lib_format
#include <format>

template <>
struct std::formatter<ZTKString> : std::formatter<std::string_view> {
  template <class Context>
  auto format(const ZTKString& text, Context& context) const {
    return std::formatter<std::string_view>::format(ZTKFormatText(text), context);
  }
};

template <>
struct std::formatter<ZTKFileName> : std::formatter<ZTKString> {
  template <class Context>
  auto format(const ZTKFileName& name, Context& context) const {
    return std::formatter<ZTKString>::format(ZTKFormatText(name), context);
  }
};

template <>
struct std::formatter<ZTKDateTime> : std::formatter<ZTKString> {
  template <class Context>
  auto format(const ZTKDateTime& point, Context& context) const {
    return std::formatter<ZTKString>::format(ZTKFormatText(point), context);
  }
};
#endif
