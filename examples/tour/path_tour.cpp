// One path in five syntaxes, split into its parts and joined again.

#include "examples/tour/tour.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"

namespace {

struct Syntax {
  const char* name;
  ZTKPathFormat format;
  const char* path;
  const char* volume;
  const char* dirs;  // Joined with blanks.
  const char* stem;
  const char* ext;
};

constexpr Syntax kNativeSlashes = {
    "native", ZTKPathNative, "/usr/share/doc/read.me", "", "usr share doc", "read", "me"};
constexpr Syntax kNativeColons = {
    "native", ZTKPathNative, "System:usr:share:read.me", "", "System usr share", "read", "me"};
constexpr Syntax kNativeDrives = {
    "native", ZTKPathNative, "C:\\share\\doc\\read.me", "C", "share doc", "read", "me"};

const Syntax& NativeSyntax() {
  if (HasColonPaths()) return kNativeColons;
  return XPGetNativeSeparator() == '/' ? kNativeSlashes : kNativeDrives;
}

constexpr Syntax kSyntaxes[] = {
    {"Unix", ZTKPathUnix, "/usr/share/doc/read.me", "", "usr share doc", "read", "me"},
    {"Mac", ZTKPathMac, ":share:doc:read.me", "", "share doc", "read", "me"},
    {"DOS", ZTKPathDos, "C:\\share\\doc\\read.me", "C", "share doc", "read", "me"},
    {"VMS", ZTKPathVms, "DISK:[SHARE]READ.ME", "DISK", "SHARE", "READ", "ME"},
};

std::string JoinedDirs(const ZTKFileName& name) {
  std::string joined;
  for (const ZTKString& dir : name.GetDirs()) {
    if (!joined.empty()) joined += ' ';
    joined += dir.view();
  }
  return joined;
}

// Takes a path apart, shows its parts and joins them again.
bool ShowSyntax(const Syntax& syntax) {
  const ZTKFileName name(syntax.path, syntax.format);
  Say("%s: %s", syntax.name, syntax.path);
  Say("  volume \"%s\", folders \"%s\", name \"%s\", extension \"%s\", %s",
      name.GetVolume().c_str(), JoinedDirs(name).c_str(), name.GetName().c_str(),
      name.GetExt().c_str(), name.IsRelative() ? "relative" : "from a root");
  const bool ok = name.GetVolume().view() == syntax.volume && JoinedDirs(name) == syntax.dirs &&
                  name.GetName().view() == syntax.stem && name.GetExt().view() == syntax.ext;
  return Expect("joined again", name.GetFullPath(syntax.format).view(), syntax.path) && ok;
}

}  // namespace

bool PathTour() {
  Title("Paths: one name, five syntaxes");

  bool ok = ShowSyntax(NativeSyntax());
  for (const Syntax& syntax : kSyntaxes) ok = ShowSyntax(syntax) && ok;

  ZTKFileName moved("/srv/music/./song.ogg", ZTKPathUnix);
  ok = Expect("normalising drops the dot", moved.XPNormalize(ZTKNormDots, "", ZTKPathUnix)) && ok;
  ok = Expect("and leaves", moved.GetFullPath(ZTKPathUnix).view(), "/srv/music/song.ogg") && ok;
  ok = Expect("the same in DOS syntax", moved.GetFullPath(ZTKPathDos).view(),
              "\\srv\\music\\song.ogg") &&
       ok;
  return ok;
}
