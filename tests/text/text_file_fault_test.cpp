// Text files with each call of the system interrupted or failing.

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/support/faulty_calls.h"
#include "tests/text/text_file_support.h"

namespace {

namespace fs = std::filesystem;
using ZTKTextFileFaults = ZTKTextFileTest;

constexpr unsigned int kOptions[] = {
    0,
    TEXT_ONE_STEP,
    TEXT_FOLLOW_LINKS,
    TEXT_KEEP_IDENTITY,
    TEXT_KEEP_ENCODING,
    TEXT_ONE_STEP | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY | TEXT_KEEP_ENCODING,
};

// More than one block, and more than a stream buffers.
const std::string kOld = std::string(200000, 'a') + "\n";

std::string New(unsigned int options) {
  return ((options & TEXT_KEEP_ENCODING) != 0 ? "" : "\xEF\xBB\xBF") + kOld + "b\n";
}

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

TEST_F(ZTKTextFileFaults, AFailedCallWithOptionsLeavesTheOldTextOrTheNewOne) {
  for (const unsigned int options : kOptions) {
    // In the steps of the others there is a moment without a target.
    if ((options & TEXT_ONE_STEP) == 0) continue;
    for (const int error : {EIO, ENOSPC, EMFILE, EACCES}) {
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
