#include "ztk/file/temp_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "tests/support/scoped_process.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/text/text_file.h"

namespace {

namespace fs = std::filesystem;

// A volume "Disk" with the folder "docs".
class MacTempFile : public testing::Test {
 protected:
  MacTempFile() {
    fs::create_directories(m_dir / "Disk/docs");
    m_mounts.Set({m_dir / "Disk"});
  }

  std::string Host(const std::string& name) const { return m_dir / name; }
  MountTable& Mounts() { return m_mounts; }

 private:
  TempDir m_dir;
  MountTable m_mounts;
};

void Put(ZTKTempFile& temp, const std::string& text) {
  EXPECT_EQ(temp.GetFile().Write(text.data(), text.size()), text.size());
}

unsigned ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

TEST_F(MacTempFile, NamesAreInColonStyle) {
  ZTKTempFile temp("Disk:docs:report.txt");
  EXPECT_STREQ(temp.GetTargetPath().c_str(), "Disk:docs:report.txt");
  EXPECT_STREQ(temp.GetTempPath().c_str(), "Disk:docs:report000");
  Put(temp, "new");
  EXPECT_TRUE(fs::exists(Host("Disk/docs/report000")));
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/report.txt")), "new");
  EXPECT_FALSE(fs::exists(Host("Disk/docs/report000")));
}

TEST_F(MacTempFile, PermissionsAreWhatTheUmaskLeaves) {
  const ScopedUmask umask(027);
  WriteWholeFile(Host("Disk/docs/x"), "old");
  fs::permissions(Host("Disk/docs/x"), fs::perms::owner_read | fs::perms::owner_write);
  ZTKTempFile temp("Disk:docs:x");
  EXPECT_EQ(ModeOf(Host("Disk/docs/x000")), 0640u);
  EXPECT_TRUE(temp.XPChangePermissions());
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ModeOf(Host("Disk/docs/x")), 0640u);
  EXPECT_TRUE(temp.XPChangePermissions());  // There is nothing that it could not do.
}

// The working directory has slashes and the steps put a ':' behind it: so the path begins with a
// '/' and is taken as it is.
TEST_F(MacTempFile, ARelativeTargetLiesBesideTheWorkingDirectory) {
  const std::string work = Host("Disk/docs");
  const ScopedWorkingDirectory inside(work);
  const struct {
    const char* target;
    std::string path;
  } rows[] = {{":x.txt", work + ":x.txt"},
              {"x.txt", work + ":x.txt"},
              {":below:x.txt", work + ":below:x.txt"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.target);
    ZTKTempFile temp(row.target);
    EXPECT_EQ(temp.GetTargetPath().view(), row.path);
    Put(temp, "new");
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(row.path), "new");
    fs::remove(row.path);
  }
  EXPECT_TRUE(fs::is_empty(work));
}

TEST_F(MacTempFile, ARelativeTargetWithASlashHasNoPlaceToGo) {
  fs::create_directory(Host("Disk/docs/below"));
  const ScopedWorkingDirectory inside(Host("Disk/docs"));
  ZTKTempFile temp("below/x.txt");
  EXPECT_EQ(temp.GetTargetPath().view(), Host("Disk/docs:below/x.txt"));
  EXPECT_FALSE(temp.GetFile().IsOpen());
  EXPECT_FALSE(temp.Commit());
  EXPECT_TRUE(fs::is_empty(Host("Disk/docs/below")));
}

// A path with slashes is no path here but a name, and nothing that could come of that name is the
// file that was meant: neither the target nor the temporary file may be made anywhere.
TEST_F(MacTempFile, APathWithSlashesIsRefusedAndMakesNothing) {
  // Wherever the steps would end up there is a folder.
  const std::string work = Host("Disk/docs");
  const std::string d = Host("d");
  for (const std::string& folder :
       {d, d + "/a:", d + "/a", d + ":b", work + d, work + ":" + d, work + ":below",
        work + "/below", work + "/System" + d, Host("temp") + d, Host("temp/below")}) {
    fs::create_directories(folder);
  }
  const ScopedEnv temp("TMPDIR", Host("temp").c_str());
  const std::string targets[] = {d + "/x.txt",      d + "/x",         d + "/x.",
                                 "below/x.txt",     "./x.txt",        "../x.txt",
                                 ":below/x:y.txt",  d + "/a::x.txt",  d + "/a:.:x.txt",
                                 d + "/a:..:b.txt", d + "/a:/x.txt",  "System:" + d + "/x.txt",
                                 d + "/a:x.",       d + "/y:n/../x.", "/x"};
  const auto files = [&] {
    std::string found;
    for (const auto& entry : fs::recursive_directory_iterator(Host(""))) {
      if (entry.is_regular_file()) found += entry.path().string() + '\n';
    }
    return found;
  };
  const std::string before = files();
  for (const std::string& folder : {work, std::string("/")}) {
    const ScopedWorkingDirectory inside{fs::path(folder)};
    for (const std::string& target : targets) {
      SCOPED_TRACE(target + " in " + folder);
      ZTKTempFile file{ZTKString(target)};
      EXPECT_FALSE(file.GetFile().IsOpen());
      EXPECT_STREQ(file.GetTempPath().c_str(), "");
      EXPECT_FALSE(file.Open(ZTKString(target)));
      EXPECT_FALSE(file.Commit());
      EXPECT_FALSE(file.Discard());
      ZTKFile opened;
      EXPECT_STREQ(ZTKFileName::XPCreateTempFileName(ZTKString(target), &opened).c_str(), "");
      EXPECT_FALSE(opened.IsOpen());

      ZTKTextFile text{ZTKString(target)};
      text.AddLine("line", EOL_UNIX);
      EXPECT_FALSE(text.Write(EOL_UNIX));
      EXPECT_EQ(files(), before);
    }
  }
}

