// Text files with each call of the system interrupted.

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/text/text_file_fault_support.h"

namespace {

namespace fs = std::filesystem;
using ZTKTextFileFaults = ZTKTextFileTest;

TEST_F(ZTKTextFileFaults, NoInterruptionOfACallIsAFailure) {
  for (const unsigned int options : kOptions) {
    for (const bool hasOtherName : {false, true}) {
      fs::remove(Path("other"));
      fs::remove(Path());
      WriteWholeFile(Path(), kOld);
      if (hasOtherName) fs::create_hard_link(Path(), Path("other"));
      bool failed = true;
      for (long n = 0; failed; ++n) {
        ASSERT_LT(n, 1000);
        WriteWholeFile(Path(), kOld);
        ZTKTextFile file(Native().c_str(), options);
        bool isOpen = false;
        bool isWritten = false;
        std::string call;
        {
          faulty_calls::Scope scope;
          scope.FailAt(n, EINTR);
          isOpen = file.Open();
          file.AddLine("b", EOL_UNIX);
          isWritten = file.Write(EOL_NONE);
          call = scope.Failed();
          failed = n < scope.Count();
        }
        SCOPED_TRACE(testing::Message() << "options " << options << ": call " << n << " " << call);
        EXPECT_TRUE(isOpen);
        EXPECT_TRUE(isWritten);
        EXPECT_TRUE(ReadWholeFile(Path()) == New(options));
        EXPECT_FALSE(fs::exists(Path() + "000"));
      }
    }
  }
}

}  // namespace
