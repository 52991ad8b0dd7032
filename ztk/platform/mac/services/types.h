#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

// What the system services of this platform have in common: results, names, references to files,
// and handles that are counted.
//
// The services are an interface, hosted here on Linux: files are the files of the host, volumes its
// mounted file systems. Their names are the system's own, so they live in a namespace of their own
// and are hidden in the library: nothing meets a real system's. None of them throws; what has no
// memory to go on fails.
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

/// What the counted objects have in common. They are made with a count of one by the functions
/// whose names say Create or Copy, and whoever calls those releases the object. Counts may be added
/// and taken back from any thread.
class CFObject {
 public:
  CFObject() noexcept;
  virtual ~CFObject();
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;

 private:
  friend const CFObject* CFRetain(const CFObject* object) noexcept;
  friend void CFRelease(const CFObject* object) noexcept;
  friend bool CFRetainAlive(const CFObject* object) noexcept;

  mutable std::atomic<long> m_count = 1;
};

using CFTypeRef = const CFObject*;
using CFIndex = long;

struct CFAllocator;
using CFAllocatorRef = const CFAllocator*;
constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

/// Adds one to the count, and gives the object.
CFTypeRef CFRetain(CFTypeRef object) noexcept;
/// Takes one from the count; at zero the object goes. Nothing happens to null.
void CFRelease(CFTypeRef object) noexcept;

/// Adds one to the count unless it is zero already, and the object on its way out: for tables that
/// objects leave in their destructors. The table's lock is held.
bool CFRetainAlive(CFTypeRef object) noexcept;

/// How many counted objects there are in this process, so that a test can tell that none is left.
long CFCountObjects() noexcept;

struct CFReleaser {
  void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};
/// Holds one count of an object, for the length of a scope.
template <class Object>
using CFOwned = std::unique_ptr<Object, CFReleaser>;

}  // namespace ztk_mac_services
