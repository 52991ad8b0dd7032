#include "ztk/platform/mac/services/apple_events.h"

#include <algorithm>
#include <cstring>

#include "ztk/platform/mac/services/faults.h"

namespace ztk_mac_services {

OSErr AECreateDesc(DescType type, const void* pData, Size nSize, AEDesc* pDesc) noexcept {
  if (Faults::Hit()) return memFullErr;
  if (pDesc == nullptr || nSize < 0 || nSize > AEDesc::kMaxSize) return paramErr;
  if (pData == nullptr && nSize != 0) return paramErr;
  pDesc->descriptorType = type;
  pDesc->dataSize = nSize;
  if (nSize != 0) std::memcpy(pDesc->data, pData, static_cast<size_t>(nSize));
  return noErr;
}

OSErr AEGetNthPtr(const AEDescList* pList, long nIndex, DescType wanted, AEKeyword* pKeyword,
                  DescType* pType, void* pData, Size nMaxSize, Size* pSize) noexcept {
  if (Faults::Hit()) return memFullErr;
  if (pList == nullptr || nMaxSize < 0) return paramErr;
  if (nIndex < 1 || nIndex > pList->count) return errAEDescNotFound;
  const AEDesc& item = pList->item;
  if (wanted != typeWildCard && wanted != item.descriptorType) return errAECoercionFail;
  if (pKeyword != nullptr) *pKeyword = typeWildCard;  // Items of a list have none.
  if (pType != nullptr) *pType = item.descriptorType;
  if (pSize != nullptr) *pSize = item.dataSize;
  const auto count = static_cast<size_t>(std::min(nMaxSize, item.dataSize));
  if (pData != nullptr && count != 0) std::memcpy(pData, item.data, count);
  return noErr;
}

}  // namespace ztk_mac_services
