// Text files where the system refuses: a full disk, and no descriptor left.
#include <string>

#include "tests/support/scoped_process.h"
#include "tests/text/text_file_support.h"

namespace {

using ZTKTextFileRefusals = ZTKTextFileTest;

TEST_F(ZTKTextFileRefusals, WithoutDescriptorsTheFileStaysAsItWas) {
  for (const unsigned int options : {unsigned{TEXT_ONE_STEP}, unsigned{TEXT_KEEP_ENCODING}}) {
    WriteWholeFile(Path(), "a\n");
    ZTKTextFile file(Native().c_str(), options);
    ASSERT_TRUE(file.Open());
    file.AddLine("b", EOL_UNIX);
    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    const rlimit none{0, old.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool written = file.Write(EOL_NONE);
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadWholeFile(Path()), "a\n");
  }
}

TEST_F(ZTKTextFileRefusals, OneStepNoticesAFullDisk) {
  WriteWholeFile(Path(), "a\n");
  ZTKTextFile file(Native().c_str());
  ASSERT_TRUE(file.Open());
  file.AddLine(std::string(100000, 'x').c_str(), EOL_UNIX);
  file.SetOptions(TEXT_ONE_STEP);
  {
    const ScopedFileSizeLimit limit(70000);
    EXPECT_FALSE(file.Write(EOL_NONE));
    EXPECT_EQ(ReadWholeFile(Path()), "a\n");
  }
  EXPECT_TRUE(file.Write(EOL_NONE));
}

TEST_F(ZTKTextFileRefusals, WithoutOptionsAFullDiskGoesUnnoticed) {
  WriteWholeFile(Path(), "a\n");
  ZTKTextFile file(Native().c_str());
  ASSERT_TRUE(file.Open());
  file.AddLine(std::string(100000, 'x').c_str(), EOL_UNIX);
  const ScopedFileSizeLimit limit(70000);
  EXPECT_TRUE(file.Write(EOL_NONE));
  const std::string bytes = ReadWholeFile(Path());
  EXPECT_LT(bytes.size(), 100000u);
  EXPECT_EQ(bytes.substr(0, 5),
            "\xEF\xBB\xBF"
            "a\n");
}

}  // namespace
