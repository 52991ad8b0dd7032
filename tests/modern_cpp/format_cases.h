#pragma once

#include <cstdlib>
#include <ctime>
#include <string>

#include "ztk/ztk.h"

// What both kinds of formatters are to make of a value. `format` takes a specification and a value.

inline ZTKFileName NativeFile() { return ZTKFileName("/home/ann/notes.txt", ZTKPathUnix); }

template <class Format>
void ExpectStringsAreFormattedAsText(Format format) {
  const ZTKString text("ztk");
  EXPECT_EQ(format("{}", text), "ztk");
  EXPECT_EQ(format("[{:>5}]", text), "[  ztk]");
  EXPECT_EQ(format("[{:-<5.2}]", text), "[zt---]");
  EXPECT_EQ(format("[{}]", ZTKString()), "[]");
  EXPECT_EQ(format("{}", ZTKString("a{}b")), "a{}b");
}

template <class Format>
void ExpectFileNamesAreFormattedAsNativePaths(Format format) {
  const std::string native(NativeFile().GetFullPath(ZTKPathNative).view());
  EXPECT_EQ(format("{}", NativeFile()), native);
  EXPECT_EQ(format("{:.5}", NativeFile()), native.substr(0, 5));
  EXPECT_EQ(format("{}", ZTKFileName()), ZTKFileName().GetFullPath(ZTKPathNative).view());
}

template <class Format>
void ExpectDatesAreFormattedInOrder(Format format) {
  ZTKDateTime point(31, ZTKDateTime::MONTH_MAY, 2024, 8, 5, 9, 0);
  EXPECT_EQ(format("{}", point), "2024-05-31 08:05:09");
  EXPECT_EQ(format("{:.10}", point), "2024-05-31");
  point.SetMillisecond(7);
  EXPECT_EQ(format("{:>25}", point), "  2024-05-31 08:05:09.007");
}
