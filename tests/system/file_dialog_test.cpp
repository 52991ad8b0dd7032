#include "ztk/system/file_dialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/system/scripted_dialog.h"
#include "ztk/system/timer.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ZTKFileDLG, KeepsWhatItIsGiven) {
  int parent = 0;
  const ZTKFileDLG dialog(&parent, FD_OPEN | FD_CHANGE_DIR, "All|*.*|", "Pick one", "/tmp", "a.b");
  EXPECT_EQ(dialog.GetParent(), &parent);
  EXPECT_EQ(dialog.GetStyle(), 0x41u);
  EXPECT_EQ(dialog.GetWildcard().view(), "All|*.*|");
  EXPECT_EQ(dialog.GetTitle().view(), "Pick one");
  EXPECT_EQ(dialog.GetDirectory().view(), "/tmp");
  EXPECT_EQ(dialog.GetFilename().view(), "a.b");
  EXPECT_EQ(dialog.GetPath().view(), "");
  EXPECT_EQ(dialog.GetFilterIndex(), -1);
}

TEST(ZTKFileDLG, HasTheDescribedConstants) {
  EXPECT_EQ(FD_OPEN, 0x01u);
  EXPECT_EQ(FD_SAVE, 0x02u);
  EXPECT_EQ(FD_SAVE_AS, 0x04u);
  EXPECT_EQ(FD_CHANGE_DIR, 0x40u);
  EXPECT_EQ(DLG_OK, 5100);
  EXPECT_EQ(DLG_CANCEL, 5101);
}

TEST(ZTKFileDLG, TakesItsDefaultTitleAndItsKindFromTheStyle) {
  struct {
    unsigned long style;
    const char* title;
    int bSave;
  } const rows[] = {
      {0, "Open file", 1},  // deliberate: a save dialog of that title
      {FD_OPEN, "Open file", 0},
      {FD_SAVE, "Save file", 1},
      {FD_SAVE_AS, "Save as", 1},
      {FD_SAVE | FD_SAVE_AS, "Save file", 1},
      {FD_OPEN | FD_SAVE, "Save file", 0},
      {FD_OPEN | FD_SAVE_AS, "Save as", 0},
      {FD_CHANGE_DIR, "Open file", 1},
      {0xFFFFFFB9, "Open file", 0},  // every other bit means nothing
  };
  ScriptedBackend backend;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.style);
    ZTKFileDLG dialog = Dialog(row.style);
    EXPECT_EQ(dialog.GetTitle().view(), row.title);
    dialog.ShowModal();
    EXPECT_EQ(backend.title, row.title);
    EXPECT_EQ(backend.bSave, row.bSave);
    EXPECT_EQ(Dialog(row.style, "", "Mine").GetTitle().view(), "Mine");
  }
}

TEST(ZTKFileDLG, AsksTheBackEndForWhatItHolds) {
  const TempDir temp;
  ScriptedBackend backend;
  int parent = 0;
  ZTKFileDLG dialog(&parent, FD_SAVE, "Text|*.txt|All|*.*|", "Keep it",
                    temp.Path().string().c_str(), "x.txt");
  dialog.SetFilterIndex(1);
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
  EXPECT_EQ(backend.runs, 1);
  EXPECT_EQ(backend.title, "Keep it");
  EXPECT_EQ(backend.directory, temp.Path());
  EXPECT_EQ(backend.fileName, "x.txt");
  EXPECT_EQ(backend.parent, &parent);
  EXPECT_THAT(backend.descriptions, ElementsAre("Text", "All"));
  EXPECT_EQ(backend.nFilter, 1u);
}

TEST(ZTKFileDLG, AnEmptyWildcardGivesNoFiltersAndShowsEveryFile) {
  const TempDir temp;
  const std::string file = temp / "any.thing";
  WriteWholeFile(file, "");
  ScriptedBackend backend;
  bool shown = false;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    shown = request.pfnShowsFile(request.pContext, 0, file.c_str(), 0) != 0;
    return Choose(file)(request);
  };
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_THAT(backend.descriptions, IsEmpty());
  EXPECT_TRUE(shown);
  EXPECT_EQ(dialog.GetFilterIndex(), -1);  // There was none to choose.
}

