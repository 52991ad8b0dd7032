// The hosted services for files: specifications, references, URLs and strings.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "tests/platform/mac/services_support.h"
#include "tests/support/failing_allocator.h"
#include "ztk/platform/mac/services/files.h"
#include "ztk/platform/mac/services/folders.h"
#include "ztk/platform/mac/services/strings.h"
#include "ztk/platform/mac/services/urls.h"

namespace {

namespace fs = std::filesystem;
using namespace ztk_mac_services;

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.c_str());
}

class MacFiles : public testing::Test {
 protected:
  MacFiles() {
    fs::create_directories(m_dir / "Disk/folder/inner");
    WriteWholeFile(m_dir / "Disk/folder/file", "x");
    m_mounts.Set({m_dir / "Disk"});
  }
  ~MacFiles() override { EXPECT_EQ(CFCountObjects(), 0); }

  std::string Host(const std::string& name) const { return m_dir / name; }
  MountTable& Mounts() { return m_mounts; }

  static FSSpec SpecOf(const std::string& colonPath) {
    FSSpec spec = {};
    EXPECT_EQ(FSMakeFSSpec(0, 0, PascalName(colonPath).bytes, &spec), noErr) << colonPath;
    return spec;
  }
  static OSErr Make(short nVolume, long nDirectory, const std::string& name) {
    FSSpec spec;
    return FSMakeFSSpec(nVolume, nDirectory, PascalName(name).bytes, &spec);
  }

 private:
  TempDir m_dir;
  MountTable m_mounts;
};

TEST_F(MacFiles, SpecificationsSayWhatIsMissing) {
  const ScopedWorkingDirectory inside(Host("Disk/folder"));
  const FSSpec file = SpecOf("Disk:folder:file");
  const short disk = file.vRefNum;
  const long folder = file.parID;
  const struct {
    short volume;
    long directory;
    std::string name;
    OSErr result;
  } rows[] = {
      {disk, folder, "file", noErr},
      {0, folder, "file", noErr},
      {disk, folder, ":inner", noErr},
      {disk, fsRtDirID, "folder", noErr},
      {disk, 0, "folder", noErr},
      {disk, fsRtParID, "Disk", noErr},
      {kOnSystemDisk, fsRtParID, "System", noErr},
      {kOnSystemDisk, fsRtDirID, "", noErr},
      {7, 7, "Disk:folder", noErr},  // A full path stands for itself.
      {disk, folder, "missing", fnfErr},
      {disk, folder, ":missing:", fnfErr},
      {disk, fsRtParID, "Other", fnfErr},
      {0, 0, "Disk:missing", fnfErr},
      {0, 0, "Disk:missing:file", dirNFErr},
      {0, 0, "Disk:folder:file:below", dirNFErr},
      {0, 0, "Disk::", dirNFErr},
      {disk, fsRtParID, "", dirNFErr},
      {disk, 1000000, "file", dirNFErr},
      {disk, -5, "file", dirNFErr},
      {kOnSystemDisk, folder, "file", dirNFErr},  // The folder is on another volume.
      {0, 1000000, "file", dirNFErr},
      {0, 0, "Nowhere:file", nsvErr},
      {77, fsRtDirID, "file", nsvErr},
      {-30000, fsRtDirID, "file", nsvErr},
      {77, fsRtParID, "Disk", nsvErr},
      {disk, folder, ".", bdNamErr},
      {disk, folder, "..", bdNamErr},
      {disk, folder, std::string("fi\0le", 5), bdNamErr},
      {disk, fsRtParID, ":Disk", bdNamErr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.volume << ", " << row.directory << ", " << row.name);
    EXPECT_EQ(Make(row.volume, row.directory, row.name), row.result);
  }
  FSSpec spec;
  EXPECT_EQ(FSMakeFSSpec(disk, folder, nullptr, &spec), noErr);
  EXPECT_EQ(NameOf(spec), "folder");
  EXPECT_EQ(FSMakeFSSpec(disk, folder, nullptr, nullptr), paramErr);
}

TEST_F(MacFiles, ASpecificationOfAMissingFileIsWritten) {
  FSSpec spec = {};
  EXPECT_EQ(FSMakeFSSpec(0, 0, PascalName("Disk:folder:new").bytes, &spec), fnfErr);
  EXPECT_EQ(NameOf(spec), "new");
  FSRef ref = {};
  EXPECT_EQ(FSpMakeFSRef(&spec, &ref), fnfErr);
  WriteWholeFile(Host("Disk/folder/new"), "x");
  EXPECT_EQ(FSpMakeFSRef(&spec, &ref), noErr);
}

