// What the services answer to arguments that mean nothing, and how they count what they hold.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/platform/mac/failing_calls.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"
#include "tests/system/scripted_dialog.h"
#include "ztk/platform/mac/services/apple_events.h"
#include "ztk/platform/mac/services/arrays.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/navigation.h"

using namespace ztk_mac_services;

TEST(AEDescMac, HoldsACopyOfItsData) {
  char data[] = "text";
  AEDesc desc = {};
  ASSERT_EQ(AECreateDesc(FourChars("TEXT"), data, 4, &desc), noErr);
  std::memset(data, 'x', 4);
  EXPECT_EQ(desc.descriptorType, FourChars("TEXT"));
  EXPECT_EQ(desc.dataSize, 4);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(desc.data), 4), "text");
  ASSERT_EQ(AECreateDesc(typeNull, nullptr, 0, &desc), noErr);
  EXPECT_EQ(desc.dataSize, 0);
}

TEST(AEDescMac, HoldsNoMoreThanAReference) {
  const std::string data(sizeof(FSRef) + 1, 'x');
  AEDesc desc = {};
  EXPECT_EQ(AECreateDesc(typeFSRef, data.data(), AEDesc::kMaxSize, &desc), noErr);
  desc = {};
  EXPECT_EQ(AECreateDesc(typeFSRef, data.data(), AEDesc::kMaxSize + 1, &desc), paramErr);
  EXPECT_EQ(AECreateDesc(typeFSRef, data.data(), -1, &desc), paramErr);
  EXPECT_EQ(AECreateDesc(typeFSRef, nullptr, 1, &desc), paramErr);
  EXPECT_EQ(AECreateDesc(typeFSRef, data.data(), 1, nullptr), paramErr);
  EXPECT_EQ(desc.descriptorType, 0u);
}

TEST(AEDescListMac, GivesAnItemByItsNumber) {
  AEDescList list = {1, {}};
  ASSERT_EQ(AECreateDesc(FourChars("TEXT"), "text", 4, &list.item), noErr);
  char data[8] = {};
  AEKeyword keyword = 0;
  DescType type = 0;
  Size size = 0;
  EXPECT_EQ(AEGetNthPtr(&list, 1, FourChars("TEXT"), &keyword, &type, data, 8, &size), noErr);
  EXPECT_STREQ(data, "text");
  EXPECT_EQ(keyword, typeWildCard);
  EXPECT_EQ(type, FourChars("TEXT"));
  EXPECT_EQ(size, 4);

  std::memset(data, 0, sizeof data);
  EXPECT_EQ(AEGetNthPtr(&list, 1, typeWildCard, nullptr, nullptr, data, 2, nullptr), noErr);
  EXPECT_STREQ(data, "te");
  EXPECT_EQ(AEGetNthPtr(&list, 1, typeWildCard, nullptr, nullptr, nullptr, 0, &size), noErr);
}

TEST(AEDescListMac, RefusesWhatItDoesNotHold) {
  AEDescList list = {1, {}};
  ASSERT_EQ(AECreateDesc(FourChars("TEXT"), "text", 4, &list.item), noErr);
  FSRef ref = {};
  const auto get = [&](const AEDescList* pList, long index, DescType wanted, Size max) {
    return AEGetNthPtr(pList, index, wanted, nullptr, nullptr, &ref, max, nullptr);
  };
  EXPECT_EQ(get(&list, 0, typeWildCard, 4), errAEDescNotFound);
  EXPECT_EQ(get(&list, 2, typeWildCard, 4), errAEDescNotFound);
  EXPECT_EQ(get(&list, 1, typeFSRef, 4), errAECoercionFail);
  EXPECT_EQ(get(&list, 1, typeWildCard, -1), paramErr);
  EXPECT_EQ(get(nullptr, 1, typeWildCard, 4), paramErr);
  Faults::FailCall(1);
  EXPECT_EQ(get(&list, 1, typeWildCard, 4), memFullErr);
  Faults::FailCall(0);
}

