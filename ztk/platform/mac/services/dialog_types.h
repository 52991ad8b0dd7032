#pragma once

#include "ztk/platform/mac/services/types.h"

// What a running dialog hands to its callbacks: data with its type, events, filters. Installed,
// like types.h.
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

// The events and the controls that exist here.
using NavEventCallbackMessage = std::int32_t;
constexpr NavEventCallbackMessage kNavCBStart = 2;
constexpr NavEventCallbackMessage kNavCBPopupMenuSelect = 8;
using NavCustomControlMessage = std::int32_t;
constexpr NavCustomControlMessage kNavCtlSetLocation = 8;        ///< With an AEDesc.
constexpr NavCustomControlMessage kNavCtlSelectCustomType = 21;  ///< With a NavMenuItemSpec.

/// A filter of the pop-up list. The type is its place there.
struct NavMenuItemSpec {
  OSType menuCreator;
  std::uint32_t menuType;
  Str255 menuItemName;
};

/// What an event procedure is told.
struct NavCBRec {
  NavDialogRef context;
  const NavMenuItemSpec* menuItem;  ///< The chosen filter; null for other events.
};
using NavEventProcPtr = void (*)(NavEventCallbackMessage selector, NavCBRec* pParams,
                                 void* pUserData);

struct NavFileOrFolderInfo {
  Boolean isFolder;
};
using NavFilterModes = short;
constexpr NavFilterModes kNavFilteringBrowserList = 0;
/// Whether an item is shown. The descriptor of an item that has no file is of typeNull.
using NavObjectFilterProcPtr = Boolean (*)(AEDesc* pItem, void* pInfo, void* pUserData,
                                           NavFilterModes mode);

}  // namespace ztk_mac_services