TEST(ZTKFileDLG, AFilterIndexOutOfRangeSelectsTheFirst) {
  ScriptedBackend backend;
  for (const int index : {-1, 2, 1000, INT_MAX, INT_MIN}) {
    SCOPED_TRACE(index);
    ZTKFileDLG dialog = Dialog(FD_OPEN, "Text|*.txt|All|*.*|");
    dialog.SetFilterIndex(index);
    dialog.ShowModal();
    EXPECT_EQ(backend.nFilter, 0u);
    EXPECT_EQ(dialog.GetFilterIndex(), index);  // Cancelled, so it stays.
  }
}

TEST(ZTKFileDLG, AChoiceSetsPathDirectoryNameAndFilter) {
  const TempDir temp;
  std::filesystem::create_directory(temp.Path() / "photos");
  const std::string file = temp / "photos/sea.side.JPG";
  WriteWholeFile(file, "");
  ScriptedBackend backend;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    request.pfnFilterChosen(request.pContext, 1, "");
    return Choose(file)(request);
  };
  ZTKFileDLG dialog = Dialog(FD_OPEN, "Text|*.txt|Images|*.jpg|", "", "/elsewhere", "old.name");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(HostPath(dialog.GetPath()), file);
  EXPECT_EQ(HostPath(dialog.GetDirectory()), temp / "photos");
  EXPECT_EQ(dialog.GetFilename().view(), "sea.side.JPG");
  EXPECT_EQ(dialog.GetFilterIndex(), 1);
}

TEST(ZTKFileDLG, CancelAndFailureLeaveEveryField) {
  const std::function<int(const ZTKFileDialogRequest&)> scripts[] = {
      [](const auto&) { return 0; },
      [](const auto& request) { return Choose("/new/path.x")(request) - 1; },  // told, then no
      [](const auto&) { return 1; },  // accepted, but nothing was told
      [](const auto& request) { return Choose("")(request); },
      [](const auto& request) { return Choose("/new/path.x")(request) + 1; },  // an unknown answer
      [](const auto& request) {
        request.pfnFilterChosen(request.pContext, 1, "name");
        return 0;
      },
  };
  TempDir temp;
  const ScopedWorkingDirectory here(temp.Path());
  for (const auto& script : scripts) {
    ScriptedBackend backend;
    backend.script = script;
    ZTKFileDLG dialog = Dialog(FD_SAVE | FD_CHANGE_DIR, "T|*.t|U|*.u|", "Title", "/old", "old.t");
    EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
    EXPECT_EQ(backend.runs, 1);
    EXPECT_EQ(dialog.GetDirectory().view(), "/old");
    EXPECT_EQ(dialog.GetFilename().view(), "old.t");
    EXPECT_EQ(dialog.GetPath().view(), "");
    EXPECT_EQ(dialog.GetFilterIndex(), -1);
    EXPECT_EQ(dialog.GetWildcard().view(), "T|*.t|U|*.u|");
    EXPECT_EQ(std::filesystem::current_path(), temp.Path());
  }
}

TEST(ZTKFileDLG, TheOpenDialogFiltersFilesAndNeverFolders) {
  const TempDir temp;
  for (const char* const name : {"a.TXT", "a.c", "a.txt"}) WriteWholeFile(temp / name, "");
  std::filesystem::create_directory(temp.Path() / "folder.c");
  ScriptedBackend backend;
  std::string seen;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    const auto ask = [&](unsigned long filter, const char* name, int bFolder) {
      const std::string path = temp / (name != nullptr ? name : "");
      seen += request.pfnShowsFile(request.pContext, filter,
                                   name != nullptr ? path.c_str() : nullptr, bFolder) != 0
                  ? '1'
                  : '0';
    };
    ask(0, "a.TXT", 0);
    ask(0, "a.c", 0);
    ask(0, "folder.c", 1);
    ask(0, nullptr, 0);  // An item without a path.
    ask(1, "a.txt", 0);  // Not the selected filter: it decides all the same.
    ask(1, "a.c", 0);
    ask(77, "a.txt", 0);  // Past the end: the first.
    request.pfnFilterChosen(request.pContext, 1, "");
    ask(1, "a.c", 0);
    return Choose(temp / "a.c")(request);
  };
  ZTKFileDLG dialog = Dialog(FD_OPEN, "Text|*.txt|C|*.c|");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_EQ(seen, "10110111");
  EXPECT_EQ(dialog.GetFilterIndex(), 1);
}

