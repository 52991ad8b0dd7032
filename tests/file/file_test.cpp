#include "ztk/file/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <type_traits>

#include "tests/support/sanitizer.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"

namespace {

namespace fs = std::filesystem;

static_assert(!std::is_copy_constructible_v<ZTKFile> && !std::is_copy_assignable_v<ZTKFile>);
static_assert(sizeof(ZTKFileHandle) == sizeof(void*));
static_assert(ZTKFromStart == 0 && ZTKFromCurrent == 1 && ZTKFromEnd == 2);
static_assert(sizeof(ZTKSeekMode) == 4 && sizeof(ZTKFile::OpenMode) == 4);

// Strict for the time of a test.
class Strict {
 public:
  Strict() { ZTKFile::ms_strict = true; }
  ~Strict() { ZTKFile::ms_strict = false; }
};

std::string ReadAll(ZTKFile& file) {
  std::string text(100, '\0');
  text.resize(file.Read(text.data(), text.size()));
  return text;
}

int Descriptor(const ZTKFile& file) {
  return fileno(reinterpret_cast<std::FILE*>(file.GetHandle()));
}

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

TEST(ZTKFile, WithoutAFileTransfersNothingAndClosesWell) {
  ZTKFile file;
  char byte = 'x';

  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.HasError());
  EXPECT_FALSE(file.HasReadError());
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  EXPECT_EQ(file.Write(&byte, 1), 0u);
  EXPECT_EQ(byte, 'x');
  EXPECT_FALSE(file.HasError());
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
  EXPECT_EQ(file.Length(), -1);
  EXPECT_TRUE(file.XPEof());
  EXPECT_TRUE(file.Flush());
  EXPECT_TRUE(file.XPSync());
  EXPECT_EQ(file.GetHandle(), 0);
  EXPECT_TRUE(file.Close());
}

TEST(ZTKFile, OpensByTheTableOfModes) {
  struct {
    ZTKFile::OpenMode mode;
    bool opensMissing;
    bool reads;
    bool writes;
    const char* after;  // "old" after one 'n' was written.
  } const rows[] = {
      {ZTKFile::read, false, true, false, "old"},      {ZTKFile::write, true, false, true, "n"},
      {ZTKFile::read_write, false, true, true, "nld"}, {ZTKFile::append, true, false, true, "oldn"},
      {ZTKFile::write_new, true, false, true, "n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    TempDir dir;
    const std::string path = dir / "file";

    ZTKFile missing(path.c_str(), row.mode);
    EXPECT_EQ(missing.IsOpen(), row.opensMissing);
    missing.Close();
    EXPECT_EQ(fs::exists(path), row.opensMissing);

    WriteWholeFile(path, "old");
    ZTKFile file(path.c_str(), row.mode);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(ReadAll(file), row.reads ? "old" : "");
    file.Seek(0, ZTKFromStart);
    EXPECT_EQ(file.Write("n", 1), row.writes ? 1u : 0u);
    file.Close();
    EXPECT_EQ(ReadWholeFile(path), row.after);
  }
}

TEST(ZTKFile, RefusesModesOutsideTheTable) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  for (const int mode : {-1, 5, 7, INT_MAX}) {
    SCOPED_TRACE(mode);
    ZTKFile file;
    EXPECT_FALSE(file.XPOpen((dir / "file").c_str(), static_cast<ZTKFile::OpenMode>(mode), 0666));
    EXPECT_FALSE(file.IsOpen());
  }
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
}

TEST(ZTKFile, RefusesPathsThatCannotBeOpened) {
  TempDir dir;
  WriteWholeFile(dir / "plain", "");
  const std::string paths[] = {"",
                               dir / "missing/file",
                               dir / "plain/file",
                               dir.Path().string(),
                               dir / std::string(300, 'n'),
                               std::string(5000, 'p')};
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(ZTKFile(path.c_str(), ZTKFile::write).IsOpen());
  }
  ZTKFile file;
  EXPECT_FALSE(file.XPOpen(nullptr, ZTKFile::write, 0666));
  EXPECT_FALSE(file.XPCreate(nullptr, true, 0666));
}

