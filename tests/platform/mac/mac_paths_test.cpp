#include "ztk/platform/mac/mac_paths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/platform/mac/services_support.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/folders.h"

namespace {

namespace fs = std::filesystem;
using namespace ztk_mac_services;

constexpr long kSlashes = 0;
constexpr long kColons = 1;

// A volume "Disk" with the file "folder/a:b", in colon style "Disk:folder:a/b".
class MacPaths : public testing::Test {
 protected:
  MacPaths() {
    fs::create_directories(m_dir / "Disk/folder");
    WriteWholeFile(m_dir / "Disk/folder/a:b", "x");
    m_mounts.Set({m_dir / "Disk"});
  }
  ~MacPaths() override { EXPECT_EQ(CFCountObjects(), 0); }

  std::string Host(const std::string& name) const { return m_dir / name; }
  MountTable& Mounts() { return m_mounts; }

 private:
  TempDir m_dir;
  MountTable m_mounts;
};

std::string PathOf(const FSRef& ref, long nStyle) {
  ZTKString path;
  ZTKMacFSRefToPath(&ref, path, nStyle);
  return path.c_str();
}

bool IsEmpty(const FSRef& ref) { return ref.place.vRefNum == 0 && ref.place.name[0] == 0; }

TEST_F(MacPaths, ReferencesComeFromBothStylesAndGoToBoth) {
  const struct {
    std::string path;
    long style;
  } rows[] = {
      {Host("Disk/folder/a:b"), kSlashes},
      {Host("Disk/folder/../folder//./a:b"), kSlashes},
      {"Disk:folder:a/b", kColons},
      {"Disk:folder::folder:a/b", kColons},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    FSRef ref = {};
    ZTKMacPathToFSRef(ZTKString(row.path), &ref, row.style);
    EXPECT_EQ(PathOf(ref, kSlashes), Host("Disk/folder/a:b"));
    EXPECT_EQ(PathOf(ref, kColons), "Disk:folder:a/b");
  }
}

TEST_F(MacPaths, RelativePathsStartAtTheWorkingDirectory) {
  const ScopedWorkingDirectory inside(Host("Disk"));
  const struct {
    const char* path;
    long style;
  } rows[] = {{"folder/a:b", kSlashes}, {":folder:a/b", kColons}, {":folder::folder:a/b", kColons}};
  for (const auto& row : rows) {
    FSRef ref = {};
    ZTKMacPathToFSRef(row.path, &ref, row.style);
    EXPECT_EQ(PathOf(ref, kColons), "Disk:folder:a/b") << row.path;
  }
}

TEST_F(MacPaths, WhatIsNotThereLeavesTheReferenceAsItWas) {
  const struct {
    std::string path;
    long style;
  } rows[] = {
      {"", kColons},
      {"", kSlashes},
      {"Disk:missing", kColons},
      {"Disk:missing:a", kColons},
      {"Disk:folder:a:b", kColons},
      {"Disk::", kColons},
      {"Disk::Disk", kColons},
      {"Disk:..", kColons},
      {"Nowhere", kColons},
      {"Nowhere:a", kColons},
      {"folder:a/b", kColons},
      {"Disk:" + std::string(300, 'n'), kColons},
      {"Disk:" + std::string(5000, 'n'), kColons},
      {Host("missing"), kSlashes},
      {Host("Disk/folder/a/b"), kSlashes},
      {Host("Disk/") + std::string(300, 'n'), kSlashes},
      {std::string(5000, '/') + std::string(5000, 'n'), kSlashes},
      {"Disk:caf\xC3\xA9", kColons},
      {Host("Disk/caf\xC3\xA9"), kSlashes},
      {"Disk:folder", 2},
      {"Disk:folder", -1},
  };
  WriteWholeFile(Host("Disk/caf\xC3\xA9"), "x");  // There, but no ASCII.
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path.substr(0, 60));
    FSRef ref = {};
    ZTKMacPathToFSRef(ZTKString(row.path), &ref, row.style);
    EXPECT_TRUE(IsEmpty(ref));
  }
  ZTKMacPathToFSRef("Disk:folder", nullptr, kColons);
}

TEST_F(MacPaths, PathsAreAppendedWithAQuestionMarkForWhatIsNoAscii) {
  WriteWholeFile(Host("Disk/caf\xC3\xA9 \xF0\x9F\x98\x80 \xFF!"), "x");
  const ScopedWorkingDirectory inside(Host("Disk"));
  FSRef ref = {};
  ASSERT_EQ(
      FSPathMakeRef(reinterpret_cast<const unsigned char*>("caf\xC3\xA9 \xF0\x9F\x98\x80 \xFF!"),
                    &ref, nullptr),
      noErr);
  ZTKString out("kept ");
  ZTKMacFSRefToPath(&ref, out, kColons);
  EXPECT_STREQ(out.c_str(), "kept Disk:caf? ? ?!");
}

