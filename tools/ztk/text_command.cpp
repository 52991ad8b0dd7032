// ztk text info|convert: what a text file is, and the same text as UTF-8.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>

#include "tools/ztk/commands.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/host.h"
#include "tools/ztk/input.h"
#include "tools/ztk/json.h"
#include "tools/ztk/text_convert.h"
#include "tools/ztk/text_scan.h"

namespace {

constexpr const char* kFileHelp = "Files; - is standard input";

struct InfoOptions {
  std::vector<std::string> files;
  bool asJson = false;
};

Json ToJson(const std::string& name, const TextReport& report) {
  const auto offset = [](const std::optional<uint64_t>& value) {
    return value ? Json(*value) : Json(nullptr);
  };
  return {
      {"file", name},
      {"encoding", EncodingName(report.encoding)},
      {"mark", report.hasMark},
      {"bytes", report.nBytes},
      {"lines", report.nLines},
      {"lineEnds", {{"lf", report.nLf}, {"crlf", report.nCrLf}, {"cr", report.nCr}}},
      {"endsInLineEnd", report.endsInLineEnd},
      {"firstIllFormed", offset(report.firstIllFormed)},
      {"firstNul", offset(report.firstNul)},
  };
}

void Print(const std::string& name, const TextReport& report) {
  const std::string_view encoding = EncodingName(report.encoding);
  std::printf("%s\n", name.c_str());
  std::printf("  encoding    %.*s, %s\n", static_cast<int>(encoding.size()), encoding.data(),
              report.hasMark ? "with a mark" : "without a mark");
  std::printf("  size        %" PRIu64 " bytes, %" PRIu64 " lines%s\n", report.nBytes,
              report.nLines,
              report.nLines == 0 || report.endsInLineEnd ? "" : ", the last one not ended");
  std::printf("  line ends   %" PRIu64 " LF, %" PRIu64 " CR LF, %" PRIu64 " CR\n", report.nLf,
              report.nCrLf, report.nCr);
  if (report.firstIllFormed) {
    std::printf("  %-11s first at byte %" PRIu64 "\n", report.hasMark ? "ill-formed" : "not UTF-8",
                *report.firstIllFormed);
  }
  if (report.firstNul) std::printf("  NUL         first at byte %" PRIu64 "\n", *report.firstNul);
}

void RunInfo(const InfoOptions& options) {
  Json all = Json::array();
  bool isLossless = true;
  ForEachName(options.files, [&](const std::string& file) {
    Input input(file);
    const TextReport report = ScanText(input);
    isLossless = isLossless && report.IsLossless();
    if (options.asJson) {
      all.push_back(ToJson(input.Name(), report));
    } else {
      Print(input.Name(), report);
    }
  });
  if (options.asJson) {
    PrintJson(all);
  }
  if (!isLossless) SetExitCode(kNo);
}

void AddInfo(CLI::App& text) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App& info = *text.add_subcommand(
      "info", "Tell encoding, mark, lines, line ends and the first ill-formed byte");
  info.add_option("FILE", options->files, kFileHelp)->required();
  AddJsonFlag(info, options->asJson);
  info.callback([options] { RunInfo(*options); });
}

struct ConvertCommand {
  std::vector<std::string> files;
  std::string output;
  bool inPlace = false;
  ConvertOptions options;
};

// Asked before it is opened: a pipe would wait for somebody who writes.
void RefuseToReplace(const std::string& file) {
  // What is wrong with a folder is told by opening it.
  if (KindOf(file) != FileKind::kOther) return;
  throw Failure(kFailed, file + ": no regular file, and not to be converted in place");
}

void RunConvert(const ConvertCommand& command) {
  if (!command.inPlace && command.files.size() > 1) {
    throw Failure(kUsage, "several files can only be converted with --in-place");
  }
  if (command.inPlace && std::any_of(command.files.begin(), command.files.end(), IsDash)) {
    throw Failure(kUsage, "standard input cannot be converted in place");
  }
  ForEachName(command.files, [&command](const std::string& file) {
    if (command.inPlace) RefuseToReplace(file);
    ConvertText(file, command.inPlace ? file : command.output, command.options);
  });
}

void AddConvertText(CLI::App& text) {
  const auto command = std::make_shared<ConvertCommand>();
  CLI::App& convert =
      *text.add_subcommand("convert", "Write a text as UTF-8, to standard output or to a file");
  convert.add_option("FILE", command->files, kFileHelp)->required();
  CLI::Option* pOutput =
      convert
          .add_option("-o,--output", command->output, "Write to this file; - is standard output")
          ->type_name("FILE")
          ->default_val("-");
  convert.add_flag("-i,--in-place", command->inPlace, "Replace each file, through a temporary one")
      ->excludes(pOutput);
  const std::map<std::string, ZTKTextFileType> lineEnds = {
      {"keep", EOL_NONE}, {"lf", EOL_UNIX}, {"crlf", EOL_DOS}, {"cr", EOL_MAC}};
  convert.add_option("--line-ends", command->options.lineEnd, "keep (default), lf, crlf or cr")
      ->type_name("WHICH")
      ->transform(CLI::CheckedTransformer(lineEnds).description(""));
  const std::map<std::string, ConvertOptions::Mark> marks = {{"keep", ConvertOptions::Mark::kKeep},
                                                             {"yes", ConvertOptions::Mark::kYes},
                                                             {"no", ConvertOptions::Mark::kNo}};
  convert
      .add_option("--mark", command->options.mark, "Begin with a mark: keep (default), yes or no")
      ->type_name("WHETHER")
      ->transform(CLI::CheckedTransformer(marks).description(""));
  convert.add_flag("--replace", command->options.replaceIllFormed,
                   "Write U+FFFD for what is ill-formed instead of giving up");
  convert.callback([command] { RunConvert(*command); });
}

}  // namespace

void AddTextCommand(CLI::App& app) {
  CLI::App& text = *app.add_subcommand("text", "Look at text files and convert them to UTF-8");
  text.require_subcommand(1);
  AddInfo(text);
  AddConvertText(text);
}
