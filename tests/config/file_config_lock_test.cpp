// The lock of those that merge: who is let in, who is kept out, and what it is made of.
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "tests/config/file_config_support.h"
#include "tests/support/scoped_process.h"

namespace {

thread_local int t_lockError = 0;  // What flock fails with; 0 for the real one.

}  // namespace

extern "C" int flock(int descriptor, int operation) noexcept {
  if (t_lockError == 0) return static_cast<int>(syscall(SYS_flock, descriptor, operation));
  errno = t_lockError;
  return -1;
}

namespace {

namespace fs = std::filesystem;

class ScopedLockError {
 public:
  explicit ScopedLockError(int error) { t_lockError = error; }
  ~ScopedLockError() { t_lockError = 0; }
  ScopedLockError(const ScopedLockError&) = delete;
  ScopedLockError& operator=(const ScopedLockError&) = delete;
};

std::string LockOf(const PreferencesFolder& prefs) { return prefs.ConfFile() + ".lock"; }

struct stat StatusOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

unsigned ModeOf(const std::string& path) { return StatusOf(path).st_mode & 07777; }

/// Expects that what is in the place of the lock file keeps the change from being saved.
void ExpectNoLock(const PreferencesFolder& prefs) {
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  const ScopedWatchdog watchdog(60);
  ZTKFileConfig config("", "App", CONF_MERGE);
  config.SetPath("/g");
  config.Write("k", "2");
  const LogCapture log;
  EXPECT_FALSE(config.Flush());
  EXPECT_TRUE(config.IsDirty());
  EXPECT_NE(log.Text().find("is not saved: its lock file cannot be locked"), std::string::npos);
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
  fs::remove(LockOf(prefs));
  EXPECT_TRUE(config.Flush());
}

TEST(ZTKFileConfigLock, ManyProcessesLoseNothing) {
  const PreferencesFolder prefs;
  constexpr int kProcesses = 4;
  constexpr int kSaves = 25;
  pid_t children[kProcesses];
  for (int i = 0; i < kProcesses; ++i) {
    children[i] = fork();
    ASSERT_GE(children[i], 0);
    if (children[i] != 0) continue;
    ZTKFileConfig config("", "App", CONF_ALL);
    bool isSaved = true;
    for (int save = 0; save < kSaves; ++save) {
      config.SetPath("/g");
      config.Write(("p" + std::to_string(i) + "-" + std::to_string(save)).c_str(), "v");
      isSaved = config.Flush() && isSaved;
    }
    _exit(isSaved ? 0 : 1);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  ZTKString name;
  EXPECT_TRUE(config.GetEntry(name, kProcesses * kSaves - 1));
  EXPECT_FALSE(config.GetEntry(name, kProcesses * kSaves));
}

TEST(ZTKFileConfigLock, ALockThatIsHeldMakesFlushFalseAndTheChangeWaits) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_MERGE);
  config.SetPath("/g");
  config.Write("k", "1");
  const std::string lockPath = prefs.ConfFile() + ".lock";
  WriteWholeFile(lockPath, "");
  std::FILE* const pLock = std::fopen(lockPath.c_str(), "r+");
  ASSERT_NE(pLock, nullptr);
  ASSERT_EQ(flock(fileno(pLock), LOCK_EX), 0);
  EXPECT_FALSE(config.Flush());
  EXPECT_TRUE(config.IsDirty());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "");
  std::fclose(pLock);  // As when the program that held it dies.
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[g]\r\nk=1\r\n");
  EXPECT_TRUE(fs::exists(lockPath)) << "it is never removed";
}

TEST(ZTKFileConfigLock, WithoutALockFileNothingIsSaved) {
  const PreferencesFolder prefs;
  fs::create_directory(LockOf(prefs));
  ExpectNoLock(prefs);
}