TEST_F(MacPaths, PathsOfEveryLengthAreWhole) {
  std::string folder = Host("Disk");
  std::string colons = "Disk";
  while (colons.size() < 2000) {
    folder += "/" + std::string(100, 'd');
    colons += ":" + std::string(100, 'd');
    fs::create_directory(folder);
    FSRef ref = {};
    ZTKMacPathToFSRef(ZTKString(folder), &ref, kSlashes);
    EXPECT_EQ(PathOf(ref, kSlashes), folder);
    EXPECT_EQ(PathOf(ref, kColons), colons);
  }
}

TEST_F(MacPaths, AReferenceThatRefersToNothingHasNoPath) {
  FSRef ref = {};
  ZTKString out("kept");
  ZTKMacFSRefToPath(&ref, out, kColons);
  ZTKMacFSRefToPath(nullptr, out, kColons);
  ZTKMacPathToFSRef("Disk:folder", &ref, kColons);
  ZTKMacFSRefToPath(&ref, out, 2);
  EXPECT_STREQ(out.c_str(), "kept");
}

TEST_F(MacPaths, AVolumeThatIsGoneHasNoPath) {
  FSRef ref = {};
  ZTKMacPathToFSRef("Disk:folder", &ref, kColons);
  Mounts().Set({});
  EXPECT_EQ(PathOf(ref, kColons), "");
  EXPECT_EQ(PathOf(ref, kSlashes), "");
  Mounts().Set({Host("Disk")});
  EXPECT_EQ(PathOf(ref, kColons), "Disk:folder");
}

TEST_F(MacPaths, FoldersAreAppendedInColonStyle) {
  const ScopedEnv temp("TMPDIR", Host("Disk/new").c_str());
  ZTKString out("kept ");
  ZTKMacFindFolder(kOnSystemDisk, kTemporaryFolderType, 0, out);
  EXPECT_STREQ(out.c_str(), "kept ");
  ZTKMacFindFolder(kOnSystemDisk, kTemporaryFolderType, 1, out);
  EXPECT_STREQ(out.c_str(), "kept Disk:new");
  ZTKMacFindFolder(kOnSystemDisk, FourChars("desk"), 1, out);
  ZTKMacFindFolder(77, kTemporaryFolderType, 1, out);
  EXPECT_STREQ(out.c_str(), "kept Disk:new");
}

TEST_F(MacPaths, SpecificationsGoToFilenames) {
  FSSpec spec = {};
  ZTKMacHFSFilename2FSSpec("Disk:folder:a/b", &spec);
  EXPECT_EQ(NameOf(spec), "a/b");
  FSSpec same = {};
  ZTKMacPOSIXFilename2FSSpec(Host("Disk/folder/a:b").c_str(), &same);
  EXPECT_EQ(same.vRefNum, spec.vRefNum);
  EXPECT_EQ(same.parID, spec.parID);
  EXPECT_EQ(NameOf(same), "a/b");

  const std::string slashes = Host("Disk/folder/a:b");
  const std::string colons = "Disk:folder:a/b";
  for (const size_t size : {1u, 2u, 5u, 15u, 16u, 17u, 1000u}) {
    SCOPED_TRACE(size);
    std::string buffer(size + 1, '#');
    ZTKMacFSSpec2POSIXFilename(&spec, buffer.data(), size);
    EXPECT_STREQ(buffer.c_str(), slashes.substr(0, size - 1).c_str());
    EXPECT_EQ(buffer[size], '#');
    buffer.assign(size + 1, '#');
    ZTKMacFSSpec2HFSFilename(&spec, buffer.data(), size);
    EXPECT_STREQ(buffer.c_str(), colons.substr(0, size - 1).c_str());
    EXPECT_EQ(buffer[size], '#');
  }
}

TEST_F(MacPaths, AVolumeHasASpecificationOfItsOwn) {
  for (const char* path : {"Disk", "Disk:"}) {
    FSSpec spec = {};
    ZTKMacHFSFilename2FSSpec(path, &spec);
    EXPECT_EQ(spec.parID, fsRtParID);
    EXPECT_EQ(NameOf(spec), "Disk");
  }
  FSSpec spec = {};
  ZTKMacPOSIXFilename2FSSpec("/", &spec);
  EXPECT_EQ(spec.parID, fsRtParID);
  EXPECT_EQ(NameOf(spec), "System");
  char path[16] = {};
  ZTKMacFSSpec2POSIXFilename(&spec, path, sizeof path);
  EXPECT_STREQ(path, "/");
  ZTKMacFSSpec2HFSFilename(&spec, path, sizeof path);
  EXPECT_STREQ(path, "System:");
}

