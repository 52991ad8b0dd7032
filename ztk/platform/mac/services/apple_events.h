#pragma once

#include "ztk/platform/mac/services/types.h"

namespace ztk_mac_services {

using DescType = FourCharCode;
using AEKeyword = FourCharCode;
using Size = long;

constexpr DescType typeNull = FourChars("null");
constexpr DescType typeFSRef = FourChars("fsrf");
constexpr DescType typeFSS = FourChars("fss ");
constexpr DescType typeWildCard = FourChars("****");

constexpr OSErr errAECoercionFail = -1700;
constexpr OSErr errAEDescNotFound = -1701;

/// Data with its type. It holds the data itself, up to a file reference's, and so needs no
/// disposal.
struct AEDesc {
  static constexpr Size kMaxSize = sizeof(FSRef);

  DescType descriptorType;
  Size dataSize;
  alignas(FSRef) unsigned char data[sizeof(FSRef)];
};

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
