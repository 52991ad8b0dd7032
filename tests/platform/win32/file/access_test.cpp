// Who may do what with a file that is replaced.

#include <gtest/gtest.h>
#include <windows.h>
// Behind it.
#include <aclapi.h>
#include <sddl.h>

#include <iterator>
#include <string>
#include <vector>

#include "tests/support/faulty_calls.h"
#include "tests/support/imports_win32.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

// What the system keeps of a list: Wine only as much as modes of Unix can say. A list in the
// system's own notation: "P" for protected; of each entry the kind, the flags, the rights, and
// whose they are. SY is the system, BA the administrators, WD everybody, AU whoever has logged in.
struct List {
  const char* name;
  const char* text;
};
constexpr List kLists[] = {
    {"protected, one entry", "D:P(A;;FA;;;WD)"},
    {"protected, several", "D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;FA;;;WD)"},
    {"of its own beside those of the folder", "D:(A;;FA;;;WD)(A;;0x1200a9;;;AU)"},
};

void SetList(const std::string& path, const char* text) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_NE(ConvertStringSecurityDescriptorToSecurityDescriptorA(text, SDDL_REVISION_1, &descriptor,
                                                                 nullptr),
            0);
  EXPECT_NE(SetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, descriptor), 0);
  LocalFree(descriptor);
}

// The list of a file in the same notation, without the entries that come from its folder.
struct Access {
  bool isProtected = false;
  std::vector<std::string> own;
  size_t inherited = 0;
};

Access AccessOf(const std::string& path) {
  Access access;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  PACL list = nullptr;
  EXPECT_EQ(GetNamedSecurityInfoA(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &list, nullptr, &descriptor),
            DWORD{ERROR_SUCCESS});
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  EXPECT_NE(GetSecurityDescriptorControl(descriptor, &control, &revision), 0);
  access.isProtected = (control & SE_DACL_PROTECTED) != 0;
  for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    void* entry = nullptr;
    EXPECT_NE(GetAce(list, i, &entry), 0);
    const auto* const header = static_cast<const ACE_HEADER*>(entry);
    if ((header->AceFlags & INHERITED_ACE) != 0) {
      ++access.inherited;
    } else {
      access.own.emplace_back(static_cast<const char*>(entry), header->AceSize);
    }
  }
  LocalFree(descriptor);
  return access;
}

constexpr unsigned int kWays[] = {0, TEMP_ONE_STEP, TEMP_UNNAMED, TEMP_EXACT_PATH};

TEST(Win32Access, ACommitKeepsTheListOfItsTarget) {
  for (const List& list : kLists) {
    for (const unsigned int way : kWays) {
      SCOPED_TRACE(testing::Message() << list.name << ' ' << way);
      TempDir dir;
      const std::string path = dir / "file.txt";
      WriteWholeFile(path, "old");
      SetList(path, list.text);
      const Access before = AccessOf(path);
      ASSERT_FALSE(before.own.empty());
      ZTKTempFile file(path.c_str(), way);
      ASSERT_EQ(file.GetFile().Write("new", 3), 3u);
      const Access meanwhile = AccessOf(file.GetTempPath().c_str());
      EXPECT_TRUE(file.Commit());
      EXPECT_EQ(ReadWholeFile(path), "new");
      for (const Access& access : {meanwhile, AccessOf(path)}) {
        EXPECT_EQ(access.own, before.own);
        EXPECT_EQ(access.isProtected, before.isProtected);
        EXPECT_EQ(access.inherited, before.inherited);
      }
    }
  }
}

// Where the target has what its folder gives, so has its new version: nothing of it becomes the
// file's own, which the folder could change no more.
TEST(Win32Access, WhatComesFromTheFolderIsNotTakenForTheFilesOwn) {
  for (const unsigned int way : kWays) {
    TempDir dir;
    const std::string path = dir / "file.txt";
    WriteWholeFile(path, "old");
    WriteWholeFile(dir / "other.txt", "");
    const Access usual = AccessOf(dir / "other.txt");
    ZTKTempFile file(path.c_str(), way);
    ASSERT_EQ(file.GetFile().Write("new", 3), 3u);
    EXPECT_TRUE(file.Commit());
    const Access after = AccessOf(path);
    EXPECT_EQ(after.own, usual.own);
    EXPECT_EQ(after.isProtected, usual.isProtected);
    EXPECT_EQ(after.inherited, usual.inherited);
  }
}

// What is asked of the system for each list, whether or not it can keep that.

const char* s_given = nullptr;
struct Asked {
  bool isAsked = false;
  SECURITY_INFORMATION what = 0;
  bool hasList = false;
  std::vector<std::string> entries;
};
Asked s_asked;
decltype(&GetSecurityInfo) s_get = nullptr;
decltype(&SetSecurityInfo) s_set = nullptr;

std::vector<std::string> EntriesOf(PACL list) {
  std::vector<std::string> entries;
  for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    void* entry = nullptr;
    EXPECT_NE(GetAce(list, i, &entry), 0);
    entries.emplace_back(static_cast<const char*>(entry),
                         static_cast<const ACE_HEADER*>(entry)->AceSize);
  }
  return entries;
}

