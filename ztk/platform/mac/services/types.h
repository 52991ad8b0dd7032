#pragma once

#include <cstddef>
#include <cstdint>

// What the system services of this platform have in common: results, names, references to files,
// and handles. Installed, unlike the services.
//
// The services are an interface, hosted here on Linux: files are the files of the host, volumes its
// mounted file systems. Their names are the system's own, so they live in a namespace of their own
// and are hidden in the library: nothing meets a real system's. None of them throws.
namespace ztk_mac_services {

// Results -----------------------------------------------------------------------------------------

using OSErr = std::int16_t;
using OSStatus = std::int32_t;

constexpr OSErr noErr = 0;
constexpr OSErr ioErr = -36;     ///< The system under the services failed.
constexpr OSErr nsvErr = -35;    ///< No such volume.
constexpr OSErr bdNamErr = -37;  ///< No file or folder can have this name.
constexpr OSErr fnfErr = -43;    ///< No such file; its folder is there.
constexpr OSErr paramErr = -50;  ///< An argument that means nothing.
constexpr OSErr memFullErr = -108;
constexpr OSErr dirNFErr = -120;  ///< No such folder.
constexpr OSErr procNotFound = -600;

// Names -------------------------------------------------------------------------------------------

using Boolean = unsigned char;
using FourCharCode = std::uint32_t;
using OSType = FourCharCode;

/// A length in the first byte, and that many characters.
using Str255 = unsigned char[256];

/// A type written as four characters: `FourChars("temp")`.
constexpr FourCharCode FourChars(const char (&text)[5]) noexcept {
  FourCharCode code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

// Files -------------------------------------------------------------------------------------------

/// The volume that the system was started from, whatever its number.
constexpr short kOnSystemDisk = -32768;

/// The id of every volume's own folder, and of what would be the folder around it.
constexpr long fsRtDirID = 2;
constexpr long fsRtParID = 1;

/// A file by its volume, the id of its folder and its name there. What it names need not exist.
/// Names are as the platform shows them: a '/' belongs to a name, a ':' cannot.
struct FSSpec {
  short vRefNum;
  long parID;
  Str255 name;
};

/// A file that exists, or did when the reference was made. All zeros refer to nothing.
struct FSRef {
  FSSpec place;  // For the services only.
};

// Handles -----------------------------------------------------------------------------------------

// Of these a program sees no more than pointers, which the services give and take.
class CFString;
using CFStringRef = const CFString*;
class NavDialog;
using NavDialogRef = NavDialog*;
// NOLINTNEXTLINE(bugprone-reserved-identifier): the system's own name.
class __CFBundle;
using CFBundleRef = __CFBundle*;

}  // namespace ztk_mac_services