TEST_F(MacTempFile, SlashesThatAVariableBringsAlongAreRefused) {
  const std::string work = Host("Disk/docs");
  const ScopedWorkingDirectory inside(work);
  const ScopedEnv variable("ZTK_TEST_FOLDER", Host("d").c_str());
  fs::create_directories(work + Host("d"));
  fs::create_directories(work + ":" + Host("d"));
  ZTKTextFile text("$ZTK_TEST_FOLDER.txt");
  text.AddLine("line", EOL_UNIX);
  EXPECT_FALSE(text.Write(EOL_UNIX));
  EXPECT_TRUE(fs::is_empty(work + Host("d")));
  EXPECT_TRUE(fs::is_empty(work + ":" + Host("d")));
  EXPECT_FALSE(fs::exists(work + Host("") + "d000"));
}

TEST_F(MacTempFile, TheColonPathOfAPathWithSlashesIsSaved) {
  const ScopedWorkingDirectory inside(Host("Disk/docs"));
  for (const std::string& path : {Host("Disk/docs/a.txt"), Host("b.txt"), std::string("c.txt")}) {
    SCOPED_TRACE(path);
    ZTKTextFile text(XPCompNameToMacPath(path.c_str()));
    text.AddLine("line", EOL_UNIX);
    EXPECT_TRUE(text.Write(EOL_UNIX));
    EXPECT_EQ(ReadWholeFile(path), "\xEF\xBB\xBFline\n");
    EXPECT_FALSE(fs::exists(path.substr(0, path.size() - 4) + "000"));
  }
}

// These are full paths that only look odd; what they say is where they lead.
TEST_F(MacTempFile, SlashesThatLeadToTheFileItselfAreTaken) {
  fs::create_directories(Host("d:e/below"));
  for (const std::string& target : {Host("d:e/x.txt"), Host("d:e/below/x.txt"),
                                    Host("Disk/a:x.txt"), std::string("Disk:docs/x.txt")}) {
    SCOPED_TRACE(target);
    const std::string path = XPMacPathToCompName(target.c_str()).c_str();
    ZTKTempFile file{ZTKString(target)};
    Put(file, "new");
    EXPECT_TRUE(file.Commit());
    EXPECT_EQ(ReadWholeFile(path), "new");
  }
}

TEST_F(MacTempFile, AnUnknownVolumeIsARelativePath) {
  const ScopedWorkingDirectory inside(Host("Disk"));
  ZTKTempFile temp("Nowhere:docs:x.txt");
  EXPECT_STREQ(temp.GetTempPath().c_str(), "Nowhere:docs:x000");
  EXPECT_TRUE(temp.Commit());
  EXPECT_TRUE(fs::exists(Host("Disk/docs/x.txt")));
}

TEST_F(MacTempFile, AMountPointThatVanishesKeepsBothVersions) {
  WriteWholeFile(Host("Disk/docs/x"), "old");
  const ScopedWorkingDirectory elsewhere(fs::path(Host("")));
  ZTKTempFile temp("Disk:docs:x");
  Put(temp, "new");
  Mounts().Set({});
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x")), "old");
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x000")), "new");
  Mounts().Set({Host("Disk")});
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x")), "new");
}

TEST_F(MacTempFile, AnUnnamedFileIsNotCommittedElsewhereWhenItsVolumeHasGone) {
  const ScopedWorkingDirectory elsewhere(fs::path(Host("")));
  fs::create_directory(Host("docs"));  // The path that remains without the volume leads here.
  for (const bool isThere : {true, false}) {
    fs::remove(Host("Disk/docs/x"));
    if (isThere) WriteWholeFile(Host("Disk/docs/x"), "old");
    ZTKTempFile temp("Disk:docs:x", TEMP_UNNAMED);
    Put(temp, "new");
    Mounts().Set({});
    EXPECT_FALSE(temp.Commit());
    EXPECT_EQ(temp.GetOutcome(), COMMIT_FAILED);
    EXPECT_TRUE(fs::is_empty(Host("docs")));
    EXPECT_EQ(fs::exists(Host("Disk/docs/x")), isThere);
    Mounts().Set({Host("Disk")});
    EXPECT_TRUE(temp.Commit());
    EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x")), "new");
  }
}