TEST(ZTKFile, FailedOpenKeepsTheOpenFile) {
  TempDir dir;
  ZTKFile file((dir / "first").c_str(), ZTKFile::write);
  ASSERT_EQ(file.Write("a", 1), 1u);

  EXPECT_FALSE(file.XPOpen((dir / "missing").c_str(), ZTKFile::read, 0666));
  EXPECT_FALSE(file.XPOpen((dir / "first").c_str(), static_cast<ZTKFile::OpenMode>(7), 0666));
  EXPECT_FALSE(file.XPCreate((dir / "missing/file").c_str(), true, 0666));
  EXPECT_FALSE(file.XPCreate((dir / "first").c_str(), false, 0666));

  EXPECT_EQ(file.Write("b", 1), 1u);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadWholeFile(dir / "first"), "ab");
}

TEST(ZTKFile, SuccessfulOpenClosesTheOldFileFirst) {
  TempDir dir;
  ZTKFile file((dir / "first").c_str(), ZTKFile::write);
  file.Write("buffered", 8);
  const int first = Descriptor(file);

  ASSERT_TRUE(file.XPOpen((dir / "second").c_str(), ZTKFile::write, 0666));

  EXPECT_EQ(ReadWholeFile(dir / "first"), "buffered");
  EXPECT_EQ(fcntl(first, F_GETFD), -1);
  ASSERT_TRUE(file.XPCreate((dir / "third").c_str(), true, 0666));
  file.Write("3", 1);
  file.Close();
  EXPECT_EQ(ReadWholeFile(dir / "second"), "");
  EXPECT_EQ(ReadWholeFile(dir / "third"), "3");
}

TEST(ZTKFile, DestructorCloses) {
  TempDir dir;
  int descriptor;
  {
    ZTKFile file((dir / "file").c_str(), ZTKFile::write);
    file.Write("text", 4);
    descriptor = Descriptor(file);
  }
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST(ZTKFile, CreatedFilesGetThePermissionsLessTheUmask) {
  TempDir dir;
  const ScopedUmask umask(027);
  ZTKFile file;

  ASSERT_TRUE(file.XPOpen((dir / "a").c_str(), ZTKFile::write, 0666));
  ASSERT_TRUE(file.XPOpen((dir / "b").c_str(), ZTKFile::append, 0600));
  ASSERT_TRUE(file.XPCreate((dir / "c").c_str(), true, 0777));
  ASSERT_TRUE(file.XPOpen((dir / "b").c_str(), ZTKFile::write, 0666));

  EXPECT_EQ(ModeOf(dir / "a"), 0640u);
  EXPECT_EQ(ModeOf(dir / "b"), 0600u);  // It existed: its permissions stay.
  EXPECT_EQ(ModeOf(dir / "c"), 0750u);
}

TEST(ZTKFile, IsNotInheritedByOtherPrograms) {
  TempDir dir;
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen((dir / "file").c_str(), ZTKFile::write, 0666));
  EXPECT_EQ(fcntl(Descriptor(file), F_GETFD), FD_CLOEXEC);
  ASSERT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  EXPECT_EQ(fcntl(Descriptor(file), F_GETFD), FD_CLOEXEC);
}

TEST(ZTKFile, CreateRefusesAFileThatExistsUnlessToldToOverwrite) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  ZTKFile file;

  EXPECT_FALSE(file.XPCreate((dir / "file").c_str(), false, 0666));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");

  EXPECT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  EXPECT_EQ(file.Length(), 0);
  EXPECT_TRUE(file.XPCreate((dir / "new").c_str(), false, 0666));
  EXPECT_TRUE(fs::exists(dir / "new"));
}

TEST(ZTKFile, CreatedFileCanBeReadBack) {
  TempDir dir;
  for (const bool overwrite : {false, true}) {
    SCOPED_TRACE(overwrite);
    ZTKFile file;
    ASSERT_TRUE(file.XPCreate((dir / (overwrite ? "a" : "b")).c_str(), overwrite, 0666));
    EXPECT_EQ(file.Write("text", 4), 4u);
    EXPECT_EQ(file.Seek(0, ZTKFromStart), 0);
    EXPECT_EQ(ReadAll(file), "text");
  }
}

TEST(ZTKFile, CreateWithoutOverwriteDoesNotFollowALinkToNowhere) {
  TempDir dir;
  fs::create_symlink(dir / "victim", dir / "link");
  ZTKFile file;
  EXPECT_FALSE(file.XPCreate((dir / "link").c_str(), false, 0666));
  EXPECT_FALSE(fs::exists(dir / "victim"));
}