TEST(ZTKFileDLG, TheSaveDialogShowsEveryFileAndRenamesByFilter) {
  const TempDir temp;
  ScriptedBackend backend;
  std::vector<std::string> names;
  backend.script = [&](const ZTKFileDialogRequest& request) {
    EXPECT_NE(request.pfnShowsFile(request.pContext, 0, (temp / "a.c").c_str(), 0), 0);
    for (const unsigned long filter : {1UL, 2UL, 0UL, 9UL}) {
      const char* const name = request.pfnFilterChosen(request.pContext, filter, "report.x");
      names.emplace_back(name != nullptr ? name : "(stays)");
    }
    return Choose(temp / "report.md")(request);
  };
  ZTKFileDLG dialog = Dialog(FD_SAVE, "Text|*.txt|Markdown|*.MD|All|*.*|");
  EXPECT_EQ(dialog.ShowModal(), DLG_OK);
  EXPECT_THAT(names, ElementsAre("report.md", "(stays)", "report.txt", "(stays)"));
  EXPECT_EQ(dialog.GetFilterIndex(), 0);
}

TEST(ZTKFileDLG, ChangesTheDirectoryWhenAsked) {
  TempDir temp;
  std::filesystem::create_directory(temp.Path() / "chosen");
  const ScopedWorkingDirectory here(temp.Path());
  ScriptedBackend backend;
  WriteWholeFile(temp / "chosen/a.txt", "");
  backend.script = Choose(temp / "chosen/a.txt");

  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_OK);
  EXPECT_EQ(std::filesystem::current_path(), temp.Path());
  EXPECT_EQ(Dialog(FD_OPEN | FD_CHANGE_DIR).ShowModal(), DLG_OK);
  EXPECT_EQ(std::filesystem::current_path(), temp.Path() / "chosen");
}

TEST(ZTKFileDLG, MayBeChangedWhileItIsOpen) {
  const TempDir temp;
  ScriptedBackend backend;
  ZTKFileDLG dialog = Dialog(FD_SAVE, "Text|*.txt|", "A title that is long enough",
                             temp.Path().string().c_str(), "b");
  backend.script = [&](const ZTKFileDialogRequest& request) {
    dialog.SplitFullPath("/some/other/folder/and-a-name-that-needs-more-room.txt");
    EXPECT_STREQ(request.pszTitle, "A title that is long enough");
    EXPECT_EQ(request.pszDirectory, temp.Path());
    EXPECT_STREQ(request.pszFileName, "b");
    EXPECT_STREQ(request.ppszDescriptions[0], "Text");
    return 0;
  };
  EXPECT_EQ(dialog.ShowModal(), DLG_CANCEL);
}

TEST(ZTKFileDLG, AnotherDialogMayOpenOverIt) {
  const TempDir temp;
  WriteWholeFile(temp / "outer", "");
  WriteWholeFile(temp / "inner", "");
  ScriptedBackend backend;
  ZTKFileDLG outer = Dialog(FD_OPEN);
  ZTKFileDLG inner = Dialog(FD_OPEN);
  backend.script = [&](const ZTKFileDialogRequest& request) {
    const bool isOuter = backend.runs == 1;
    if (isOuter) {
      EXPECT_EQ(inner.ShowModal(), DLG_OK);
    }
    return Choose(temp / (isOuter ? "outer" : "inner"))(request);
  };
  EXPECT_EQ(outer.ShowModal(), DLG_OK);
  EXPECT_EQ(HostPath(inner.GetPath()), temp / "inner");
  EXPECT_EQ(HostPath(outer.GetPath()), temp / "outer");
}