PSECURITY_DESCRIPTOR DescriptorOf(const char* pszText, PACL& list) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  BOOL isThere = FALSE;
  BOOL isDefault = FALSE;
  EXPECT_NE(ConvertStringSecurityDescriptorToSecurityDescriptorA(pszText, SDDL_REVISION_1,
                                                                 &descriptor, nullptr),
            0);
  list = nullptr;
  EXPECT_NE(GetSecurityDescriptorDacl(descriptor, &isThere, &list, &isDefault), 0);
  return descriptor;
}

DWORD WINAPI Get(HANDLE hFile, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID* pOwner,
                 PSID* pGroup, PACL* pList, PACL* pAudit, PSECURITY_DESCRIPTOR* pDescriptor) {
  if (s_given == nullptr) {
    return s_get(hFile, type, what, pOwner, pGroup, pList, pAudit, pDescriptor);
  }
  *pDescriptor = DescriptorOf(s_given, *pList);
  return ERROR_SUCCESS;
}

DWORD WINAPI Set(HANDLE hFile, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID pOwner,
                 PSID pGroup, PACL list, PACL pAudit) {
  if (s_given == nullptr) return s_set(hFile, type, what, pOwner, pGroup, list, pAudit);
  s_asked = {true, what, list != nullptr, EntriesOf(list)};
  return ERROR_SUCCESS;
}

// What the library asks for when the target has this list.
Asked AskedFor(const char* pszList) {
  const imports::Replacement calls[] = {imports::Replace("GetSecurityInfo", &Get, &s_get),
                                        imports::Replace("SetSecurityInfo", &Set, &s_set)};
  imports::ReplaceIn(imports::LibraryModule(), calls, std::size(calls));
  TempDir dir;
  WriteWholeFile(dir / "file.txt", "old");
  ZTKTempFile file((dir / "file.txt").c_str());
  s_asked = Asked();
  s_given = pszList;
  EXPECT_TRUE(file.XPChangePermissions());
  s_given = nullptr;
  return s_asked;
}

TEST(Win32Access, TheEntriesOfTheFileItselfAreCopiedInTheirOrder) {
  // AI: the folder has handed on its entries; ID: such an entry.
  struct {
    const char* given;
    const char* copied;  // Null where nothing has to be done.
  } const rows[] = {
      {"D:AI(A;ID;FA;;;SY)(A;ID;FA;;;BA)", nullptr},
      {"D:AI(A;;FR;;;WD)(A;ID;FA;;;SY)", "D:(A;;FR;;;WD)"},
      {"D:AI(D;;FW;;;WD)(A;;FA;;;BA)(A;ID;FA;;;SY)(A;ID;FR;;;WD)", "D:(D;;FW;;;WD)(A;;FA;;;BA)"},
      {"D:P(A;;FA;;;BA)", "D:P(A;;FA;;;BA)"},
      {"D:P(D;;FW;;;AU)(A;;FA;;;SY)(A;;FR;;;WD)", "D:P(D;;FW;;;AU)(A;;FA;;;SY)(A;;FR;;;WD)"},
      {"D:P", "D:P"},  // Nobody.
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.given);
    const Asked asked = AskedFor(row.given);
    EXPECT_EQ(asked.isAsked, row.copied != nullptr);
    if (row.copied == nullptr) continue;
    const bool isProtected = std::string(row.copied).rfind("D:P", 0) == 0;
    EXPECT_EQ(asked.what, DWORD{DACL_SECURITY_INFORMATION} |
                              (isProtected ? DWORD{PROTECTED_DACL_SECURITY_INFORMATION}
                                           : DWORD{UNPROTECTED_DACL_SECURITY_INFORMATION}));
    EXPECT_TRUE(asked.hasList) << "none at all would let everybody in";
    PACL list = nullptr;
    const PSECURITY_DESCRIPTOR expected = DescriptorOf(row.copied, list);
    EXPECT_EQ(asked.entries, EntriesOf(list));
    LocalFree(expected);
  }
}

// XPChangePermissions tells; the commit goes on, as where a group may not be given on Unix.
TEST(Win32Access, AListThatIsRefusedIsTold) {
  TempDir dir;
  const std::string path = dir / "file.txt";
  WriteWholeFile(path, "old");
  SetList(path, kLists[0].text);
  ZTKTempFile file(path.c_str());
  EXPECT_TRUE(file.XPChangePermissions());
  for (const char* const call : {"GetSecurityInfo", "SetSecurityInfo"}) {
    faulty_calls::Scope scope;
    scope.FailAt(call, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(file.XPChangePermissions()) << call;
    EXPECT_EQ(scope.Failed(), call);
  }
  for (const int unknown : {ERROR_INVALID_FUNCTION, ERROR_NOT_SUPPORTED}) {
    faulty_calls::Scope scope;
    scope.FailAt("GetSecurityInfo", unknown);
    EXPECT_TRUE(file.XPChangePermissions()) << "a file system without lists";
  }
}

}  // namespace