TEST_F(MacFiles, AnEmptyNameLeadsOneFolderUpAtATime) {
  FSSpec spec = SpecOf("Disk:folder:inner");
  for (const char* name : {"folder", "Disk"}) {
    ASSERT_EQ(FSMakeFSSpec(spec.vRefNum, spec.parID, PascalName("").bytes, &spec), noErr);
    EXPECT_EQ(NameOf(spec), name);
  }
  EXPECT_EQ(spec.parID, fsRtParID);
  EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, spec.parID, PascalName("").bytes, &spec), dirNFErr);
}

TEST_F(MacFiles, IdsOfFoldersStay) {
  const FSSpec before = SpecOf("Disk:folder:file");
  fs::remove_all(Host("Disk/folder"));
  EXPECT_EQ(Make(before.vRefNum, before.parID, "file"), dirNFErr);
  EXPECT_EQ(Make(before.vRefNum, before.parID, ""), fnfErr);
  fs::create_directory(Host("Disk/folder"));
  WriteWholeFile(Host("Disk/folder/file"), "y");
  EXPECT_EQ(Make(before.vRefNum, before.parID, "file"), noErr);
  EXPECT_EQ(SpecOf("Disk:folder:file").parID, before.parID);
}

TEST_F(MacFiles, NamesOfTheHostThatAreTooLongDoNotOverrunAnything) {
  const FSSpec file = SpecOf("Disk:folder:file");
  FSRef ref = {};
  for (const size_t length : {255u, 256u, 5000u}) {
    const std::string path = Host("Disk/folder/") + std::string(length, 'n');
    EXPECT_NE(FSPathMakeRef(Bytes(path), &ref, nullptr), noErr) << length;
  }
  const std::string longest(255, 'n');
  WriteWholeFile(Host("Disk/folder/" + longest), "x");
  EXPECT_EQ(Make(file.vRefNum, file.parID, longest), noErr);
}

TEST_F(MacFiles, AFolderThatMayNotBeEnteredIsAnError) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may enter every folder";
  fs::permissions(Host("Disk/folder"), fs::perms::none);
  EXPECT_EQ(Make(0, 0, "Disk:folder:file"), ioErr);
  EXPECT_EQ(Make(0, 0, "Disk:folder:inner:x"), ioErr);
}

TEST_F(MacFiles, PathsOfTheHostMakeReferences) {
  FSRef ref = {};
  EXPECT_EQ(FSPathMakeRef(Bytes(Host("Disk/folder")), &ref, nullptr), noErr);
  EXPECT_EQ(FSPathMakeRef(Bytes(Host("Disk/folder/file")), &ref, nullptr), noErr);
  EXPECT_EQ(NameOf(ref.place), "file");
  EXPECT_EQ(FSPathMakeRef(Bytes(Host("Disk/missing")), &ref, nullptr), fnfErr);
  EXPECT_EQ(FSPathMakeRef(Bytes(Host("missing/file")), &ref, nullptr), dirNFErr);
  EXPECT_EQ(FSPathMakeRef(Bytes(""), &ref, nullptr), bdNamErr);
  EXPECT_EQ(NameOf(ref.place), "file");
  EXPECT_EQ(FSPathMakeRef(nullptr, &ref, nullptr), paramErr);
  EXPECT_EQ(FSPathMakeRef(Bytes("/"), nullptr, nullptr), paramErr);
  Boolean isFolder = 7;
  EXPECT_EQ(FSPathMakeRef(Bytes("/"), &ref, &isFolder), paramErr);
  EXPECT_EQ(isFolder, 7);
}

