// The streams: one record of integers, a string and doubles, in both byte orders.

#include "examples/tour/tour.h"
#include "ztk/stream.h"

namespace {

// What the data stream wrote, and how it reads back.
bool ShowRecord(const char* pszOrder, ZTKDataStream::BytesOrder order,
                const std::string& expectedStart) {
  ZTKMemoryOutputStream memory;
  ZTKDataStream out(memory);
  out.SetNetWorkByteOrderTo(order);
  out << short{258} << 16909060 << "Grüße" << 1.0 << -0.1;

  std::string bytes(memory.GetSize(), '\0');
  memory.CopyTo(bytes.data(), memory.GetSize());
  Say("%s, %lu bytes:", pszOrder, memory.GetSize());
  ShowHex(bytes);
  bool ok = Expect("the integers in that order", bytes.substr(0, 6) == expectedStart);

  ZTKMemoryInputStream source(bytes.data(), memory.GetSize());
  ZTKBufferedInputStream buffered(source, nullptr);
  ZTKDataStream in(buffered);
  in.SetNetWorkByteOrderTo(order);
  short small = 0;
  int number = 0;
  ZTKString text;
  double plain = 1;
  in >> small >> number >> text >> plain;
  const double decoded = in.ReadIeeeExtended();
  Say("read back: %d, %d, \"%s\", %g, %g", small, number, text.c_str(), plain, decoded);
  ok = Expect("the values", small == 258 && number == 16909060 && text == "Grüße") && ok;
  ok = Expect("a plain read of a double is 0, and skips its ten bytes", plain == 0.0) && ok;
  ok = Expect("decoded, the double is exact", decoded == -0.1) && ok;
  return Expect("no stream reported an error", in.IsOk() && out.IsOk()) && ok;
}

// The same bytes, through a buffer into a file and from it.
bool ShowFile() {
  const std::string path = TourFile("record.bin");
  {
    ZTKFileOutputStream file(path.c_str());
    ZTKBufferedOutputStream buffered(file, nullptr);
    ZTKDataStream out(buffered);
    for (int i = 0; i < 1000; ++i) out << i;
    ZTKEndL(buffered);
    buffered.Sync();
    if (!Expect("1000 integers are in a file", out.IsOk() && file.GetSize() == 4001)) return false;
  }
  ZTKFileInputStream file(path.c_str());
  ZTKDataStream in(file);
  long sum = 0;
  for (int i = 0; i < 1000; ++i) sum += static_cast<long>(in.Read32());
  bool ok = Expect("and come back", sum == 499500);
  file.Ungetch("!", 1);
  ok = Expect("a byte that is pushed back comes next", file.GetC() == '!') && ok;
  return Expect("a line ends with a carriage return", file.GetC() == '\r') && ok;
}

}  // namespace

bool StreamTour() {
  Title("Streams");
  bool ok =
      ShowRecord("Little-endian", ZTKDataStream::LittleEndian, {"\x02\x01\x04\x03\x02\x01", 6});
  ok = ShowRecord("Big-endian", ZTKDataStream::BigEndian, {"\x01\x02\x01\x02\x03\x04", 6}) && ok;
  return ShowFile() && ok;
}
