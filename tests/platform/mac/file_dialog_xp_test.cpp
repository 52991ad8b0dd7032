#include "ztk/system/file_dialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/mac/failing_calls.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"
#include "tests/system/scripted_dialog.h"
#include "ztk/platform/mac/file_dialog_callbacks.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/navigation.h"

using namespace ztk_mac_services;

namespace {

using ::testing::ElementsAre;

// The path of a file in colon style.
std::string ColonPath(const std::string& path) {
  std::string colonPath;
  EXPECT_EQ(ColonPathOf(path, colonPath), noErr) << path;
  return colonPath;
}

AEDesc ItemOf(const std::string& path, DescType type) {
  FSRef ref = {};
  SpecOfHostPath(path, ref.place);
  AEDesc item = {};
  const bool isRef = type == typeFSRef;
  EXPECT_EQ(AECreateDesc(type, isRef ? static_cast<void*>(&ref) : &ref.place,
                         isRef ? sizeof ref : sizeof ref.place, &item),
            noErr);
  return item;
}

OpenUserDataRec Record(const char* wildcard, int32_t nFilter = 0) {
  OpenUserDataRec rec;
  ZTKStringArray descriptions;
  ParseExtension(wildcard, descriptions, rec.patterns);
  rec.nFilter = nFilter;
  return rec;
}

}  // namespace

// Strings
// ------------------------------------------------------------------------------------------

