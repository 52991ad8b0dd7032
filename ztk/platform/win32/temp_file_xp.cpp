#include "ztk/file/temp_file.h"

#include <aclapi.h>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/platform/win32/file_handle.h"

namespace {

/// What the system allocates for a caller.
class SystemBlock {
 public:
  SystemBlock() noexcept = default;
  ~SystemBlock() { LocalFree(m_block); }
  SystemBlock(const SystemBlock&) = delete;
  SystemBlock& operator=(const SystemBlock&) = delete;
  PSECURITY_DESCRIPTOR* Out() noexcept { return &m_block; }
  PSECURITY_DESCRIPTOR Get() const noexcept { return m_block; }

 private:
  PSECURITY_DESCRIPTOR m_block = nullptr;
};

// The entries of a list that it has of its own; those of its folder come from the folder. Null when
// out of memory, or the list is damaged.
std::unique_ptr<char[]> OwnEntries(const ACL& list, bool& hasAny) noexcept {
  std::unique_ptr<char[]> block(new (std::nothrow) char[list.AclSize]);
  auto* const own = reinterpret_cast<ACL*>(block.get());
  hasAny = false;
  if (block == nullptr || InitializeAcl(own, list.AclSize, list.AclRevision) == 0) return nullptr;
  for (DWORD i = 0; i < list.AceCount; ++i) {
    void* entry = nullptr;
    if (GetAce(const_cast<ACL*>(&list), i, &entry) == 0) return nullptr;
    const auto* const header = static_cast<const ACE_HEADER*>(entry);
    if ((header->AceFlags & INHERITED_ACE) != 0) continue;
    hasAny = true;
    if (AddAce(own, list.AclRevision, MAXDWORD, entry, header->AceSize) == 0) return nullptr;
  }
  return block;
}

// Who may do what. True also where the file system knows no such thing. The right to change that is
// asked for only where there is something to change: on a share not everybody has it.
bool CopyAccess(HANDLE hFrom, const WidePath& to) noexcept {
  SystemBlock descriptor;
  PACL list = nullptr;
  const DWORD error = GetSecurityInfo(hFrom, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                      nullptr, &list, nullptr, descriptor.Out());
  if (error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED) return true;
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (error != ERROR_SUCCESS ||
      GetSecurityDescriptorControl(descriptor.Get(), &control, &revision) == 0) {
    return false;
  }
  const bool isProtected = (control & SE_DACL_PROTECTED) != 0;
  if (list == nullptr && !isProtected) return true;

  bool hasOwn = false;
  std::unique_ptr<char[]> own;
  if (list != nullptr) {
    own = OwnEntries(*list, hasOwn);
    if (own == nullptr) return false;
  }
  if (!hasOwn && !isProtected) return true;  // Its folder says it all.
  const SECURITY_INFORMATION what =
      DACL_SECURITY_INFORMATION |
      (isProtected ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION);
  const FileHandle target =
      OpenExisting(to, READ_CONTROL | WRITE_DAC, FILE_FLAG_OPEN_REPARSE_POINT);
  return target.IsOpen() &&
         SetSecurityInfo(target.Get(), SE_FILE_OBJECT, what, nullptr, nullptr,
                         reinterpret_cast<ACL*>(own.get()), nullptr) == ERROR_SUCCESS;
}

// Whether it is hidden, and so on; not whether it is read-only: it is still to be written.
bool CopyAttributes(HANDLE hFrom, const WidePath& to) noexcept {
  constexpr DWORD kKept =
      FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
  BY_HANDLE_FILE_INFORMATION model;
  PathAttributes own;
  if (GetFileInformationByHandle(hFrom, &model) == 0 || !GetPathAttributes(to, own)) return false;
  const DWORD wanted = (own.attributes & ~kKept) | (model.dwFileAttributes & kKept);
  return wanted == own.attributes || SetFileAttributesW(to.Get(), wanted) != 0;
}

bool CopyAll(HANDLE hFrom, const WidePath& to) noexcept {
  return CopyAccess(hFrom, to) && CopyAttributes(hFrom, to);
}

}  // namespace

// A new target has what its folder gives it.
bool ZTKTempFile::XPChangePermissions() {
  if (!m_file.IsOpen()) return false;
  const WidePath target(m_targetPath.c_str());
  const FileHandle model =
      OpenExisting(target, READ_CONTROL | FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!model.IsOpen()) return IsMissing(GetLastError());
  PathAttributes own;
  if (!GetPathAttributes(target, own)) return false;
  if (own.IsFolder() || own.IsLink()) return true;
  return CopyAll(model.Get(), WidePath(m_tempPath.c_str()));
}

bool XPCopyPermissions(const char* pszFrom, const char* pszTo) noexcept {
  const FileHandle model = OpenExisting(WidePath(pszFrom), READ_CONTROL | FILE_READ_ATTRIBUTES);
  return model.IsOpen() && CopyAll(model.Get(), WidePath(pszTo));
}
