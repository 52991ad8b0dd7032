// ztk: the library's text files, configurations, paths and data streams on the command line.

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/ztk/commands.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/progress.h"
#include "ztk/file/file.h"
#include "ztk/text/text_file.h"

namespace {

int s_nExitCode = kOk;

int Run(int argc, char** argv) {
  CLI::App app("Text files, configurations, paths and data streams of ztkbase.", "ztk");
  app.set_version_flag("--version", std::string("ztk " ZTK_TOOL_VERSION));
  app.require_subcommand(1);
  app.footer(
      "Exit codes: 0 done, 1 the answer is no, 2 wrong usage, 3 a file cannot be read or "
      "written.\nSee ztk(1).");
  AddTextCommand(app);
  AddConfCommand(app);
  AddPathCommand(app);
  AddDataCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kOk : kUsage;
  }
  return s_nExitCode;
}

}  // namespace

void SetExitCode(int nCode) { s_nExitCode = nCode; }

void AddJsonFlag(CLI::App& command, bool& asJson) {
  command.add_flag("--json", asJson, "Print the result as JSON");
}

int main(int argc, char** argv) {
  // Nothing may be lost without a word, and a text is read in the order its mark tells.
  ZTKFile::ms_strict = true;
  ZTKTextFile::ms_swapUtf16 = true;
  CatchInterrupts();

  int nCode = kFailed;
  try {
    nCode = Run(argc, argv);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "ztk: %s\n", failure.what());
    nCode = failure.Code();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ztk: %s\n", error.what());
  }
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::fprintf(stderr, "ztk: standard output: %s\n", std::strerror(errno));
    return kFailed;
  }
  return nCode;
}