TEST(ZTKFileDLG, HandsTenThousandFiltersOver) {
  std::string wildcard;
  for (int i = 0; i < 10000; ++i) wildcard += "K" + std::to_string(i) + "|*.x|";
  ScriptedBackend backend;
  ZTKFileDLG dialog = Dialog(FD_OPEN, wildcard.c_str());
  dialog.SetFilterIndex(9999);
  dialog.ShowModal();
  ASSERT_EQ(backend.descriptions.size(), 10000u);
  EXPECT_EQ(backend.descriptions.back(), "K9999");
  EXPECT_EQ(backend.nFilter, 9999u);
}

TEST(ZTKFileDLG, GetPathsAndGetFilenamesDoNothing) {
  const TempDir temp;
  WriteWholeFile(temp / "a.c", "");
  ScriptedBackend backend;
  backend.script = Choose(temp / "a.c");
  ZTKFileDLG dialog = Dialog(FD_OPEN);
  ASSERT_EQ(dialog.ShowModal(), DLG_OK);
  ZTKStringArray texts;
  texts.Add("kept", 1);
  dialog.GetPaths(texts);
  dialog.GetFilenames(texts);
  ASSERT_EQ(texts.GetCount(), 1u);
  EXPECT_EQ(texts.Item(0).view(), "kept");
}

TEST(ZTKFileDLG, ASubclassMayShowItsOwn) {
  struct Own : ZTKFileDLG {
    using ZTKFileDLG::ZTKFileDLG;
    int ShowModal() override { return XPShowModal() == DLG_OK ? 1 : 2; }
  };
  const TempDir temp;
  WriteWholeFile(temp / "a.c", "");
  ScriptedBackend backend;
  backend.script = Choose(temp / "a.c");
  Own own(nullptr, FD_OPEN, "", "", "/old", "");
  ZTKFileDLG& dialog = own;
  EXPECT_EQ(dialog.ShowModal(), 1);
  EXPECT_EQ(HostPath(own.GetPath()), temp / "a.c");
  EXPECT_EQ(own.GetDirectory().view(), "/old");  // ShowModal() of the base would have split it.
}

TEST(ZTKFileDLG, TellsTheBackEndOrWhyThereIsNone) {
  ScriptedBackend backend;
  ZTKString text;
  EXPECT_TRUE(ZTKFileDLG::QueryBackEnd(text));
  EXPECT_EQ(text.view(), "scripted");

  backend.whyNot = "the projector is off";
  EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
  EXPECT_EQ(text.view(), "the projector is off");
  backend.script = Choose("/p/a.c");
  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_CANCEL);
  EXPECT_EQ(backend.runs, 0);
}

// Any file that there is.
int ChooseFixed(const ZTKFileDialogRequest* pRequest) {
  return Choose("/proc/self/exe")(*pRequest);
}

TEST(ZTKFileDialogBackend, MayLeaveOutItsReason) {
  const ZTKFileDialogBackend table = {ZTKFileDialogBackend::kVersion, "plain", nullptr,
                                      ChooseFixed};
  ZTKSetFileDialogBackend(&table);
  ZTKString text;
  EXPECT_TRUE(ZTKFileDLG::QueryBackEnd(text));
  EXPECT_EQ(text.view(), "plain");
  EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_OK);
  ZTKSetFileDialogBackend(nullptr);
}

TEST(ZTKFileDialogBackend, OfAnotherVersionOrWithoutRunIsRefused) {
  const ZTKFileDialogBackend tables[] = {
      {ZTKFileDialogBackend::kVersion + 1, "later", nullptr, ChooseFixed},
      {0, "earlier", nullptr, ChooseFixed},
      {ZTKFileDialogBackend::kVersion, "empty", nullptr, nullptr},
  };
  for (const ZTKFileDialogBackend& table : tables) {
    SCOPED_TRACE(table.pszName);
    ZTKSetFileDialogBackend(&table);
    ZTKString text;
    EXPECT_FALSE(ZTKFileDLG::QueryBackEnd(text));
    EXPECT_EQ(text.view(), "the back end was made for another version of the library");
    EXPECT_EQ(Dialog(FD_OPEN).ShowModal(), DLG_CANCEL);
  }
  ZTKSetFileDialogBackend(nullptr);
}

}  // namespace