TEST(ZTKFileConfigLock, APlantedLinkIsNotFollowed) {
  for (const char* target : {"victim", "missing"}) {
    SCOPED_TRACE(target);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.Dir() / "victim", "");
    fs::permissions(prefs.Dir() / "victim", fs::perms(0600));
    fs::create_symlink(prefs.Dir() / target, LockOf(prefs));
    ExpectNoLock(prefs);
    EXPECT_EQ(ModeOf(prefs.Dir() / "victim"), 0600u);
    EXPECT_FALSE(fs::exists(prefs.Dir() / "missing"));
  }
}

TEST(ZTKFileConfigLock, APipeInItsPlaceNeitherBlocksNorLocks) {
  const PreferencesFolder prefs;
  ASSERT_EQ(mkfifo(LockOf(prefs).c_str(), 0600), 0);
  ExpectNoLock(prefs);
}

TEST(ZTKFileConfigLock, ALockFileThatMayNotBeOpenedKeepsTheChangeWaiting) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may open everything";
  const PreferencesFolder prefs;
  WriteWholeFile(LockOf(prefs), "not an empty one, so it is not adapted");
  fs::permissions(LockOf(prefs), fs::perms(0));
  ExpectNoLock(prefs);
}

TEST(ZTKFileConfigLock, ALockThatFailsIsNoneAndAFileSystemWithoutLocksIsNoReasonToWait) {
  const struct {
    int error;
    bool isSaved;
  } rows[] = {{EOPNOTSUPP, true}, {ENOSYS, true}, {EINVAL, true}, {ENOLCK, false},
              {EIO, false},       {EBADF, false}, {EACCES, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    const PreferencesFolder prefs;
    ZTKFileConfig config("", "App", CONF_MERGE);
    config.SetPath("/g");
    config.Write("k", "1");
    {
      const ScopedLockError fails(row.error);
      EXPECT_EQ(config.Flush(), row.isSaved);
    }
    EXPECT_EQ(config.IsDirty(), !row.isSaved);
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()).empty(), !row.isSaved);
    EXPECT_TRUE(config.Flush());
  }
}

TEST(ZTKFileConfigLock, WhoeverMayUseTheFileMayUseTheLock) {
  for (const unsigned mode : {0600u, 0640u, 0664u, 0666u, 04755u}) {
    SCOPED_TRACE(mode);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    fs::permissions(prefs.ConfFile(), fs::perms(mode));
    if (RunsAsRoot()) {
      EXPECT_EQ(chown(prefs.ConfFile().c_str(), 1234, 4321), 0);
    }
    const struct stat model = StatusOf(prefs.ConfFile());
    const ScopedUmask umask(077);
    ZTKFileConfig config("", "App", CONF_MERGE);
    config.SetPath("/g");
    config.Write("k", "2");
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(ModeOf(LockOf(prefs)), mode & 0666);
    EXPECT_EQ(StatusOf(LockOf(prefs)).st_uid, model.st_uid);
    EXPECT_EQ(StatusOf(LockOf(prefs)).st_gid, model.st_gid);
  }
}

TEST(ZTKFileConfigLock, ALockFileOfOnesOwnFollowsAndAnotherFileInItsPlaceDoesNot) {
  for (const char* content : {"", "x"}) {
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    fs::permissions(prefs.ConfFile(), fs::perms(0664));
    WriteWholeFile(LockOf(prefs), content);
    fs::permissions(LockOf(prefs), fs::perms(0600));
    ZTKFileConfig config("", "App", CONF_MERGE);
    config.Write("k", "2");
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(ModeOf(LockOf(prefs)), *content == '\0' ? 0664u : 0600u);
    EXPECT_EQ(ReadWholeFile(LockOf(prefs)), content);
  }
}

