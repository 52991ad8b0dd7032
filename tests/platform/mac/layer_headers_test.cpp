// What the installed headers of this layer declare, from a program that links the library as its
// users do: every function is called.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/platform/mac/application_package.h"
#include "ztk/platform/mac/file_dialog_callbacks.h"
#include "ztk/platform/mac/mac_paths.h"
#include "ztk/platform/mac/services/dialog_types.h"
#include "ztk/platform/mac/services/types.h"
#include "ztk/system/module.h"

namespace {

using namespace ztk_mac_services;

constexpr long kSlashes = 0;
constexpr long kColons = 1;

std::string Text(const ZTKString& text) { return std::string(text.view()); }

class LayerHeaders : public testing::Test {
 protected:
  LayerHeaders() { WriteWholeFile(Path(), "x"); }
  std::string Path() const { return m_dir / "a.txt"; }
  std::string ColonPath() const { return NativePath(Path()); }

 private:
  TempDir m_dir;
};

TEST_F(LayerHeaders, PathsGoToFilesAndBack) {
  FSRef ref = {};
  ZTKMacPathToFSRef(ZTKString(ColonPath()), &ref, kColons);
  ZTKString path;
  ZTKMacFSRefToPath(&ref, path, kSlashes);
  EXPECT_EQ(Text(path), Path());

  FSSpec spec = {};
  char name[1024] = "";
  ZTKMacPOSIXFilename2FSSpec(Path().c_str(), &spec);
  ZTKMacFSSpec2HFSFilename(&spec, name, sizeof name);
  EXPECT_EQ(HostPath(name), Path());
  ZTKMacHFSFilename2FSSpec(name, &spec);
  ZTKMacFSSpec2POSIXFilename(&spec, name, sizeof name);
  EXPECT_EQ(name, Path());

  ZTKString folder;
  ZTKMacFindFolder(kOnSystemDisk, FourChars("temp"), 0, folder);
  EXPECT_NE(folder.Len(), 0u);
}

TEST_F(LayerHeaders, APackageIsFoundAndABundleMadeAndGivenBack) {
  short volume = 0;
  long directory = 0;
  EXPECT_EQ(FindApplicationPackageDirectory(&volume, &directory), noErr);
  EXPECT_NE(volume, 0);

  FSSpec spec = {};
  ZTKMacPOSIXFilename2FSSpec(Path().c_str(), &spec);
  __CFBundle* bundle = nullptr;
  ASSERT_EQ(CreateBundleFromFSSpec(&spec, &bundle), noErr);
  ASSERT_NE(bundle, nullptr);
  ZTKModule module;
  module.Attach(bundle);
  EXPECT_EQ(module.GetSymbol("main"), nullptr);  // It is not loaded.
  module.Unload();
}

TEST_F(LayerHeaders, TheCallbacksOfTheDialogAnswer) {
  AEDesc item = {};
  item.descriptorType = typeFSRef;
  item.dataSize = sizeof(FSRef);
  FSRef ref = {};
  ZTKMacPathToFSRef(ZTKString(ColonPath()), &ref, kColons);
  std::memcpy(item.data, &ref, sizeof ref);
  NavFileOrFolderInfo info = {0};
  OpenUserDataRec rec;
  rec.patterns.Add("*.TXT", 1);
  EXPECT_EQ(ZTKFilterCallback(&item, &info, &rec, kNavFilteringBrowserList), 1);
  rec.patterns.Item(0) = "*.C";
  EXPECT_EQ(ZTKFilterCallback(&item, &info, &rec, kNavFilteringBrowserList), 0);

  rec.patterns.Add("*.TXT", 1);
  NavMenuItemSpec second = {FourChars("ZTKM"), 1, {}};
  NavCBRec params = {nullptr, &second};
  NavEventProc(kNavCBPopupMenuSelect, &params, &rec);
  EXPECT_EQ(rec.nFilter, 1);
}

TEST_F(LayerHeaders, HandlesMayBeNull) {
  ZTKString path("kept");
  EXPECT_FALSE(XPGetUserReply(nullptr, path, 0));
  EXPECT_EQ(Text(path), "kept");
  EXPECT_EQ(XPCFStringRefToZTKString(nullptr).Len(), 0u);
}

}  // namespace