TEST(ZTKFile, ExclusiveCreationTellsATakenNameFromAFailure) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  fs::create_symlink(dir / "victim", dir / "link");
  fs::create_directory(dir / "folder");
  ZTKFile file;
  bool taken = false;

  for (const char* name : {"file", "link", "folder"}) {
    SCOPED_TRACE(name);
    taken = false;
    EXPECT_FALSE(file.XPCreateExclusive((dir / name).c_str(), 0600, taken));
    EXPECT_TRUE(taken);
  }
  taken = true;
  EXPECT_FALSE(file.XPCreateExclusive((dir / "missing/file").c_str(), 0600, taken));
  EXPECT_FALSE(taken);
  taken = true;
  EXPECT_FALSE(file.XPCreateExclusive(nullptr, 0600, taken));
  EXPECT_FALSE(taken);
  EXPECT_FALSE(file.IsOpen());

  EXPECT_TRUE(file.XPCreateExclusive((dir / "new").c_str(), 0600, taken));
  EXPECT_FALSE(taken);
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_EQ(ModeOf(dir / "new"), 0600u);
  EXPECT_FALSE(fs::exists(dir / "victim"));
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
}

TEST(ZTKFile, SeeksFromEveryOrigin) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  struct {
    long offset;
    int mode;
    long position;  // From 4.
  } const rows[] = {
      {3, ZTKFromStart, 3},
      {0, ZTKFromStart, 0},
      {30, ZTKFromStart, 30},
      {-2, ZTKFromStart, -1},
      {2, ZTKFromCurrent, 6},
      {-2, ZTKFromCurrent, 2},
      {-5, ZTKFromCurrent, -1},
      {0, ZTKFromEnd, 10},
      {-2, ZTKFromEnd, 8},
      {5, ZTKFromEnd, 15},
      {-11, ZTKFromEnd, -1},
      {-1, ZTKFromStart, -1},
      {-1, ZTKFromCurrent, -1},
      {-1, ZTKFromEnd, -1},
      {-1, 9, -1},
      {0, 9, -1},
      {0, -1, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.offset << " by " << row.mode);
    ZTKFile file((dir / "file").c_str(), ZTKFile::read);
    ASSERT_EQ(file.Seek(4, ZTKFromStart), 4);
    EXPECT_EQ(file.Seek(row.offset, static_cast<ZTKSeekMode>(row.mode)), row.position);
    EXPECT_EQ(file.Tell(), row.position == -1 ? 4 : row.position);
  }
}

TEST(ZTKFile, RawSeekTakesMinusOne) {
  TempDir dir;
  WriteWholeFile(dir / "file", "0123456789");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 2), 9);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 1), 8);
  EXPECT_EQ(ZTKSeek(file.GetHandle(), -1, 0), -1);
}

TEST(ZTKFile, LengthKeepsThePosition) {
  TempDir dir;
  for (const char* content : {"", "x", "0123456789"}) {
    SCOPED_TRACE(content);
    const std::string text(content);
    WriteWholeFile(dir / "file", text);
    ZTKFile file((dir / "file").c_str(), ZTKFile::read_write);
    file.Seek(static_cast<long>(text.size()) / 2, ZTKFromStart);
    EXPECT_EQ(file.Length(), static_cast<long>(text.size()));
    EXPECT_EQ(file.Tell(), static_cast<long>(text.size()) / 2);
  }
}

TEST(ZTKFile, LengthCountsWhatIsStillBuffered) {
  TempDir dir;
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  file.Write("12345", 5);
  EXPECT_EQ(file.Length(), 5);
  EXPECT_EQ(file.Tell(), 5);
}

TEST(ZTKFile, PipesHaveNoLengthAndNoPosition) {
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ZTKFile file(path.c_str(), ZTKFile::read_write);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Length(), -1);
  EXPECT_EQ(file.Tell(), -1);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
  EXPECT_TRUE(file.XPSync());  // Nothing behind it that could be synced.
}

TEST(ZTKFile, MeetsTheEndOnlyByReadingPastIt) {
  TempDir dir;
  WriteWholeFile(dir / "file", "ab");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  char two[2];
  EXPECT_FALSE(file.XPEof());
  EXPECT_EQ(file.Read(two, 2), 2u);
  EXPECT_FALSE(file.XPEof());
  EXPECT_EQ(file.Read(two, 1), 0u);
  EXPECT_TRUE(file.XPEof());
  EXPECT_NE(ZTKEof(file.GetHandle()), 0);
  EXPECT_EQ(file.Seek(0, ZTKFromStart), 0);
  EXPECT_FALSE(file.XPEof());
  EXPECT_FALSE(file.HasReadError());
}