TEST_F(MacTempFile, AnUnnamedFileIsNotNamedElsewhereWhenItsPathIsTakenAnotherWay) {
  const ScopedWorkingDirectory elsewhere(fs::path(Host("")));
  WriteWholeFile(Host("Disk/docs/x"), "old");
  ZTKTempFile temp(ZTKString(Host("Disk/docs/x").c_str()), TEMP_UNNAMED | TEMP_EXACT_PATH);
  ASSERT_TRUE(temp.GetFile().IsOpen());
  Put(temp, "new");
  temp.SetOptions(TEMP_UNNAMED);  // As a colon path it is a relative one.
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x")), "old");
  temp.SetOptions(TEMP_UNNAMED | TEMP_EXACT_PATH);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(Host("Disk/docs/x")), "new");
}

TEST_F(MacTempFile, NamesOfEveryLengthAreTakenOrRefused) {
  for (const size_t length : {31u, 32u, 200u, 252u, 253u, 300u, 1100u}) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    ZTKTempFile temp(ZTKString("Disk:docs:" + name));
    EXPECT_EQ(temp.GetFile().IsOpen(), length <= 252);
    EXPECT_EQ(temp.Commit(), length <= 252);
    EXPECT_EQ(fs::is_empty(Host("Disk/docs")), length > 252);
    fs::remove(Host("Disk/docs/" + name.substr(0, 255)));
  }
}

TEST_F(MacTempFile, ANameWithoutAFolderGoesToTheTemporaryFolder) {
  const ScopedEnv temp("TMPDIR", Host("Disk/made/here").c_str());
  ZTKFile file;
  EXPECT_STREQ(ZTKFileName::XPCreateTempFileName("name.ext", &file).c_str(),
               "Disk:made:here:name000");
  EXPECT_TRUE(file.IsOpen());
  EXPECT_TRUE(fs::exists(Host("Disk/made/here/name000")));
  EXPECT_STREQ(ZTKFileName::XPCreateTempFileName(":", nullptr).c_str(), "Disk:made:here:000");

  const ScopedEnv volume("TMPDIR", Host("Disk").c_str());
  EXPECT_STREQ(ZTKFileName::XPCreateTempFileName("name", nullptr).c_str(), "Disk:name000");
}

TEST_F(MacTempFile, EmptyFilePathsAreInColonStyle) {
  const ScopedEnv temp("TMPDIR", Host("Disk/docs").c_str());
  char* path = nullptr;
  ASSERT_TRUE(ZTKGetEmptyFilePath(&path, "tmp"));
  EXPECT_STREQ(path, "Disk:docs:ztk0.tmp");
  delete[] path;
  const ScopedEnv volume("TMPDIR", Host("Disk").c_str());
  ASSERT_TRUE(ZTKGetEmptyFilePath(&path, "tmp"));
  EXPECT_STREQ(path, "Disk:ztk0.tmp");
  delete[] path;
}

TEST_F(MacTempFile, AFailedServiceNeverCostsTheTargetItsContent) {
  const ScopedWorkingDirectory elsewhere(fs::path(Host("")));
  for (const unsigned int options : {0U, 0U + TEMP_UNNAMED}) {
    const unsigned long calls = WithEachCallFailing([&](bool fails) {
      WriteWholeFile(Host("Disk/docs/x"), "old");
      bool committed = false;
      {
        ZTKTempFile temp("Disk:docs:x", options);
        if (temp.GetFile().Write("new", 3) == 3) committed = temp.Commit();
      }
      EXPECT_TRUE(committed || fails);
      // Where the commit failed half way, the old version or the new one is still there.
      const bool target = fs::exists(Host("Disk/docs/x"));
      EXPECT_TRUE(target || options == 0);
      const std::string kept = target ? Host("Disk/docs/x") : Host("Disk/docs/x000");
      const std::string content = ReadWholeFile(kept);
      EXPECT_TRUE(content == "new" || (content == "old" && !committed)) << content;
      EXPECT_EQ(ztk_mac_services::CFCountObjects(), 0);
      fs::remove_all(Host("Disk/docs"));
      fs::create_directory(Host("Disk/docs"));
    });
    EXPECT_GE(calls, 6u * 3);  // Of every conversion of a path.
  }
}

TEST_F(MacTempFile, AFailedServiceLeavesNoNameOfAnEmptyFile) {
  const ScopedEnv temp("TMPDIR", Host("Disk/docs").c_str());
  const ScopedWorkingDirectory elsewhere(fs::path(Host("")));
  WithEachCallFailing([&](bool fails) {
    char* path = nullptr;
    EXPECT_TRUE(ZTKGetEmptyFilePath(&path, "tmp"));
    // Without a folder the name is one in the working directory.
    const std::string found = path;
    EXPECT_TRUE(found == "Disk:docs:ztk0.tmp" || (fails && found == ":ztk0.tmp")) << found;
    delete[] path;
  });
}

}  // namespace
