// Text files with each call of the system failing.

#include <filesystem>
#include <string>

#include "tests/text/text_file_fault_support.h"

namespace {

namespace fs = std::filesystem;
using ZTKTextFileFaults = ZTKTextFileTest;

TEST_F(ZTKTextFileFaults, AFailedCallWithOptionsLeavesTheOldTextOrTheNewOne) {
  for (const unsigned int options : kOptions) {
    // In the steps of the others there is a moment without a target.
    if ((options & TEXT_ONE_STEP) == 0) continue;
    for (const int error : faulty_calls::kErrors) {
      bool failed = true;
      for (long n = 0; failed; ++n) {
        ASSERT_LT(n, 1000);
        WriteWholeFile(Path(), kOld);
        ZTKTextFile file(Native().c_str(), options);
        ASSERT_TRUE(file.Open());
        file.AddLine("b", EOL_UNIX);
        bool isWritten = false;
        std::string call;
        {
          faulty_calls::Scope scope;
          scope.FailAt(n, error);
          isWritten = file.Write(EOL_NONE);
          call = scope.Failed();
          failed = n < scope.Count();
        }
        SCOPED_TRACE(testing::Message() << "options " << options << ", error " << error << ": call "
                                        << n << " " << call);
        const std::string text = ReadWholeFile(Path());
        EXPECT_TRUE(text == New(options) || (!isWritten && text == kOld));
        EXPECT_TRUE(isWritten || !call.empty());
        EXPECT_FALSE(fs::exists(Path() + "000"));
      }
    }
  }
}

}  // namespace