TEST(ZTKFile, ReadsAndWritesMayAlternateWithoutASeek) {
  TempDir dir;
  WriteWholeFile(dir / "file", "aaaaabbbbbcccccddddd");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read_write);
  char five[5];

  EXPECT_EQ(file.Write("11111", 5), 5u);
  EXPECT_EQ(file.Read(five, 5), 5u);
  EXPECT_EQ(std::string(five, 5), "bbbbb");
  EXPECT_EQ(file.Write("33333", 5), 5u);
  EXPECT_EQ(file.Read(five, 5), 5u);
  EXPECT_EQ(std::string(five, 5), "ddddd");
  EXPECT_EQ(file.Write("55555", 5), 5u);
  EXPECT_TRUE(file.Close());

  EXPECT_EQ(ReadWholeFile(dir / "file"), "11111bbbbb33333ddddd55555");
}

TEST(ZTKFile, RawFunctionsWorkOnTheHandle) {
  TempDir dir;
  ZTKFile file;
  ASSERT_TRUE(file.XPCreate((dir / "file").c_str(), true, 0666));
  const ZTKFileHandle h = file.GetHandle();
  char four[5] = {};

  EXPECT_EQ(ZTKWrite(h, "text", 4), 4u);
  EXPECT_EQ(ZTKTell(h), 4);
  EXPECT_EQ(ZTKFsync(h), 0);
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  EXPECT_EQ(ZTKSeek(h, 0, 0), 0);
  EXPECT_EQ(ZTKRead(h, four, 4), 4u);
  EXPECT_STREQ(four, "text");
  EXPECT_EQ(ZTKRead(h, four, 0), 0u);
  EXPECT_EQ(ZTKRead(h, nullptr, 0), 0u);
  EXPECT_EQ(ZTKWrite(h, nullptr, 0), 0u);
}

TEST(ZTKFile, RawFunctionsTakeNoFile) {
  char byte = 'x';
  EXPECT_EQ(ZTKClose(0), 0);
  EXPECT_EQ(ZTKEof(0), 1);
  EXPECT_EQ(ZTKFsync(0), 0);
  EXPECT_EQ(ZTKTell(0), -1);
  EXPECT_EQ(ZTKSeek(0, 0, 0), -1);
  EXPECT_EQ(ZTKWrite(0, &byte, 1), 0u);
  EXPECT_EQ(ZTKRead(0, &byte, 1), 0u);
}

TEST(ZTKFile, RawCloseGivesUpTheHandle) {
  TempDir dir;
  std::FILE* stream = std::fopen((dir / "file").c_str(), "wb");
  ASSERT_NE(stream, nullptr);
  const int descriptor = fileno(stream);
  EXPECT_EQ(ZTKClose(reinterpret_cast<ZTKFileHandle>(stream)), 0);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST(ZTKFile, FailedReadIsToldFromTheEndOfTheFile) {
  TempDir dir;
  char byte;
  ZTKFile folder(dir.Path().c_str(), ZTKFile::read);
  ASSERT_TRUE(folder.IsOpen());  // A folder opens; reading it does not work.
  EXPECT_FALSE(folder.HasReadError());
  EXPECT_EQ(folder.Read(&byte, 1), 0u);
  EXPECT_TRUE(folder.HasReadError());
  EXPECT_FALSE(folder.XPEof());
  EXPECT_FALSE(folder.HasError());

  ZTKFile memory("/proc/self/mem", ZTKFile::read);  // Nothing is mapped at address 0.
  ASSERT_TRUE(memory.IsOpen());
  EXPECT_EQ(memory.Read(&byte, 1), 0u);
  EXPECT_TRUE(memory.HasReadError());
}

// A full disk: what the device takes, it loses.

TEST(ZTKFile, ShortWriteIsToldByItsCountAlone) {
  const std::string block(100000, 'x');
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_LT(file.Write(block.data(), block.size()), block.size());
  EXPECT_FALSE(file.HasError());
}

TEST(ZTKFile, FlushAndCloseTellWhatTheyCouldNotWrite) {
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);  // Buffered.
  EXPECT_FALSE(file.Flush());
  EXPECT_FALSE(file.HasError());
  file.Close();

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_FALSE(file.XPSync());
  file.Close();

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.HasError());
}