TEST(XPCFStringRefToZTKString, PutsAQuestionMarkForWhatIsNoAscii) {
  const struct {
    const char* text;
    const char* converted;
  } rows[] = {
      {"", ""},
      {"plain text", "plain text"},
      {"r\xC3\xA9sum\xC3\xA9", "r?sum?"},
      {"\xE2\x82\xAC 5", "? 5"},
      {"\xF0\x9F\x98\x80", "?"},
      {"?", "?"},
  };
  for (const auto& row : rows) {
    const CFOwned<const CFString> text(CreateString(row.text));
    EXPECT_EQ(XPCFStringRefToZTKString(text.get()).view(), row.converted);
  }
  EXPECT_EQ(XPCFStringRefToZTKString(nullptr).view(), "");
  const CFOwned<const CFString> longText(CreateString(std::string(100'000, 'x')));
  EXPECT_EQ(XPCFStringRefToZTKString(longText.get()).view(), std::string(100'000, 'x'));
}

TEST(XPCFStringRefToZTKString, IsEmptyWhenTheStringGivesNothing) {
  const CFOwned<const CFString> text(CreateString("text"));
  WithEachCallFailing([&](bool fails) {
    EXPECT_EQ(XPCFStringRefToZTKString(text.get()).view(), fails ? "" : "text");
  });
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const failing_allocator::Scope scope(0);
  EXPECT_EQ(XPCFStringRefToZTKString(text.get()).Len(), 0u);
}

// The filter call-back
// -----------------------------------------------------------------------------

TEST(ZTKFilterCallback, ChecksFilesAndShowsAllElse) {
  const TempDir temp;
  WriteWholeFile(temp / "a.c", "");
  WriteWholeFile(temp / "a.TXT", "");
  OpenUserDataRec text = Record("Text|*.txt|");
  OpenUserDataRec none;
  NavFileOrFolderInfo file = {0};
  NavFileOrFolderInfo folder = {1};
  const auto shows = [&](AEDesc item, void* info, OpenUserDataRec& rec, NavFilterModes mode) {
    return ZTKFilterCallback(&item, info, &rec, mode) != 0;
  };
  for (const DescType type : {typeFSRef, typeFSS}) {
    SCOPED_TRACE(type);
    const AEDesc source = ItemOf(temp / "a.c", type);
    const AEDesc note = ItemOf(temp / "a.TXT", type);
    EXPECT_TRUE(shows(note, &file, text, 0));
    EXPECT_FALSE(shows(source, &file, text, 0));
    EXPECT_TRUE(shows(source, &file, none, 0));
    EXPECT_TRUE(shows(source, &folder, text, 0));
    EXPECT_TRUE(shows(source, nullptr, text, 0));
    EXPECT_TRUE(shows(source, &file, text, 1));
    EXPECT_TRUE(shows(source, &file, text, -1));
  }
  AEDesc other = {};
  ASSERT_EQ(AECreateDesc(FourChars("TEXT"), "a.c", 3, &other), noErr);
  EXPECT_TRUE(shows(other, &file, text, 0));
  EXPECT_TRUE(ZTKFilterCallback(nullptr, &file, &text, 0));
  AEDesc broken = ItemOf(temp / "a.c", typeFSRef);
  broken.dataSize = 3;
  EXPECT_TRUE(shows(broken, &file, text, 0));
  EXPECT_TRUE(ZTKFilterCallback(&broken, &file, nullptr, 0));
}

// Its path is longer than a path in a buffer could be, or it is gone.
TEST(ZTKFilterCallback, TreatsAFileAlikeInBothForms) {
  const TempDir temp;
  std::string folder = temp.Path().string();
  while (folder.size() < 1100) folder += '/' + std::string(100, 'd');
  std::filesystem::create_directories(folder);
  OpenUserDataRec text = Record("Text|*.txt|");
  NavFileOrFolderInfo file = {0};
  for (const char* const name : {"a.txt", "a.c", "gone.txt"}) {
    SCOPED_TRACE(name);
    const std::string path = folder + '/' + name;
    WriteWholeFile(path, "");
    AEDesc ref = ItemOf(path, typeFSRef);
    AEDesc spec = ItemOf(path, typeFSS);
    const bool isGone = std::strcmp(name, "gone.txt") == 0;
    if (isGone) std::filesystem::remove(path);
    const bool shown = ZTKFilterCallback(&ref, &file, &text, 0) != 0;
    EXPECT_EQ(shown, std::strcmp(name, "a.txt") == 0);
    EXPECT_EQ(ZTKFilterCallback(&spec, &file, &text, 0) != 0, shown);
  }
}

// A file whose path cannot be had has no extension.
TEST(ZTKFilterCallback, HidesAFileWhosePathCannotBeHad) {
  const TempDir temp;
  WriteWholeFile(temp / "a.txt", "");
  OpenUserDataRec text = Record("Text|*.txt|");
  NavFileOrFolderInfo file = {0};
  for (const DescType type : {typeFSRef, typeFSS}) {
    AEDesc item = ItemOf(temp / "a.txt", type);
    WithEachCallFailing(
        [&](bool fails) { EXPECT_EQ(ZTKFilterCallback(&item, &file, &text, 0) == 0, fails); });
  }
}

// The event call-back, the creation and the run
// ----------------------------------------------------

TEST(ZTKFileDLGMac, CallsComeInTheOrderOfADialog) {
  const TempDir temp;
  for (const char* const name : {"a.txt", "b.c"}) WriteWholeFile(temp / name, "");
  ScriptedBackend backend;
  std::string shown;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    // The start came first: the location and the filter are those of the record.
    EXPECT_EQ(request.pszDirectory, temp.Path());
    EXPECT_EQ(request.nFilter, 1u);
    EXPECT_EQ(request.pfnFilterChosen(request.pContext, 0, ""), nullptr);
    for (const char* const name : {"a.txt", "b.c"}) {
      const std::string path = temp / name;
      shown += request.pfnShowsFile(request.pContext, 0, path.c_str(), 0) != 0 ? '1' : '0';
    }
    return Choose(temp / "a.txt")(request);
  };
  ZTKFileDLG dialog = Dialog(FD_OPEN, "Text|*.txt|C|*.c|", "", ColonPath(temp.Path()).c_str());
  dialog.SetFilterIndex(1);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(shown, "10");
  EXPECT_EQ(dialog.GetPath().view(), ColonPath(temp / "a.txt"));
  EXPECT_EQ(dialog.GetDirectory().view(), ColonPath(temp.Path()));
  EXPECT_EQ(dialog.GetFilename().view(), "a.txt");
  EXPECT_EQ(dialog.GetFilterIndex(), 0);
}

TEST(ZTKFileDLGMac, TheSavePathIsTheFolderAColonAndTheName) {
  const TempDir temp;
  ScriptedBackend backend;
  backend.script = Choose(temp / "new.txt");
  ZTKFileDLG dialog = Dialog(FD_SAVE);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetPath().view(), ColonPath(temp.Path()) + ":new.txt");
  EXPECT_EQ(HostPath(dialog.GetPath()), temp / "new.txt");

  // The path of a volume ends in a ':' itself, and another one follows.
  backend.script = Choose("/no-such-file-of-a-test");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(dialog.GetPath().view(), "System::no-such-file-of-a-test");
}

TEST(ZTKFileDLGMac, SlashesAndColonsChangePlacesInNames) {
  const TempDir temp;
  ScriptedBackend backend;
  std::string renamed;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    EXPECT_STREQ(request.pszFileName, "1:2.x");
    const char* const name = request.pfnFilterChosen(request.pContext, 0, "3:4.x");
    renamed = name != nullptr ? name : "(stays)";
    return Choose(temp / "5:6.txt")(request);
  };
  ZTKFileDLG dialog = Dialog(FD_SAVE, "Text|*.txt|", "", "", "1/2.x");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(renamed, "3:4.txt");
  EXPECT_EQ(dialog.GetPath().view(), ColonPath(temp.Path()) + ":5/6.txt");
  EXPECT_EQ(dialog.GetFilename().view(), "5/6.txt");
}

TEST(ZTKFileDLGMac, TextsAreInAscii) {
  const TempDir temp;
  ScriptedBackend backend;
  std::string renamed;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    renamed = request.pfnFilterChosen(request.pContext, 0, "r\xC3\xA9sum\xC3\xA9");
    return Choose(temp / "\xC3\xBC.txt")(request);
  };
  ZTKFileDLG dialog = Dialog(FD_SAVE, "T\xC3\xA9xt|*.txt|All|*.*|", "\xE2\x82\xAC", "", "\xC3\xB6");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(backend.title, "?");
  EXPECT_EQ(backend.fileName, "?");
  EXPECT_THAT(backend.descriptions, ElementsAre("T?xt", "All"));
  EXPECT_EQ(renamed, "r?sum?.txt");
  EXPECT_EQ(dialog.GetPath().view(), ColonPath(temp.Path()) + ":?.txt");
}

TEST(ZTKFileDLGMac, BeginsWhereTheDirectoryIsAndAnywhereWithoutOne) {
  const TempDir temp;
  std::filesystem::create_directory(temp.Path() / "sub");
  WriteWholeFile(temp / "sub/file", "");
  const ScopedWorkingDirectory here(temp.Path());
  const struct {
    std::string directory;
    std::string begins;
  } rows[] = {
      {"", ""},
      {ColonPath(temp / "sub"), temp / "sub"},
      {ColonPath(temp / "sub") + ":", temp / "sub"},
      {temp / "sub", temp / "sub"},
      {"sub", temp / "sub"},
      {":sub", temp / "sub"},
      {ColonPath(temp / "sub/file"), temp / "sub"},  // Where the file is.
      {"System:", "/"},
      {"/", "/"},
      {"System:no:such:folder", ""},
      {"Nowhere:sub", temp / "sub"},  // What is left of an unknown volume.
      {"Nowhere:", ""},
      {std::string(3000, 'x'), ""},
      {std::string(2000, ':'), "/"},  // Of no volume, and then nothing but separators.
      {"\xC3\xA9", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.directory.substr(0, 80));
    ScriptedBackend backend;
    EXPECT_EQ(Dialog(FD_OPEN, "", "", row.directory.c_str()).ShowModal(), DLG_CANCEL);
    EXPECT_EQ(backend.runs, 1);
    EXPECT_EQ(backend.directory, row.begins);
  }
}

TEST(ZTKFileDLGMac, WhatLeadsNowhereIsNoChoice) {
  const TempDir temp;
  const ScopedWorkingDirectory here(temp.Path());
  WriteWholeFile(temp / "file", "");
  const std::string open[] = {temp / "missing", temp / "gone/a.txt", "name.only",
                              temp / "file/below", std::string(5000, 'x')};
  const std::string save[] = {temp / "gone/a.txt", temp / "file/below",
                              temp / std::string(300, 'x'), std::string(5000, 'x')};
  ScriptedBackend backend;
  for (const std::string& path : open) {
    SCOPED_TRACE(path.substr(0, 80));
    backend.script = Choose(path);
    ZTKFileDLG dialog = Dialog(FD_OPEN | FD_CHANGE_DIR, "", "", "old", "name");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_EQ(dialog.GetPath().view(), "");
    EXPECT_EQ(dialog.GetDirectory().view(), "old");
    EXPECT_EQ(dialog.GetFilename().view(), "name");
  }
  for (const std::string& path : save) {
    SCOPED_TRACE(path.substr(0, 80));
    backend.script = Choose(path);
    EXPECT_EQ(Dialog(FD_SAVE).ShowModal(), DLG_CANCEL);
  }
  backend.script = Choose("name.only");  // In the working directory.
  ZTKFileDLG dialog = Dialog(FD_SAVE);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(HostPath(dialog.GetPath()), temp / "name.only");
}

TEST(ZTKFileDLGMac, AFileThatWentAwayIsNotShown) {
  const TempDir temp;
  ScriptedBackend backend;
  int shown = -1;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    shown = request.pfnShowsFile(request.pContext, 0, (temp / "gone.txt").c_str(), 0);
    return 0;
  };
  Dialog(FD_OPEN, "Text|*.txt|").ShowModal();
  EXPECT_EQ(shown, 0);
}