// The lock belongs to the open file, which a forked child has open as well.
TEST(ZTKFileConfigLock, AChildThatWasForkedMeanwhileDoesNotKeepIt) {
  const PreferencesFolder prefs;
  const ScopedWatchdog watchdog(60);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  static int s_end = ends[0];
  s_end = ends[0];
  static pid_t s_child = -1;
  // Forks while the lock is held: the log is asked for the reason of a refusal.
  class ForkingLog : public ZTKLog {
   public:
    void DoLog(unsigned long, const char*) override {
      s_child = fork();
      if (s_child != 0) return;
      char byte;
      while (read(s_end, &byte, 1) < 0) {
      }
      _exit(0);
    }
  };
  WriteWholeFile(prefs.ConfFile(), std::string("[g]\nk=\0\n", 8));
  ZTKFileConfig config("", "App", CONF_MERGE | CONF_REFUSE_UNREAD);
  config.Write("k", "2");
  ZTKLog::SetActiveTarget(new ForkingLog);
  ZTKLog::ms_doLog = 1;
  EXPECT_FALSE(config.Flush());
  ZTKLog::ms_doLog = 0;
  ZTKLog::SetActiveTarget(nullptr);
  ASSERT_GT(s_child, 0);
  WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
  EXPECT_TRUE(config.Flush()) << "the child has the lock file open";
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), 1);
  close(ends[1]);
  EXPECT_EQ(waitpid(s_child, nullptr, 0), s_child);
}

// The experiment ----------------------------------------------------------------------------------

constexpr int kWriters = 4;
constexpr int kEntries = 60;

struct Report {
  int nWriter;
  int nEntry;
};

std::string KeyOf(int writer, int entry) {
  return "w" + std::to_string(writer) + "-" + std::to_string(entry);
}

/// Saves its entries one after the other and reports each that was saved.
[[noreturn]] void RunWriter(int writer, int first, unsigned options, int reports) {
  ZTKFileConfig config("", "App", options);
  config.SetPath("/g");
  for (int entry = first; entry < kEntries; ++entry) {
    config.Write(KeyOf(writer, entry).c_str(), "v");
    while (!config.Flush()) {
    }
    const Report report = {writer, entry};
    if (write(reports, &report, sizeof report) != sizeof report) _exit(1);
  }
  _exit(0);
}

TEST(ZTKFileConfigLock, WhatWasReportedAsSavedIsThereHoweverManyWritersAreKilled) {
  for (const unsigned options : {CONF_MERGE + 0u, CONF_MERGE | CONF_KEEP_TEXT, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    const ScopedWatchdog watchdog(300);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::array<int, kWriters> next = {};
    std::array<pid_t, kWriters> pids = {};
    const auto start = [&](size_t i) {
      pids[i] = fork();
      if (pids[i] == 0) RunWriter(static_cast<int>(i), next[i], options, ends[1]);
    };
    for (size_t i = 0; i < kWriters; ++i) start(i);

    std::mt19937 random(20261122);
    int nSaved = 0;
    int nKilled = 0;
    unsigned long nUntilKill = 1 + random() % 6;
    while (nSaved < kWriters * kEntries) {
      Report report;
      ASSERT_EQ(read(ends[0], &report, sizeof report), static_cast<ssize_t>(sizeof report));
      int& nNext = next[static_cast<size_t>(report.nWriter)];
      if (report.nEntry >= nNext) {
        ASSERT_EQ(report.nEntry, nNext);
        ++nNext;
        ++nSaved;
      }
      if (--nUntilKill != 0) continue;
      nUntilKill = 1 + random() % 6;
      const size_t victim = random() % kWriters;
      if (next[victim] == kEntries) continue;
      kill(pids[victim], SIGKILL);
      ASSERT_EQ(waitpid(pids[victim], nullptr, 0), pids[victim]);
      ++nKilled;
      start(victim);
    }
    for (const pid_t pid : pids) EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
    close(ends[0]);
    close(ends[1]);

    EXPECT_GT(nKilled, 0);
    ZTKFileConfig config("", "App");
    config.SetPath("/g");
    for (int writer = 0; writer < kWriters; ++writer) {
      for (int entry = 0; entry < kEntries; ++entry) {
        EXPECT_EQ(ValueOf(config, KeyOf(writer, entry).c_str()), "v") << KeyOf(writer, entry);
      }
    }
  }
}

}  // namespace