TEST(ZTKFile, StrictShortWriteIsRememberedUntilTheClose) {
  const Strict strict;
  const std::string block(100000, 'x');
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  EXPECT_LT(file.Write(block.data(), block.size()), block.size());
  EXPECT_TRUE(file.HasError());
  EXPECT_FALSE(file.Close());
  EXPECT_FALSE(file.IsOpen());
  EXPECT_TRUE(file.HasError());  // Also for who looks later.

  TempDir dir;
  ASSERT_TRUE(file.XPOpen((dir / "file").c_str(), ZTKFile::write, 0666));
  EXPECT_FALSE(file.HasError());
  EXPECT_EQ(file.Write("x", 1), 1u);
  EXPECT_TRUE(file.Close());
}

TEST(ZTKFile, StrictFailedFlushAndFailedCloseAreErrors) {
  const Strict strict;
  ZTKFile file;
  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  file.Write("x", 1);
  EXPECT_FALSE(file.HasError());
  EXPECT_FALSE(file.Flush());
  EXPECT_TRUE(file.HasError());
  EXPECT_FALSE(file.Close());

  ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::write, 0666));
  file.Write("x", 1);
  EXPECT_FALSE(file.Close());
  EXPECT_TRUE(file.HasError());
}

TEST(ZTKFile, StrictCloseTellsWhatASeekOrAReadLost) {
  ZTKFile file;
  char byte;
  for (const bool strict : {false, true}) {
    for (const char* how : {"seek", "length", "read"}) {
      SCOPED_TRACE(testing::Message() << how << strict);
      ZTKFile::ms_strict = strict;
      ASSERT_TRUE(file.XPOpen("/dev/full", ZTKFile::read_write, 0666));
      EXPECT_EQ(file.Write("x", 1), 1u);
      if (*how == 's') {
        EXPECT_EQ(file.Seek(0, ZTKFromStart), -1);
      } else if (*how == 'l') {
        EXPECT_EQ(file.Length(), -1);
      } else {
        file.Read(&byte, 1);
      }
      EXPECT_EQ(file.Close(), !strict);
      EXPECT_EQ(file.HasError(), strict);
    }
  }
  ZTKFile::ms_strict = false;
}

TEST(ZTKFile, StrictReadErrorIsNoLostData) {
  const Strict strict;
  TempDir dir;
  char byte;
  ZTKFile folder(dir.Path().c_str(), ZTKFile::read);
  EXPECT_EQ(folder.Read(&byte, 1), 0u);
  EXPECT_TRUE(folder.HasReadError());
  EXPECT_TRUE(folder.Close());
}

TEST(ZTKFile, StrictWriteToAFileOpenedForReadingIsAnError) {
  const Strict strict;
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  ZTKFile file((dir / "file").c_str(), ZTKFile::read);
  EXPECT_EQ(file.Write("x", 1), 0u);
  EXPECT_TRUE(file.HasError());
}

TEST(ZTKFile, WritesUpToALimitAreCounted) {
  TempDir dir;
  const ScopedFileSizeLimit limit(20000);
  const std::string block(65536, 'x');
  ZTKFile file((dir / "file").c_str(), ZTKFile::write);
  EXPECT_EQ(file.Write(block.data(), block.size()), 20000u);
  file.Close();
  EXPECT_EQ(fs::file_size(dir / "file"), 20000u);
}

// Requests that 32 bits cannot count.

