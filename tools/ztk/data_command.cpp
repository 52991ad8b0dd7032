// ztk data dump: the values of a serialised stream, with their offsets.

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>

#include "tools/ztk/commands.h"
#include "tools/ztk/data_reader.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/input.h"
#include "tools/ztk/json.h"
#include "tools/ztk/text_scan.h"

namespace {

struct DumpOptions {
  std::string file;
  std::string layout;
  std::string order = "both";
  bool asJson = false;
};

struct Dump {
  std::vector<DataValue> values;
  uint64_t nLeft = 0;
  std::string error;  // Empty when the data reached.
};

Dump Read(const std::string& bytes, const std::vector<Field>& layout,
          ZTKDataStream::BytesOrder order) {
  Dump dump;
  DataReader reader(bytes, layout, order);
  try {
    while (std::optional<DataValue> value = reader.Next()) dump.values.push_back(std::move(*value));
  } catch (const Failure& failure) {
    dump.error = failure.what();
  }
  dump.nLeft = reader.Left();
  return dump;
}

bool IsUtf8(const std::string& text) {
  TextScanner scanner;
  scanner.Feed(text);
  const TextReport report = scanner.Finish();
  return !report.firstIllFormed && (report.encoding == TextReport::Encoding::kAscii ||
                                    report.encoding == TextReport::Encoding::kBinary ||
                                    report.encoding == TextReport::Encoding::kUtf8);
}

// In quotes; control characters, and all that is not ASCII in a text that is not UTF-8, as \xHH.
std::string Quoted(const std::string& text) {
  const bool isUtf8 = IsUtf8(text);
  std::string quoted = "\"";
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    if (ch == '"' || ch == '\\') {
      quoted += '\\';
      quoted += ch;
    } else if (byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !isUtf8)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", byte);
      quoted += escape;
    } else {
      quoted += ch;
    }
  }
  return quoted + '"';
}

std::string Shown(const DataValue& value) {
  char text[64];
  if (const auto* pUnsigned = std::get_if<uint64_t>(&value.value)) {
    std::snprintf(text, sizeof text, "%-20" PRIu64 " 0x%0*" PRIX64, *pUnsigned,
                  static_cast<int>(2 * FieldSize(value.type)), *pUnsigned);
    return text;
  }
  if (const auto* pSigned = std::get_if<int64_t>(&value.value)) return std::to_string(*pSigned);
  if (const auto* pReal = std::get_if<double>(&value.value)) {
    std::snprintf(text, sizeof text, "%.17g", *pReal);
    return text;
  }
  return Quoted(std::get<std::string>(value.value));
}

Json ToJson(const Dump& dump, const char* pszOrder) {
  Json values = Json::array();
  for (const DataValue& value : dump.values) {
    Json shown;
    std::visit([&shown](const auto& v) { shown = v; }, value.value);
    // JSON has no other numbers than finite ones.
    if (const auto* pReal = std::get_if<double>(&value.value); pReal && !std::isfinite(*pReal)) {
      shown = Shown(value);
    }
    values.push_back(
        {{"offset", value.nOffset}, {"type", FieldName(value.type)}, {"value", shown}});
  }
  Json result = {{"order", pszOrder}, {"values", values}, {"left", dump.nLeft}};
  if (!dump.error.empty()) result["error"] = dump.error;
  return result;
}

void Print(const Dump& dump, const char* pszOrder) {
  std::printf("%s-endian\n", pszOrder);
  for (const DataValue& value : dump.values) {
    std::printf("  %8" PRIu64 "  %-4s  %s\n", value.nOffset,
                std::string(FieldName(value.type)).c_str(), Shown(value).c_str());
  }
  if (!dump.error.empty()) std::printf("  %s\n", dump.error.c_str());
  if (dump.nLeft != 0) std::printf("  %" PRIu64 " bytes are left\n", dump.nLeft);
}

void RunDump(const DumpOptions& options) {
  const std::vector<Field> layout = ParseLayout(options.layout);
  const std::string bytes = Input(options.file).ReadAll();
  if (bytes.size() > std::numeric_limits<unsigned long>::max()) {
    throw Failure(kFailed, options.file + ": larger than a stream in memory can be here");
  }
  Json all = Json::array();
  bool reached = false;  // In one of the orders shown: with the wrong one, lengths make no sense.
  const auto show = [&](const char* pszOrder, ZTKDataStream::BytesOrder order) {
    if (options.order != "both" && options.order != pszOrder) return;
    const Dump dump = Read(bytes, layout, order);
    reached = reached || dump.error.empty();
    if (options.asJson) {
      all.push_back(ToJson(dump, pszOrder));
    } else {
      Print(dump, pszOrder);
    }
  };
  show("little", ZTKDataStream::LittleEndian);
  show("big", ZTKDataStream::BigEndian);
  if (!reached) SetExitCode(kNo);
  if (options.asJson) {
    PrintJson(all);
  }
}

}  // namespace

void AddDataCommand(CLI::App& app) {
  CLI::App& data = *app.add_subcommand("data", "Look into serialised data streams");
  data.require_subcommand(1);
  const auto options = std::make_shared<DumpOptions>();
  CLI::App& dump = *data.add_subcommand("dump", "Show the values of a stream with their offsets");
  dump.add_option("FILE", options->file, "A file; - is standard input")->required();
  dump.add_option("--layout", options->layout,
                  "What follows what: u8 i8 u16 i16 u32 i32 u64 i64 f80 str skip, each with *COUNT "
                  "if repeated; * alone takes all that is left")
      ->type_name("FIELDS")
      ->required();
  dump.add_option("--order", options->order, "Read integers as little, big or both (default)")
      ->type_name("ORDER")
      ->check(CLI::IsMember({"little", "big", "both"}).description(""));
  AddJsonFlag(dump, options->asJson);
  dump.callback([options] { RunDump(*options); });
}