TEST_F(MacFiles, TheCatalogueGivesTheFileAlone) {
  const FSSpec file = SpecOf("Disk:folder:file");
  FSRef ref = {};
  ASSERT_EQ(FSpMakeFSRef(&file, &ref), noErr);
  FSSpec spec = {};
  EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
  EXPECT_EQ(NameOf(spec), "file");

  FSRef parent = {};
  EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, &parent), paramErr);
  EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr), paramErr);
  EXPECT_EQ(FSGetCatalogInfo(&ref, 1, nullptr, nullptr, &spec, nullptr), paramErr);
  EXPECT_EQ(FSGetCatalogInfo(nullptr, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), paramErr);
  fs::remove(Host("Disk/folder/file"));
  EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), fnfErr);
  const FSRef none = {};
  EXPECT_EQ(FSGetCatalogInfo(&none, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), nsvErr);

  FSRef root = {};
  ASSERT_EQ(FSPathMakeRef(Bytes("/"), &root, nullptr), noErr);
  EXPECT_EQ(FSGetCatalogInfo(&root, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
  EXPECT_EQ(spec.parID, fsRtParID);
  EXPECT_EQ(FSpMakeFSRef(nullptr, &ref), paramErr);
  EXPECT_EQ(FSpMakeFSRef(&file, nullptr), paramErr);
}

TEST_F(MacFiles, FoldersBelongToTheStartUpVolume) {
  FSRef ref = {};
  const short disk = SpecOf("Disk:folder").vRefNum;
  const short system = SpecOf("System:").vRefNum;
  const ScopedEnv temp("TMPDIR", Host("Disk").c_str());
  EXPECT_EQ(FSFindFolder(kOnSystemDisk, kTemporaryFolderType, 0, &ref), noErr);
  EXPECT_EQ(FSFindFolder(system, kTemporaryFolderType, 0, &ref), noErr);
  EXPECT_EQ(FSFindFolder(disk, kTemporaryFolderType, 0, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(0, kTemporaryFolderType, 0, &ref), nsvErr);
  EXPECT_EQ(FSFindFolder(kOnSystemDisk, FourChars("desk"), 1, &ref), fnfErr);
  EXPECT_EQ(FSFindFolder(kOnSystemDisk, kTemporaryFolderType, 0, nullptr), paramErr);
}

// URLs --------------------------------------------------------------------------------------------

TEST_F(MacFiles, UrlsTakeNothing) {
  FSRef ref = {};
  EXPECT_EQ(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, nullptr, kCFURLHFSPathStyle, 0),
            nullptr);
  EXPECT_EQ(CFURLGetFSRef(nullptr, &ref), 0);
  EXPECT_EQ(CFURLCreateFromFSRef(kCFAllocatorDefault, nullptr), nullptr);
  EXPECT_EQ(CFURLCopyFileSystemPath(nullptr, kCFURLHFSPathStyle), nullptr);
}

TEST_F(MacFiles, AUrlNeedNotExistForItsSlashPath) {
  const CFOwned<const CFURL> url(new CFURL(Host("missing/file")));
  const CFOwned<const CFString> path(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle));
  ASSERT_NE(path, nullptr);
  EXPECT_EQ(ToUtf8(path.get()), Host("missing/file"));
  EXPECT_EQ(CFURLCopyFileSystemPath(url.get(), kCFURLHFSPathStyle), nullptr);
}

TEST_F(MacFiles, AColonPathNeedsAWorkingDirectoryToBeRelativeTo) {
  const ScopedWorkingDirectory inside(Host("Disk"));
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(Host("Disk/gone"));
  const CFOwned<const CFString> path(CreateString(":file"));
  EXPECT_EQ(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.get(), kCFURLHFSPathStyle, 0),
            nullptr);
}

// Strings -----------------------------------------------------------------------------------------

TEST_F(MacFiles, StringsAreAsciiFromTheOutside) {
  const auto make = [](const char* psz, CFStringEncoding encoding) {
    const CFOwned<const CFString> string(
        CFStringCreateWithCString(kCFAllocatorDefault, psz, encoding));
    return string != nullptr ? ToUtf8(string.get()) : "(null)";
  };
  EXPECT_EQ(make("", kCFStringEncodingASCII), "");
  EXPECT_EQ(make("abc\x7F", kCFStringEncodingASCII), "abc\x7F");
  EXPECT_EQ(make("abc\x80", kCFStringEncodingASCII), "(null)");
  EXPECT_EQ(make(nullptr, kCFStringEncodingASCII), "(null)");
  EXPECT_EQ(make("abc", 0), "(null)");
  EXPECT_EQ(CFStringGetLength(nullptr), 0);
  EXPECT_EQ(ToUtf8(nullptr), "");
}

TEST_F(MacFiles, BytesOfAStringAreAsManyAsThereIsRoomFor) {
  const CFOwned<const CFString> string(
      CreateString("a\xC3\xA9"
                   "b\xF0\x9F\x98\x80"
                   "c"));
  ASSERT_EQ(CFStringGetLength(string.get()), 5);
  const struct {
    CFRange range;
    unsigned char loss;
    CFIndex room;
    CFIndex count;
    const char* bytes;
  } rows[] = {
      {{0, 5}, '?', 10, 5, "a?b?c"}, {{0, 5}, '?', 3, 3, "a?b"}, {{2, 2}, '_', 10, 2, "b_"},
      {{4, 99}, '?', 10, 1, "c"},    {{0, 5}, 0, 10, 1, "a"},    {{2, 3}, 0, 10, 1, "b"},
      {{5, 1}, '?', 10, 0, ""},      {{6, 1}, '?', 10, 0, ""},   {{-1, 1}, '?', 10, 0, ""},
      {{0, -1}, '?', 10, 0, ""},     {{0, 5}, '?', 0, 0, ""},    {{0, 5}, '?', -1, 0, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.range.location << ", " << row.range.length);
    unsigned char buffer[16] = {};
    CFIndex used = 99;
    EXPECT_EQ(CFStringGetBytes(string.get(), row.range, kCFStringEncodingASCII, row.loss, 0, buffer,
                               row.room, &used),
              row.count);
    EXPECT_EQ(used, row.count);
    EXPECT_STREQ(reinterpret_cast<const char*>(buffer), row.bytes);
  }
  CFIndex used = 0;
  EXPECT_EQ(
      CFStringGetBytes(string.get(), {0, 5}, kCFStringEncodingASCII, '?', 0, nullptr, 0, &used), 5);
  EXPECT_EQ(used, 5);
  EXPECT_EQ(CFStringGetBytes(string.get(), {0, 5}, 0, '?', 0, nullptr, 0, nullptr), 0);
  EXPECT_EQ(CFStringGetBytes(nullptr, {0, 5}, kCFStringEncodingASCII, '?', 0, nullptr, 0, &used),
            0);
  EXPECT_EQ(used, 0);
}

