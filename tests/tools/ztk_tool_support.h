#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "tests/tools/run_tool.h"

/// The tool over files of a folder of the test's own, which is its folder for temporary files, too,
/// and where there is such a variable, of preferences.
class ZtkTool : public testing::Test {
 protected:
  std::string Put(const std::string& name, const std::string& content) {
    WriteWholeFile(m_dir / name, content);
    return m_dir / name;
  }

  TempDir m_dir;
  ScopedEnv m_home{"XDG_CONFIG_HOME", m_dir.Path().string().c_str()};
  ScopedEnv m_temp{HasDosPaths() ? "TMP" : "TMPDIR", m_dir.Path().string().c_str()};
};

/// Lines that are UTF-8 and lines that are not, with three kinds of ends.
inline constexpr const char* kLegacy = "caf\xE9\r\nna\xC3\xAFve\nend";
