// ztk path split|convert|normalise: paths in one syntax, taken apart and written in another.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>

#include "tools/ztk/commands.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/input.h"
#include "tools/ztk/json.h"
#include "ztk/filesystem.h"

namespace {

const std::map<std::string, ZTKPathFormat> kFormats = {{"native", ZTKPathNative},
                                                       {"unix", ZTKPathUnix},
                                                       {"mac", ZTKPathMac},
                                                       {"dos", ZTKPathDos},
                                                       {"vms", ZTKPathVms}};

struct PathOptions {
  std::vector<std::string> paths;
  ZTKPathFormat from = ZTKPathNative;
  ZTKPathFormat to = ZTKPathNative;
  std::string cwd;
  bool isLiteral = false;
  bool dropCase = false;
  bool followLinks = false;
  bool asJson = false;
};

void AddPaths(CLI::App& command, PathOptions& options) {
  command.add_option("PATH", options.paths, "Paths; - reads them from standard input, one a line")
      ->required();
}

void AddFormat(CLI::App& command, const char* pszName, ZTKPathFormat& format) {
  command.add_option(pszName, format, "unix, mac, dos, vms or native (default)")
      ->type_name("SYNTAX")
      ->transform(CLI::CheckedTransformer(kFormats).description(""));
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

void ForEachPath(const std::vector<std::string>& paths,
                 const std::function<void(const std::string&)>& visit) {
  ForEachName(paths, [&visit](const std::string& path) {
    if (IsDash(path)) {
      ForEachName(LinesOf(Input(path).ReadAll()), visit);
    } else {
      visit(path);
    }
  });
}

Json ToJson(const std::string& path, const ZTKFileName& name, ZTKPathFormat format) {
  Json folders = Json::array();
  for (const ZTKString& dir : name.GetDirs()) folders.push_back(dir.view());
  return {{"path", path},
          {"volume", name.GetVolume().view()},
          {"folders", folders},
          {"name", name.GetName().view()},
          {"extension", name.GetExt().view()},
          {"relative", name.IsRelative()},
          {"absolute", name.IsAbsolute(format)}};
}

void Print(const std::string& path, const ZTKFileName& name, ZTKPathFormat format) {
  std::string folders;
  for (const ZTKString& dir : name.GetDirs()) {
    folders += folders.empty() ? "" : " | ";
    folders += dir.view();
  }
  std::printf("%s\n", path.c_str());
  std::printf("  volume      %s\n", name.GetVolume().c_str());
  std::printf("  folders     %s\n", folders.c_str());
  std::printf("  name        %s\n", name.GetName().c_str());
  std::printf("  extension   %s\n", name.GetExt().c_str());
  std::printf("  absolute    %s\n", name.IsAbsolute(format) ? "yes" : "no");
}

void RunSplit(const PathOptions& options) {
  Json all = Json::array();
  ForEachPath(options.paths, [&](const std::string& path) {
    const ZTKFileName name(ZTKString(path.c_str()), options.from);
    if (options.asJson) {
      all.push_back(ToJson(path, name, options.from));
    } else {
      Print(path, name, options.from);
    }
  });
  if (options.asJson) {
    PrintJson(all);
  }
}

void RunConvert(const PathOptions& options) {
  ForEachPath(options.paths, [&](const std::string& path) {
    const ZTKFileName name(ZTKString(path.c_str()), options.from);
    std::puts(name.GetFullPath(options.to).c_str());
  });
}

// Where the system would go by a path with ".." in it, which takes the component before away there;
// "" when nothing has to be said. A syntax of another system is taken by its letters alone.
std::string WhereElse(const ZTKFileName& withDots, const ZTKFileName& result,
                      ZTKPathFormat format) {
  const ZTKPathFormat own = ZTKFileName::XPGetFormat(ZTKPathNative);
  const ZTKPathFormat syntax = ZTKFileName::XPGetFormat(format);
  if (syntax != own && syntax != ZTKPathDos) return "";
  const auto isUp = [](const ZTKString& dir) { return dir.view() == ".."; };
  if (std::none_of(withDots.GetDirs().begin(), withDots.GetDirs().end(), isUp) &&
      withDots.GetFullName().view() != "..") {
    return "";
  }
  namespace fs = std::filesystem;
  // Unix follows a link before it goes up.
  const bool followsLinks = syntax == own && own == ZTKPathUnix;
  const auto end = [=](const ZTKFileName& name) {
    const fs::path path =
        syntax == own ? ZTKToStdPath(name) : fs::path(name.GetFullPath(ZTKPathUnix).c_str());
    std::error_code error;
    const fs::path real = followsLinks ? fs::weakly_canonical(path, error) : fs::path();
    return followsLinks && !error ? real : path.lexically_normal();
  };
  const fs::path theirs = end(withDots);
  if (theirs == end(result)) return "";
  const auto text = theirs.u8string();
  return std::string(text.begin(), text.end());
}

void RunNormalise(const PathOptions& options) {
  int nSteps = ZTKNormDots | ZTKNormAbsolute;
  if (!options.isLiteral) nSteps |= ZTKNormEnvVars | ZTKNormTilde;
  if (options.dropCase) nSteps |= ZTKNormCase;
  if (options.followLinks) nSteps |= ZTKNormShortcut;
  ForEachPath(options.paths, [&](const std::string& path) {
    ZTKFileName name(ZTKString(path.c_str()), options.from);
    if (!name.XPNormalize(nSteps, ZTKString(options.cwd.c_str()), options.from)) {
      throw Failure(kNo, path + ": \"..\" leads above the start of the path");
    }
    ZTKFileName withDots(ZTKString(path.c_str()), options.from);
    withDots.XPNormalize(nSteps & ~(ZTKNormDots | ZTKNormShortcut), ZTKString(options.cwd.c_str()),
                         options.from);
    const std::string elsewhere = WhereElse(withDots, name, options.from);
    if (!elsewhere.empty()) {
      std::fflush(stdout);
      std::fprintf(stderr, "ztk: warning: %s: \"..\" leads the system to %s\n", path.c_str(),
                   elsewhere.c_str());
    }
    std::puts(name.GetFullPath(options.from).c_str());
  });
}

void AddSplit(CLI::App& path) {
  const auto options = std::make_shared<PathOptions>();
  CLI::App& split = *path.add_subcommand("split", "Show volume, folders, name and extension");
  AddPaths(split, *options);
  AddFormat(split, "--from", options->from);
  AddJsonFlag(split, options->asJson);
  split.callback([options] { RunSplit(*options); });
}

void AddConvertPath(CLI::App& path) {
  const auto options = std::make_shared<PathOptions>();
  CLI::App& convert = *path.add_subcommand("convert", "Write paths in another syntax");
  AddPaths(convert, *options);
  AddFormat(convert, "--from", options->from);
  AddFormat(convert, "--to", options->to);
  convert.callback([options] { RunConvert(*options); });
}

void AddNormalise(CLI::App& path) {
  const auto options = std::make_shared<PathOptions>();
  CLI::App& normalise = *path.add_subcommand(
      "normalise", "Make paths absolute: environment variables and ~ replaced, . and .. dropped");
  normalise.alias("normalize");
  AddPaths(normalise, *options);
  AddFormat(normalise, "--from", options->from);
  normalise.add_option("--cwd", options->cwd, "Put this in front of relative paths")
      ->type_name("DIR");
  normalise.add_flag("--literal", options->isLiteral, "Leave $, % and ~ as they are");
  normalise.add_flag("--case", options->dropCase, "Lower-case where case means nothing");
  normalise.add_flag("--links", options->followLinks, "Follow a symbolic link to its target");
  normalise.callback([options] { RunNormalise(*options); });
}

}  // namespace

void AddPathCommand(CLI::App& app) {
  CLI::App& path = *app.add_subcommand("path", "Split, convert and normalise paths of any syntax");
  path.require_subcommand(1);
  AddSplit(path);
  AddConvertPath(path);
  AddNormalise(path);
}