TEST(CFArrayMac, HoldsACountOfEachItem) {
  const long objects = CFCountObjects();
  const CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr);
  const CFStringRef text = CreateString("a text");
  CFArrayAppendValue(array, text);
  CFArrayAppendValue(array, text);
  CFRelease(text);
  EXPECT_EQ(CFArrayGetCount(array), 2);
  EXPECT_EQ(ToUtf8(static_cast<CFStringRef>(array->Items()[1])), "a text");
  EXPECT_EQ(CFCountObjects(), objects + 2);
  CFRelease(array);
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST(CFArrayMac, StaysAsItIsWhenNothingCanBeAdded) {
  const CFOwned<CFArray> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
  const CFOwned<const CFString> text(CreateString("a text"));
  CFArrayAppendValue(array.get(), nullptr);
  CFArrayAppendValue(nullptr, text.get());
  Faults::FailCall(1);
  CFArrayAppendValue(array.get(), text.get());
  Faults::FailCall(1);
  EXPECT_EQ(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr), nullptr);
  Faults::FailCall(0);
  if (failing_allocator::Available()) {
    const failing_allocator::Scope scope(0);
    CFArrayAppendValue(array.get(), text.get());
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_EQ(CFArrayGetCount(array.get()), 0);
  EXPECT_EQ(CFArrayGetCount(nullptr), 0);
}

namespace {

NavDialogCreationOptions Options() {
  NavDialogCreationOptions options = {};
  EXPECT_EQ(NavGetDefaultDialogCreationOptions(&options), noErr);
  return options;
}

NavDialogRef PutDialog() {
  const NavDialogCreationOptions options = Options();
  NavDialogRef dialog = nullptr;
  EXPECT_EQ(NavCreatePutFileDialog(&options, typeWildCard, typeWildCard, nullptr, nullptr, &dialog),
            noErr);
  return dialog;
}

}  // namespace

TEST(NavDialogMac, IsNotMadeForSeveralFilesOrOfNothing) {
  NavDialogCreationOptions options = Options();
  NavDialogRef dialog = nullptr;
  const auto make = [&](const NavDialogCreationOptions* pOptions, NavDialogRef* pDialog) {
    return NavCreateGetFileDialog(pOptions, nullptr, nullptr, nullptr, nullptr, nullptr, pDialog);
  };
  EXPECT_EQ(make(&options, &dialog), paramErr);  // As the default has it.
  options.optionFlags &= ~kNavAllowMultipleFiles;
  EXPECT_EQ(make(nullptr, &dialog), paramErr);
  EXPECT_EQ(make(&options, nullptr), paramErr);
  EXPECT_EQ(NavCreateGetFileDialog(&options, "", nullptr, nullptr, nullptr, nullptr, &dialog),
            paramErr);
  EXPECT_EQ(NavCreateGetFileDialog(&options, nullptr, nullptr, "", nullptr, nullptr, &dialog),
            paramErr);
  EXPECT_EQ(dialog, nullptr);
  EXPECT_EQ(make(&options, &dialog), noErr);
  NavDialogDispose(dialog);
  EXPECT_EQ(NavGetDefaultDialogCreationOptions(nullptr), paramErr);
}

TEST(NavDialogMac, KeepsASaveName) {
  const long objects = CFCountObjects();
  const NavDialogRef dialog = PutDialog();
  EXPECT_EQ(NavDialogGetSaveFileName(dialog), nullptr);
  {
    const CFOwned<const CFString> name(CreateString("a name"));
    EXPECT_EQ(NavDialogSetSaveFileName(dialog, name.get()), noErr);
    EXPECT_EQ(NavDialogSetSaveFileName(dialog, name.get()), noErr);  // The same once more.
  }
  EXPECT_EQ(ToUtf8(NavDialogGetSaveFileName(dialog)), "a name");
  EXPECT_EQ(NavDialogSetSaveFileName(dialog, nullptr), paramErr);
  EXPECT_EQ(ToUtf8(NavDialogGetSaveFileName(dialog)), "a name");
  NavDialogDispose(dialog);
  EXPECT_EQ(CFCountObjects(), objects);
}