TEST_F(MacPaths, FailuresWriteNothing) {
  char buffer[8] = "kept";
  FSSpec missing = {};
  FSMakeFSSpec(0, 0, PascalName("Disk:missing").bytes, &missing);
  FSSpec unknown = {};
  for (const FSSpec* spec :
       {static_cast<const FSSpec*>(&missing), static_cast<const FSSpec*>(&unknown),
        static_cast<const FSSpec*>(nullptr)}) {
    ZTKMacFSSpec2POSIXFilename(spec, buffer, sizeof buffer);
    ZTKMacFSSpec2HFSFilename(spec, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "kept");
  }
  FSSpec spec = {};
  ZTKMacHFSFilename2FSSpec("Disk:folder", &spec);
  ZTKMacFSSpec2POSIXFilename(&spec, nullptr, 10);
  ZTKMacFSSpec2HFSFilename(&spec, buffer, 0);
  EXPECT_STREQ(buffer, "kept");

  const FSSpec before = spec;
  for (const char* path : {"", "Nowhere:a", "Disk:missing", static_cast<const char*>(nullptr)}) {
    ZTKMacHFSFilename2FSSpec(path, &spec);
    ZTKMacPOSIXFilename2FSSpec(path, &spec);
    EXPECT_EQ(std::memcmp(&spec, &before, sizeof spec), 0);
  }
  ZTKMacHFSFilename2FSSpec("Disk:folder", nullptr);
  ZTKMacPOSIXFilename2FSSpec("/", nullptr);
}

// A service that fails ----------------------------------------------------------------------------

TEST_F(MacPaths, EveryFailedServiceLeavesTheOutputAlone) {
  FSRef ref = {};
  ZTKMacPathToFSRef("Disk:folder", &ref, kColons);
  FSSpec spec = {};
  ZTKMacHFSFilename2FSSpec("Disk:folder", &spec);
  const ScopedEnv temp("TMPDIR", Host("Disk").c_str());

  EXPECT_EQ(WithEachCallFailing([&](bool fails) {
              FSRef out = {};
              ZTKMacPathToFSRef("Disk:folder", &out, kColons);
              EXPECT_EQ(IsEmpty(out), fails);
            }),
            3u);
  EXPECT_EQ(WithEachCallFailing([&](bool fails) {
              ZTKString out;
              ZTKMacFSRefToPath(&ref, out, kColons);
              EXPECT_EQ(out.Len() == 0, fails);
            }),
            3u);
  EXPECT_EQ(WithEachCallFailing([&](bool fails) {
              ZTKString out;
              ZTKMacFindFolder(kOnSystemDisk, kTemporaryFolderType, 1, out);
              EXPECT_EQ(out.Len() == 0, fails);
            }),
            4u);
  for (const bool colons : {false, true}) {
    const auto toName = colons ? ZTKMacFSSpec2HFSFilename : ZTKMacFSSpec2POSIXFilename;
    EXPECT_EQ(WithEachCallFailing([&](bool fails) {
                char out[8] = "";
                toName(&spec, out, sizeof out);
                EXPECT_EQ(*out == '\0', fails);
              }),
              4u);
    const auto toSpec = colons ? ZTKMacHFSFilename2FSSpec : ZTKMacPOSIXFilename2FSSpec;
    const std::string path = colons ? "Disk:folder" : Host("Disk/folder");
    const unsigned long calls = colons ? 4 : 2;
    EXPECT_EQ(WithEachCallFailing([&](bool fails) {
                FSSpec out = {};
                toSpec(path.c_str(), &out);
                EXPECT_EQ(out.name[0] == 0, fails);
              }),
              calls);
  }
}

// Only some of a long path's characters can be had: none of them is given.
TEST_F(MacPaths, APathThatIsLostHalfWayIsNoPath) {
  const std::string folder = Host("Disk/") + std::string(250, 'd');
  fs::create_directories(folder + "/" + std::string(250, 'e'));
  FSRef ref = {};
  ZTKMacPathToFSRef(ZTKString(folder + "/" + std::string(250, 'e')), &ref, kSlashes);
  WithEachCallFailing([&](bool) {
    ZTKString out;
    ZTKMacFSRefToPath(&ref, out, kColons);
    EXPECT_TRUE(out.Len() == 0 || out.Len() == 506) << out.c_str();
  });
}

}  // namespace