#if ULONG_MAX > UINT_MAX
// A block of addresses, all backed by the same few pages.
class RepeatedBlock {
 public:
  explicit RepeatedBlock(size_t size) : m_size((size + kPiece - 1) / kPiece * kPiece) {
    const int memory = memfd_create("block", MFD_CLOEXEC);
    EXPECT_EQ(ftruncate(memory, kPiece), 0);
    m_start = static_cast<char*>(
        mmap(nullptr, m_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    for (size_t at = 0; at < m_size; at += kPiece) {
      EXPECT_NE(
          mmap(m_start + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0),
          MAP_FAILED);
    }
    close(memory);
  }
  ~RepeatedBlock() { munmap(m_start, m_size); }
  RepeatedBlock(const RepeatedBlock&) = delete;
  RepeatedBlock& operator=(const RepeatedBlock&) = delete;

  char* Start() const { return m_start; }

 private:
  static constexpr size_t kPiece = size_t{1} << 24;
  size_t m_size;
  char* m_start;
};

TEST(ZTKFile, ReadsAndWritesMoreThanFourGibibytesAtOnce) {
  constexpr unsigned long kCount = (1UL << 32) + 1;
  const RepeatedBlock block(kCount);
  TempDir dir;
  WriteWholeFile(dir / "sparse", "");
  fs::resize_file(dir / "sparse", kCount + 5);

  ZTKFile file((dir / "sparse").c_str(), ZTKFile::read);
  EXPECT_EQ(file.Read(block.Start(), kCount), kCount);
  EXPECT_EQ(file.Tell(), static_cast<long>(kCount));
  EXPECT_EQ(file.Read(block.Start(), kCount), 5u);

  ZTKFile sink("/dev/null", ZTKFile::write);
  EXPECT_EQ(sink.Write(block.Start(), kCount), kCount);
  EXPECT_EQ(sink.Write(block.Start(), UINT_MAX), UINT_MAX);
  EXPECT_FALSE(sink.HasError());
}
#endif

// Signals that interrupt a transfer.

std::atomic<int> g_signals = 0;

class InterruptingSignal {
 public:
  InterruptingSignal() {
    g_signals = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++g_signals; };  // Without SA_RESTART.
    sigaction(SIGUSR1, &action, &m_old);
  }
  ~InterruptingSignal() { sigaction(SIGUSR1, &m_old, nullptr); }

  // Interrupts a thread of this process `nTimes` while it waits in a system call.
  static void Interrupt(pthread_t thread, pid_t id, int nTimes) {
    for (int n = 0; n < nTimes; ++n) {
      while (StateOf(id) != 'S') std::this_thread::yield();
      pthread_kill(thread, SIGUSR1);
      while (g_signals <= n) std::this_thread::yield();
    }
  }

 private:
  static char StateOf(pid_t id) {
    std::ifstream in("/proc/self/task/" + std::to_string(id) + "/stat");
    std::string text;
    std::getline(in, text);
    const size_t name = text.rfind(')');
    return name + 2 < text.size() ? text[name + 2] : '?';
  }

  struct sigaction m_old {};
};

TEST(ZTKFile, InterruptedReadGoesOn) {
  if (kThreadSanitizer) GTEST_SKIP() << "signals do not interrupt a watched call";
  const InterruptingSignal handler;
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ZTKFile file(path.c_str(), ZTKFile::read_write);
  const int writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);

  std::thread other([&, reader = pthread_self(), id = gettid()] {
    InterruptingSignal::Interrupt(reader, id, 2);
    EXPECT_EQ(write(writer, "ab", 2), 2);
    InterruptingSignal::Interrupt(reader, id, 0);
    EXPECT_EQ(write(writer, "cd", 2), 2);
  });
  char four[4];
  EXPECT_EQ(file.Read(four, 4), 4u);
  other.join();
  close(writer);

  EXPECT_EQ(std::string(four, 4), "abcd");
  EXPECT_EQ(g_signals, 2);
  EXPECT_FALSE(file.HasReadError());
}

TEST(ZTKFile, InterruptedWriteGoesOn) {
  if (kThreadSanitizer) GTEST_SKIP() << "signals do not interrupt a watched call";
  const InterruptingSignal handler;
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  fcntl(reader, F_SETFL, 0);
  ZTKFile file(path.c_str(), ZTKFile::write);
  ASSERT_TRUE(file.IsOpen());
  std::string text(1 << 20, '\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i * i % 23);

  std::string got;
  std::thread other([&, writer = pthread_self(), id = gettid()] {
    InterruptingSignal::Interrupt(writer, id, 3);
    char block[4096];
    for (ssize_t n; (n = read(reader, block, sizeof block)) > 0;) {
      got.append(block, static_cast<size_t>(n));
    }
  });
  EXPECT_EQ(file.Write(text.data(), text.size()), text.size());
  EXPECT_TRUE(file.Close());
  other.join();
  close(reader);
  EXPECT_EQ(g_signals, 3);
  EXPECT_TRUE(got == text);
}

}  // namespace
