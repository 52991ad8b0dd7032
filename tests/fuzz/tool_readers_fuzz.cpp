// What the command line tool makes of bytes: a text scanned in pieces is the text scanned whole,
// its lines are those that the library reads, and a data stream's values cover just its bytes.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/ztk/data_reader.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/text_scan.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

TextReport Scan(std::string_view text, size_t nPiece) {
  TextScanner scanner;
  for (size_t at = 0; at < text.size(); at += nPiece) scanner.Feed(text.substr(at, nPiece));
  return scanner.Finish();
}

void CheckText(std::string_view text, size_t nPiece) {
  const TextReport whole = Scan(text, text.size() + 1);
  const TextReport pieces = Scan(text, nPiece);
  Require(whole.encoding == pieces.encoding && whole.hasMark == pieces.hasMark);
  Require(whole.nBytes == text.size() && pieces.nBytes == text.size());
  Require(whole.nLf == pieces.nLf && whole.nCrLf == pieces.nCrLf && whole.nCr == pieces.nCr);
  Require(whole.nLines == pieces.nLines);
  Require(whole.firstIllFormed == pieces.firstIllFormed && whole.firstNul == pieces.firstNul);

  const uint64_t nEnds = whole.nLf + whole.nCrLf + whole.nCr;
  Require(whole.nLines == nEnds || whole.nLines == nEnds + 1);
  Require(!whole.firstIllFormed || *whole.firstIllFormed < text.size());
  Require(!whole.firstNul || *whole.firstNul < text.size());
}

// The layout up to the first line feed, the data behind it.
void CheckData(std::string_view text, ZTKDataStream::BytesOrder order) {
  const size_t end = text.find('\n');
  if (end == std::string_view::npos) return;
  const std::string bytes(text.substr(end + 1));
  try {
    DataReader reader(bytes, ParseLayout(text.substr(0, end)), order);
    uint64_t nLast = 0;
    for (int n = 0; n < 1000; ++n) {
      const std::optional<DataValue> value = reader.Next();
      if (!value) break;
      Require(n == 0 || value->nOffset > nLast);
      nLast = value->nOffset;
      Require(nLast + FieldSize(value->type) <= bytes.size() - reader.Left());
    }
  } catch (const Failure& failure) {
    Require(failure.Code() == kUsage || failure.Code() == kNo);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  if (nSize == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(pData) + 1, nSize - 1);
  CheckText(text, 1 + pData[0] % 16);
  CheckData(text, pData[0] % 2 == 0 ? ZTKDataStream::LittleEndian : ZTKDataStream::BigEndian);
  return 0;
}
