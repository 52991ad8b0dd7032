// A temporary file: a new version that replaces the old one when it is committed, and leaves no
// trace when it is not.

#include "examples/tour/tour.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

void WriteText(ZTKTempFile& temp, std::string_view text) {
  temp.GetFile().Write(text.data(), static_cast<unsigned long>(text.size()));
}

}  // namespace

bool TempFileTour() {
  Title("Temporary files: a new version beside the old one");

  const std::string target = TourFile("report.txt");
  PutFileBytes(target, "first version\n");
  bool ok = true;
  {
    ZTKTempFile temp(target.c_str());
    Say("writing to %s", temp.GetTempPath().c_str());
    WriteText(temp, "a version nobody wants\n");
    ok = Expect("discarded", temp.Discard()) && ok;
    ok = Expect("the old version stays", FileBytes(target), "first version\n") && ok;
  }
  {
    ZTKTempFile temp(target.c_str());
    const std::string tempPath = temp.GetTempPath().c_str();
    Say("writing to %s", tempPath.c_str());
    WriteText(temp, "second version\n");
    ok = Expect("until the commit the old version stays", FileBytes(target), "first version\n") &&
         ok;
    ok = Expect("committed", temp.Commit()) && ok;
    ok = Expect("now the new one is in place", FileBytes(target), "second version\n") && ok;
    ok = Expect("and the temporary file is gone", !ZTKFileExists(tempPath.c_str())) && ok;
  }
  return ok;
}