TEST(ZTKFileDLGMac, LongTextsComeThrough) {
  const TempDir temp;
  const std::string description(300, 'd');
  ScriptedBackend backend;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    request.pfnFilterChosen(request.pContext, 0, std::string(400, 'n').c_str());
    return 0;
  };
  ZTKFileDLG dialog = Dialog(FD_SAVE, (description + "|*.txt|").c_str(),
                             std::string(1000, 't').c_str(), "", std::string(1000, 'f').c_str());
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_THAT(backend.descriptions, ElementsAre(description));
  EXPECT_EQ(backend.title, std::string(1000, 't'));
  EXPECT_EQ(backend.fileName, std::string(1000, 'f'));
}

TEST(ZTKFileDLGMac, SplitFullPathTakesAColonPathApart) {
  struct {
    const char* path;
    const char* directory;
    const char* name;
  } const rows[] = {
      {"System:a:b:c.d", "System:a:b", "c.d"},
      {"System:a:c", "System:a", "c"},
      {"System:c.d", "System", "c.d"},
      {":c.d", "", "c.d"},
      {"c.d", "", "c.d"},
      {"", "", ""},
      {"System:a.b:c", "System:a.b", "c"},
      {"System:a:", "System:a", ""},
      {"System:a:c.", "System:a", "c"},
      {"System::c.d", "System:", "c.d"},
      {".profile", "", ".profile"},
      {"System:.profile", "System", ".profile"},
      {"System:a:b/c.d", "System:a", "b/c.d"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ZTKFileDLG dialog = Dialog(FD_OPEN, "", "", "dir", "name");
    dialog.SplitFullPath(row.path);
    EXPECT_EQ(dialog.GetDirectory().view(), row.directory);
    EXPECT_EQ(dialog.GetFilename().view(), row.name);
  }
}

// Every failure
// ------------------------------------------------------------------------------------

namespace {

// A whole dialog: every call of the services comes at least once.
auto WholeDialog(const TempDir& temp) {
  return [&temp](const ZTKFileDialogRequest& request) {
    request.pfnFilterChosen(request.pContext, 1, "name.x");
    for (const unsigned long filter : {0UL, 1UL}) {
      request.pfnShowsFile(request.pContext, filter, (temp / "a.txt").c_str(), 0);
    }
    return Choose(temp / "a.txt")(request);
  };
}

}  // namespace

TEST(ZTKFileDLGMac, EveryFailingCallCancelsOrLeavesOutOneThing) {
  const TempDir temp;
  WriteWholeFile(temp / "a.txt", "");
  ScriptedBackend backend;
  backend.script = WholeDialog(temp);
  const std::string path = ColonPath(temp / "a.txt");
  const long objects = CFCountObjects();
  for (const unsigned long style : {FD_OPEN, FD_SAVE}) {
    SCOPED_TRACE(style);
    int cancelled = 0;
    const unsigned long calls = WithEachCallFailing([&](bool fails) {
      ZTKFileDLG dialog = Dialog(style, "C|*.c|Text|*.txt|", "", temp.Path().c_str(), "name.x");
      dialog.SetFilterIndex(0);
      if (dialog.ShowModal() == DLG_OK) {
        EXPECT_EQ(dialog.GetPath().view(), path);
        EXPECT_EQ(dialog.GetFilterIndex(), 1);
      } else {
        EXPECT_TRUE(fails);
        ++cancelled;
        EXPECT_EQ(dialog.GetPath().view(), "");
        EXPECT_EQ(dialog.GetDirectory().view(), temp.Path().string());
        EXPECT_EQ(dialog.GetFilterIndex(), 0);
      }
      EXPECT_EQ(CFCountObjects(), objects);
    });
    EXPECT_GT(calls, 20u);
    // The options, the array, each description twice over, the dialog, its run, the reply and its
    // path: all of these are needed.
    EXPECT_GT(cancelled, 8);
    EXPECT_LT(static_cast<unsigned long>(cancelled), calls);
  }
}

TEST(ZTKFileDLGMac, EveryFailingAllocationLeavesADialogOrNone) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer owns the allocator";
  const TempDir temp;
  WriteWholeFile(temp / "a.txt", "");
  // Made before, so that the script itself asks for nothing.
  static std::string s_path;
  s_path = temp / "a.txt";
  const long objects = CFCountObjects();
  for (const unsigned long style : {FD_OPEN, FD_SAVE}) {
    ScriptedBackend backend;
    const ZTKFileDialogBackend plain = {
        ZTKFileDialogBackend::kVersion, "plain", nullptr, [](const ZTKFileDialogRequest* request) {
          request->pfnFilterChosen(request->pContext, 1, "name.x");
          request->pfnShowsFile(request->pContext, 0, s_path.c_str(), 0);
          request->pfnChosen(request->pContext, s_path.c_str());
          return 1;
        }};
    ZTKSetFileDialogBackend(&plain);
    bool failed = true;
    for (long before = 0; failed; ++before) {
      SCOPED_TRACE(before);
      ZTKFileDLG dialog = Dialog(style, "C|*.c|Text|*.txt|", "", temp.Path().c_str(), "name.x");
      const failing_allocator::Scope scope(before, 1);
      const int result = dialog.ShowModal();
      failed = scope.Failed();
      EXPECT_TRUE(result == DLG_OK || result == DLG_CANCEL);
      EXPECT_TRUE(failed || result == DLG_OK);
      EXPECT_EQ(CFCountObjects(), objects);
      ASSERT_LT(before, 10'000);
    }
  }
}

TEST(ZTKFileDLGMac, TheReplyIsTheOneOfItsDialog) {
  NavDialogCreationOptions options = {};
  ASSERT_EQ(NavGetDefaultDialogCreationOptions(&options), noErr);
  NavDialogRef dialog = nullptr;
  ASSERT_EQ(NavCreatePutFileDialog(&options, typeWildCard, typeWildCard, nullptr, nullptr, &dialog),
            noErr);
  ZTKString path("as it was");
  EXPECT_FALSE(XPGetUserReply(dialog, path, 1));
  EXPECT_FALSE(XPGetUserReply(nullptr, path, 1));
  EXPECT_EQ(path.view(), "as it was");

  // Without call-backs every file is shown, and filters change nothing.
  const TempDir temp;
  ScriptedBackend backend;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    EXPECT_EQ(request.pfnShowsFile(request.pContext, 0, (temp / "x").c_str(), 0), 1);
    EXPECT_EQ(request.pfnFilterChosen(request.pContext, 0, "name"), nullptr);
    return Choose(temp / "x")(request);
  };
  ASSERT_EQ(NavDialogRun(dialog), noErr);
  WithEachCallFailing([&](bool fails) {
    ZTKString reply("as it was");
    EXPECT_EQ(XPGetUserReply(dialog, reply, 1), !fails);
    EXPECT_EQ(reply.view() == "as it was", fails);
  });
  EXPECT_TRUE(XPGetUserReply(dialog, path, 0));
  EXPECT_EQ(path.view(), ColonPath(temp.Path()));

  // A run that is cancelled takes the reply of the one before back.
  backend.script = [](const auto&) { return 0; };
  ASSERT_EQ(NavDialogRun(dialog), noErr);
  EXPECT_FALSE(XPGetUserReply(dialog, path, 1));
  NavDialogDispose(dialog);
}

// An event that means nothing here.
TEST(NavEventProc, KnowsTwoEventsOnly) {
  OpenUserDataRec rec = Record("Text|*.txt|C|*.c|");
  NavMenuItemSpec item = {FourChars("ZTKM"), 1, {}};
  NavCBRec params = {nullptr, &item};
  for (const NavEventCallbackMessage selector : {0, 1, 3, 7, 9, -8, 1000}) {
    NavEventProc(selector, &params, &rec);
    EXPECT_EQ(rec.nFilter, 0) << selector;
  }
  NavEventProc(kNavCBPopupMenuSelect, &params, &rec);
  EXPECT_EQ(rec.nFilter, 1);
  item.menuType = 2;
  NavEventProc(kNavCBPopupMenuSelect, &params, &rec);
  item.menuType = 0xFFFFFFFF;
  NavEventProc(kNavCBPopupMenuSelect, &params, &rec);
  EXPECT_EQ(rec.nFilter, 1);
}
