// ztk: the library's text files, configurations, paths and data streams on the command line.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/ztk/commands.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"
#include "ztk/file/file.h"
#include "ztk/text/text_file.h"

namespace {

int s_nExitCode = kOk;

// The word that stands where a subcommand is needed, with what is in front of it; "" for none.
std::string UnknownSubcommand(CLI::App& app) {
  const std::vector<std::string> rest = app.remaining(true);
  if (rest.empty()) return "";
  std::string commands;
  for (const CLI::App* pCommand = &app; !pCommand->get_subcommands().empty();) {
    pCommand = pCommand->get_subcommands().front();
    commands += pCommand->get_name() + ' ';
  }
  return commands + rest.front() + ": no such subcommand";
}

int Run(std::vector<std::string> arguments) {
  CLI::App app("Text files, configurations, paths and data streams of ztkbase.", "ztk");
  app.set_version_flag("--version", std::string("ztk " ZTK_TOOL_VERSION));
  app.allow_windows_style_options(false);  // Paths begin with slashes.
  app.require_subcommand(1);
  app.footer(
      "Exit codes: 0 done, 1 the answer is no, 2 wrong usage, 3 a file cannot be read or "
      "written.\nSee ztk(1).");
  AddTextCommand(app);
  AddConfCommand(app);
  AddPathCommand(app);
  AddDataCommand(app);
  try {
    std::reverse(arguments.begin(), arguments.end());  // As the parser takes them.
    app.parse(std::move(arguments));
  } catch (const CLI::RequiredError& error) {
    const std::string unknown = UnknownSubcommand(app);
    if (!unknown.empty()) throw Failure(kUsage, unknown + "; --help names them all");
    app.exit(error);
    return kUsage;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kOk : kUsage;
  }
  return s_nExitCode;
}

}  // namespace

void SetExitCode(int nCode) { s_nExitCode = std::max(s_nExitCode, nCode); }

void ForEachName(const std::vector<std::string>& names,
                 const std::function<void(const std::string& name)>& work) {
  for (const std::string& name : names) {
    try {
      work(name);
    } catch (const Failure& failure) {
      if (failure.Code() == kUsage) throw;
      std::fflush(stdout);  // In order, where both go to one place.
      std::fprintf(stderr, "ztk: %s\n", failure.what());
      SetExitCode(failure.Code());
    }
  }
}

void AddJsonFlag(CLI::App& command, bool& asJson) {
  command.add_flag("--json", asJson, "Print the result as JSON");
}

int main(int argc, char** argv) {
  // Nothing may be lost without a word, and a text is read in the order its mark tells.
  ZTKFile::ms_strict = true;
  ZTKTextFile::ms_swapUtf16 = true;

  int nCode = kFailed;
  try {
    nCode = Run(BeginProgram(argc, argv));
  } catch (const Failure& failure) {
    std::fprintf(stderr, "ztk: %s\n", failure.what());
    nCode = failure.Code();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ztk: %s\n", error.what());
  }
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::fprintf(stderr, "ztk: standard output: %s\n", std::strerror(errno));
    nCode = kFailed;
  }
  EndProgram();
  return nCode;
}
