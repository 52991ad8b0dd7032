// What opening and saving does to the bytes of files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "examples/notes/note.h"
#include "tests/support/temp_dir.h"

namespace {

using ::testing::HasSubstr;

class NoteFile : public ::testing::Test {
 protected:
  std::string Put(std::string_view bytes) const {
    WriteWholeFile(m_path, bytes);
    return m_path;
  }

  TempDir m_files;
  const std::string m_path = m_files / "note.txt";
};

constexpr std::string_view operator""_b(const char* text, size_t length) { return {text, length}; }

TEST_F(NoteFile, SavingKeepsEveryByteThatWasNotChanged) {
  for (const std::string_view bytes : {
           "one\ntwo\n"_b,
           "one\ntwo"_b,
           "one\r\ntwo\r\n"_b,
           "one\rtwo"_b,
           "one\ntwo\r\nthree\rfour"_b,
           "\n\n\n"_b,
           "caf\xC3\xA9 \xE2\x86\x92\n"_b,
           "caf\xE9\r\nna\xEFve \x80\x81\n"_b,
           "\xEF\xBB\xBF"_b,
           "\xEF\xBB\xBFone\n\xF0\x9F\x98\x80"_b,
           "\xEF\xBB\xBF\xEF\xBB\xBFone\n"_b,
           "\xFF\xFEo\0n\0e\0\r\0\n\0=\xD8\0\xDE\n\0"_b,
           "\xFE\xFF\0o\0n\0e\0\r\0t\0w\0o"_b,
           "\xFF\xFE"_b,
       }) {
    SCOPED_TRACE(Hex(bytes));
    Note note;
    ASSERT_EQ(note.Load(Put(bytes)), "");
    EXPECT_EQ(note.unsavable, "");
    EXPECT_EQ(note.Save(), "");
    EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex(bytes));

    note.text += "x";
    EXPECT_EQ(note.Save(), "");
    note.text.pop_back();
    EXPECT_EQ(note.Save(), "");
    EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex(bytes));
  }
}

TEST_F(NoteFile, WhatCannotBeWrittenAgainIsNotSavedAndTheReasonIsGiven) {
  const struct {
    std::string_view bytes;
    const char* reason;
  } rows[] = {
      {"one\0two\nthree\n"_b, "NUL characters"},
      {"\xFF\xFEo\0\0\0t\0\n\0"_b, "NUL characters"},
      {"\xFF\xFE\0\0o\0\0\0"_b, "NUL characters"},  // UTF-32.
      {"\xFF\xFEo\0n"_b, "ends inside a UTF-16 character"},
      {"\xFF\xFEo\0\x00\xD8n\0"_b, "damaged at byte 4"},
      {"\xEF\xBB\xBFna\xEFve\n"_b, "damaged at byte 5"},
      {"caf\xC3\xA9\ncaf\xE9\n"_b, "first at byte 9"},
      {"one\r\rtwo\n"_b, "line ends"},
      {"one\rtwo\r"_b, "line ends"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.bytes));
    Note note;
    ASSERT_EQ(note.Load(Put(row.bytes)), "");
    note.text += "more";
    EXPECT_THAT(note.Save(), HasSubstr(row.reason));
    EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex(row.bytes));
    EXPECT_THAT(note.SaveAs(m_path), HasSubstr(row.reason));
    EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex(row.bytes));
    // Elsewhere, what is shown can be saved.
    EXPECT_EQ(note.SaveAs(m_files / "copy.txt"), "");
    EXPECT_EQ(note.unsavable, "");
    EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex(row.bytes));
  }
}

TEST_F(NoteFile, ACharacterThatTheEncodingLacksIsRefused) {
  Note note;
  ASSERT_EQ(note.Load(Put("caf\xE9\n")), "");
  EXPECT_STREQ(note.GetEncodingName(), "Windows-1252");
  note.text += "\xE2\x82\xAC\n";  // The euro sign is there,
  EXPECT_EQ(note.Save(), "");
  note.text += "\xE2\x86\x92\n";  // an arrow is not.
  EXPECT_EQ(note.Save(), "The text has characters that Windows-1252 lacks.");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex("caf\xE9\n\x80\n"));
  EXPECT_EQ(note.SaveAs(m_files / "arrow.txt"), "");
  EXPECT_EQ(ReadWholeFile(m_files / "arrow.txt"), "caf\xC3\xA9\n\xE2\x82\xAC\n\xE2\x86\x92\n");
}

TEST_F(NoteFile, ANewFileAndAnEmptyOneAreUtf8WithoutAMark) {
  Note fresh;
  fresh.text = "caf\xC3\xA9\n";
  ASSERT_EQ(fresh.SaveAs(m_path), "");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex("caf\xC3\xA9\n"));
  EXPECT_EQ(fresh.path, m_path);
  fresh.text += "more";
  EXPECT_EQ(fresh.Save(), "");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex("caf\xC3\xA9\nmore"));

  Note empty;
  ASSERT_EQ(empty.Load(Put("")), "");
  EXPECT_EQ(empty.Save(), "");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), "");
  empty.text = "caf\xC3\xA9";
  EXPECT_EQ(empty.Save(), "");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex("caf\xC3\xA9"));
}

