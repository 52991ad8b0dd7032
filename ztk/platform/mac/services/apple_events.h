#pragma once

#include "ztk/platform/mac/services/dialog_types.h"

namespace ztk_mac_services {

/// A list of one descriptor at most: no service gives more.
struct AEDescList {
  long count;
  AEDesc item;
};

/// Copies `nSize` bytes. paramErr, and nothing is written, for more than kMaxSize.
OSErr AECreateDesc(DescType type, const void* pData, Size nSize, AEDesc* pDesc) noexcept;

/// Gives the data of item `nIndex`, counted from 1, of which at most `nMaxSize` bytes are written.
/// It must be of the wanted type, or that be typeWildCard. What is null is not wanted.
OSErr AEGetNthPtr(const AEDescList* pList, long nIndex, DescType wanted, AEKeyword* pKeyword,
                  DescType* pType, void* pData, Size nMaxSize, Size* pSize) noexcept;

}  // namespace ztk_mac_services