TEST(NavDialogMac, RefusesControlsThatMeanNothing) {
  const NavDialogRef dialog = PutDialog();
  AEDesc desc = {};
  NavMenuItemSpec item = {FourChars("ZTKM"), 0, {}};
  EXPECT_EQ(NavCustomControl(dialog, kNavCtlSelectCustomType, &item), paramErr);  // No filters.
  EXPECT_EQ(NavCustomControl(dialog, 99, &item), paramErr);
  EXPECT_EQ(NavCustomControl(dialog, kNavCtlSetLocation, nullptr), paramErr);
  EXPECT_EQ(NavCustomControl(nullptr, kNavCtlSetLocation, &desc), paramErr);
  EXPECT_EQ(NavCustomControl(dialog, kNavCtlSetLocation, &desc), paramErr);  // Of no type.
  desc.descriptorType = typeFSS;
  EXPECT_EQ(NavCustomControl(dialog, kNavCtlSetLocation, &desc), paramErr);  // Of no size.
  const FSSpec nowhere = {};
  ASSERT_EQ(AECreateDesc(typeFSS, &nowhere, sizeof nowhere, &desc), noErr);
  EXPECT_NE(NavCustomControl(dialog, kNavCtlSetLocation, &desc), noErr);
  NavDialogDispose(dialog);
}

TEST(NavDialogMac, GoesToAFolderOrToThatOfAFile) {
  const TempDir temp;
  WriteWholeFile(temp / "file", "");
  std::filesystem::create_directory(temp.Path() / "gone");
  ScriptedBackend backend;
  const NavDialogRef dialog = PutDialog();
  const auto goTo = [&](const std::string& path, DescType type) {
    FSRef ref = {};
    EXPECT_EQ(SpecOfHostPath(path, ref.place), noErr);
    AEDesc desc = {};
    const bool isRef = type == typeFSRef;
    EXPECT_EQ(AECreateDesc(type, isRef ? static_cast<void*>(&ref) : &ref.place,
                           isRef ? sizeof ref : sizeof ref.place, &desc),
              noErr);
    std::filesystem::remove(temp.Path() / "gone/file");
    std::filesystem::remove(temp.Path() / "gone");
    return NavCustomControl(dialog, kNavCtlSetLocation, &desc);
  };
  for (const DescType type : {typeFSRef, typeFSS}) {
    SCOPED_TRACE(type);
    std::filesystem::create_directory(temp.Path() / "gone");
    EXPECT_EQ(goTo(temp.Path(), type), noErr);
    EXPECT_EQ(NavDialogRun(dialog), noErr);
    EXPECT_EQ(backend.directory, temp.Path());

    EXPECT_EQ(goTo("/", type), noErr);
    EXPECT_EQ(goTo(temp / "file", type), noErr);
    EXPECT_EQ(NavDialogRun(dialog), noErr);
    EXPECT_EQ(backend.directory, temp.Path());

    std::filesystem::create_directory(temp.Path() / "gone");
    WriteWholeFile(temp / "gone/file", "");
    EXPECT_NE(goTo(temp / "gone/file", type), noErr);
    EXPECT_EQ(NavDialogRun(dialog), noErr);
    EXPECT_EQ(backend.directory, temp.Path());  // Where it was.
  }
  NavDialogDispose(dialog);
}

TEST(NavDialogMac, HasNoReplyBeforeItHasRun) {
  const NavDialogRef dialog = PutDialog();
  NavReplyRecord reply = {};
  EXPECT_EQ(NavDialogGetReply(dialog, &reply), userCanceledErr);
  EXPECT_EQ(NavDialogGetReply(dialog, nullptr), paramErr);
  EXPECT_EQ(NavDialogGetReply(nullptr, &reply), paramErr);
  EXPECT_EQ(NavDialogRun(nullptr), paramErr);
  EXPECT_EQ(NavDialogGetSaveFileName(nullptr), nullptr);
  EXPECT_EQ(NavDialogSetSaveFileName(nullptr, nullptr), paramErr);
  NavDialogDispose(dialog);
  NavDialogDispose(nullptr);
}