TEST_F(NoteFile, AFinalDotIsPartOfTheName) {
  WriteWholeFile(m_files / "todo", "of another note");
  Note note;
  note.text = "mine";
  EXPECT_EQ(note.SaveAs(m_files / "todo."), "");
  EXPECT_EQ(ReadWholeFile(m_files / "todo."), "mine");
  EXPECT_EQ(ReadWholeFile(m_files / "todo"), "of another note");
}

TEST_F(NoteFile, TextThatStartsLikeAMarkGetsOne) {
  Note note;
  note.text = "\xEF\xBB\xBFone\n";
  ASSERT_EQ(note.SaveAs(m_path), "");
  EXPECT_EQ(Hex(ReadWholeFile(m_path)), Hex("\xEF\xBB\xBF\xEF\xBB\xBFone\n"));
  EXPECT_EQ(note.text, "\xEF\xBB\xBFone\n");
}

TEST_F(NoteFile, PastedLineEndsBecomeThoseOfTheFile) {
  Note note;
  ASSERT_EQ(note.Load(Put("one\r\n")), "");
  note.text += "two\r\nthree\rfour\n";
  EXPECT_EQ(note.Save(), "");
  EXPECT_EQ(ReadWholeFile(m_path), "one\r\ntwo\r\nthree\r\nfour\r\n");
}

TEST_F(NoteFile, LinksAndPermissionsStay) {
  Put("one\n");
  std::filesystem::permissions(m_path, std::filesystem::perms(0640));
  std::filesystem::create_hard_link(m_path, m_files / "hard.txt");
  std::filesystem::create_symlink("note.txt", m_files / "soft.txt");
  std::filesystem::create_symlink("soft.txt", m_files / "softer.txt");
  Note note;
  ASSERT_EQ(note.Load(m_files / "softer.txt"), "");
  note.text += "two\n";
  ASSERT_EQ(note.Save(), "");
  EXPECT_TRUE(std::filesystem::is_symlink(m_files / "softer.txt"));
  EXPECT_TRUE(std::filesystem::is_symlink(m_files / "soft.txt"));
  EXPECT_TRUE(std::filesystem::equivalent(m_path, m_files / "hard.txt"));
  EXPECT_EQ(ReadWholeFile(m_files / "hard.txt"), "one\ntwo\n");
  EXPECT_EQ(std::filesystem::status(m_path).permissions(), std::filesystem::perms(0640));
}

TEST_F(NoteFile, WhatAnotherProgramHasWrittenIsNotReplaced) {
  for (const char* const first : {"one\n", ""}) {
    Note note;
    ASSERT_EQ(note.Load(Put(first)), "");
    Put("of another\n");
    note.text = "mine\n";
    EXPECT_THAT(note.Save(), HasSubstr("Another program has changed the file"));
    EXPECT_EQ(ReadWholeFile(m_path), "of another\n");
    std::filesystem::remove(m_path);
    EXPECT_EQ(note.Save(), "");
    EXPECT_EQ(ReadWholeFile(m_path), "mine\n");
    note.text += "more\n";
    EXPECT_EQ(note.Save(), "");  // Our own writing is no change of another's.
  }
}

TEST_F(NoteFile, OnlyPlainFilesAreOpened) {
  Note note;
  EXPECT_EQ(note.Load(m_files / "missing"), "No such file or directory.");
  EXPECT_EQ(note.Load(m_files.Path()), "Is a directory.");
  EXPECT_EQ(note.Load("/dev/zero"), "It is not a plain file.");
  const std::string pipe = m_files / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(note.Load(pipe), "It is not a plain file.");
  EXPECT_EQ(note.path, "");
}

TEST_F(NoteFile, AFailedSaveTellsTheSystemsReasonAndLeavesTheFile) {
  const std::string before = std::string(1000, 'a') + "\n";
  Note note;
  ASSERT_EQ(note.Load(Put(before)), "");
  note.text += std::string(100'000, 'b');

  rlimit old;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  const rlimit small = {10'000, old.rlim_max};
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string reason = note.Save();
  const std::string newReason = note.SaveAs(m_files / "new.txt");
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, oldHandler);

  EXPECT_EQ(reason, "File too large.");
  EXPECT_EQ(newReason, "File too large.");
  EXPECT_EQ(ReadWholeFile(m_path), before);
  EXPECT_FALSE(std::filesystem::exists(m_files / "new.txt"));
  EXPECT_EQ(note.path, m_path);
  EXPECT_EQ(note.Save(), "");

  std::filesystem::remove_all(m_files.Path());
  EXPECT_EQ(note.Save(), "No such file or directory.");
}

TEST_F(NoteFile, AFolderThatMayNotBeWrittenIsTheReason) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may write anywhere";
  Note note;
  ASSERT_EQ(note.Load(Put("one\n")), "");
  std::filesystem::permissions(m_files.Path(), std::filesystem::perms(0500));
  EXPECT_EQ(note.Save(), "Permission denied.");
  std::filesystem::permissions(m_files.Path(), std::filesystem::perms(0700));
}

}  // namespace