TEST_F(MacFiles, NamesWithALengthKeep255Characters) {
  Str255 name;
  for (const size_t length : {0u, 1u, 31u, 254u, 255u, 256u, 1024u, 100000u}) {
    const std::string text(length, 'n');
    c2pstrcpy(name, text.c_str());
    EXPECT_EQ(name[0], std::min<size_t>(length, 255)) << length;
  }
  // A buffer may be its own source.
  char text[256] = "in place";
  c2pstrcpy(reinterpret_cast<unsigned char*>(text), text);
  EXPECT_EQ(std::string(text, 9), "\x08in place");
}

// Handles and memory ------------------------------------------------------------------------------

TEST_F(MacFiles, HandlesAreCounted) {
  const CFStringRef string = CreateString("x");
  EXPECT_EQ(CFCountObjects(), 1);
  EXPECT_EQ(CFRetain(string), string);
  CFRelease(string);
  EXPECT_EQ(CFCountObjects(), 1);
  CFRelease(string);
  EXPECT_EQ(CFCountObjects(), 0);
  CFRelease(nullptr);
  EXPECT_EQ(CFRetain(nullptr), nullptr);
}

TEST_F(MacFiles, EveryServiceFailsWithoutMemory) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const std::string path = Host("Disk/folder/file");
  const PascalName name("Disk:folder:file");
  const FSSpec spec = SpecOf("Disk:folder:file");
  FSRef ref = {};
  ASSERT_EQ(FSpMakeFSRef(&spec, &ref), noErr);
  const CFOwned<const CFString> text(CreateString("Disk:folder:file"));
  const CFOwned<const CFURL> url(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
  const ScopedEnv temp("TMPDIR", Host("Disk").c_str());

  FSSpec specOut;
  FSRef refOut;
  const std::pair<const char*, std::function<bool()>> services[] = {
      {"FSMakeFSSpec", [&] { return FSMakeFSSpec(0, 0, name.bytes, &specOut) != memFullErr; }},
      {"FSpMakeFSRef", [&] { return FSpMakeFSRef(&spec, &refOut) != memFullErr; }},
      {"FSPathMakeRef", [&] { return FSPathMakeRef(Bytes(path), &refOut, nullptr) != memFullErr; }},
      {"FSGetCatalogInfo",
       [&] {
         return FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &specOut, nullptr) !=
                memFullErr;
       }},
      {"FSFindFolder",
       [&] { return FSFindFolder(kOnSystemDisk, kTemporaryFolderType, 0, &refOut) != memFullErr; }},
      {"CFStringCreateWithCString",
       [&] {
         return CFOwned<const CFString>(CFStringCreateWithCString(
                    kCFAllocatorDefault, "a text", kCFStringEncodingASCII)) != nullptr;
       }},
      {"CFURLCreateWithFileSystemPath",
       [&] {
         return CFOwned<const CFURL>(CFURLCreateWithFileSystemPath(
                    kCFAllocatorDefault, text.get(), kCFURLHFSPathStyle, 0)) != nullptr;
       }},
      {"CFURLGetFSRef", [&] { return CFURLGetFSRef(url.get(), &refOut) != 0; }},
      {"CFURLCreateFromFSRef",
       [&] {
         return CFOwned<const CFURL>(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref)) != nullptr;
       }},
      {"CFURLCopyFileSystemPath",
       [&] {
         return CFOwned<const CFString>(CFURLCopyFileSystemPath(url.get(), kCFURLHFSPathStyle)) !=
                nullptr;
       }},
  };
  for (const auto& [service, call] : services) {
    bool failed = true;
    for (long passed = 0; failed; ++passed) {
      SCOPED_TRACE(testing::Message() << service << " after " << passed);
      ASSERT_LT(passed, 200);
      bool worked;
      {
        const failing_allocator::Scope scope(passed, 1);
        worked = call();
        failed = scope.Failed();
      }
      EXPECT_TRUE(worked || failed);
      EXPECT_EQ(CFCountObjects(), 2);
    }
  }
}

}  // namespace
