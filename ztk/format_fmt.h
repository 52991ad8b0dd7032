#pragma once

// The {fmt} library for strings, file names, and dates and times. Opt-in: no other header includes
// it, and nothing of it is compiled into the library.
//
//     fmt::print("{:>8}|{}\n", ZTKString("right"), ZTKDateTime::Now());
//
// What stands behind the colon is as for a string: fill, alignment, width, precision. Where {fmt}
// is not installed the header adds nothing.

#include "ztk/format_text.h"

#if __has_include(<fmt/format.h>)
#include <fmt/format.h>

template <>
struct fmt::formatter<ZTKString> : fmt::formatter<fmt::string_view> {
  template <class Context>
  auto format(const ZTKString& text, Context& context) const -> decltype(context.out()) {
    const std::string_view view = ZTKFormatText(text);
    return fmt::formatter<fmt::string_view>::format({view.data(), view.size()}, context);
  }
};

template <>
struct fmt::formatter<ZTKFileName> : fmt::formatter<ZTKString> {
  template <class Context>
  auto format(const ZTKFileName& name, Context& context) const -> decltype(context.out()) {
    return fmt::formatter<ZTKString>::format(ZTKFormatText(name), context);
  }
};

template <>
struct fmt::formatter<ZTKDateTime> : fmt::formatter<ZTKString> {
  template <class Context>
  auto format(const ZTKDateTime& point, Context& context) const -> decltype(context.out()) {
    return fmt::formatter<ZTKString>::format(ZTKFormatText(point), context);
  }
};
#endif
