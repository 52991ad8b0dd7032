#include "ztk/text/internal/text_line_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

// The reader by itself, where a file can be made to fail in its midst.

namespace {

using testing::ElementsAre;

struct Collector {
  void Prepare(const char*, const char*, const char*) {}
  bool Line(const char* pText, size_t nLength, ZTKTextFileType type) {
    lines.push_back(std::string(pText, nLength) + "/" + std::to_string(type));
    return lines.size() < limit;
  }
  size_t limit = SIZE_MAX;
  std::vector<std::string> lines;
};

// Memory of this process, readable as a file, with nothing behind its last page: reading on from
// there is an input/output error.
class MemoryFile {
 public:
  explicit MemoryFile(size_t nPages) : m_pageSize(static_cast<size_t>(::sysconf(_SC_PAGESIZE))) {
    m_size = nPages * m_pageSize;
    m_start = static_cast<char*>(::mmap(nullptr, m_size + m_pageSize, PROT_READ | PROT_WRITE,
                                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ::munmap(m_start + m_size, m_pageSize);
    std::memset(m_start, 'x', m_size);
  }
  ~MemoryFile() { ::munmap(m_start, m_size); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  char* End() { return m_start + m_size; }
  size_t Size() const { return m_size; }

  // Opens it for reading from the start.
  bool Open(ZTKFile& file) {
    return file.XPOpen("/proc/self/mem", ZTKFile::read, 0) &&
           file.Seek(static_cast<long>(reinterpret_cast<intptr_t>(m_start)), ZTKFromStart) > 0;
  }

 private:
  size_t m_pageSize;
  size_t m_size;
  char* m_start;
};

}  // namespace

TEST(ZTKTextLineReader, AReadErrorAnywhereMakesItFailWithTheLinesSoFar) {
  for (size_t pages : {1u, 15u, 16u, 17u, 32u, 40u}) {
    SCOPED_TRACE(pages);
    MemoryFile memory(pages);
    std::memcpy(memory.End() - 6, "\ny\r\nzz", 6);
    ZTKFile file;
    if (!memory.Open(file)) GTEST_SKIP() << "this process cannot read its memory as a file";

    Collector lines;
    EXPECT_FALSE((ZTKTextLineReader<char, Collector>(lines).Run(file)));
    EXPECT_THAT(lines.lines, ElementsAre(std::string(memory.Size() - 6, 'x') + "/1", "y/2"))
        << "the last line is not known to be whole";
  }
}

TEST(ZTKTextLineReader, StopsWhenTheSinkGivesUp) {
  TempDir dir;
  for (const std::string& text : {std::string("a\nb\nc\nd"), std::string("a\r\r\r\rb\nc"),
                                  std::string("a\r\nb\rc\nd"), std::string("a\nb\nc")}) {
    SCOPED_TRACE(testing::PrintToString(text));
    WriteWholeFile(dir / "text", text);
    ZTKFile file((dir / "text").c_str(), ZTKFile::read);
    Collector lines;
    lines.limit = 3;
    EXPECT_FALSE((ZTKTextLineReader<char, Collector>(lines).Run(file)));
    EXPECT_EQ(lines.lines.size(), 3u);
  }
}

TEST(ZTKFindLineEnd, FindsTheFirstOfEitherAtEveryPlace) {
  for (size_t length = 0; length <= 70; ++length) {
    std::vector<char> bytes(length, 'x');
    std::vector<uint16_t> units(length, uint16_t{0x0A0D});  // Neither, though its bytes are.
    ASSERT_EQ(ZTKFindLineEnd(bytes.data(), bytes.data() + length), bytes.data() + length);
    ASSERT_EQ(ZTKFindLineEnd(units.data(), units.data() + length), units.data() + length);
    for (size_t at = length; at-- > 0;) {
      // What follows are line ends, too, from the rounds before.
      bytes[at] = at % 2 == 0 ? '\r' : '\n';
      units[at] = at % 2 == 0 ? 0x0A : 0x0D;
      for (size_t from = 0; from <= at; ++from) {
        ASSERT_EQ(ZTKFindLineEnd(bytes.data() + from, bytes.data() + length), bytes.data() + at);
        ASSERT_EQ(ZTKFindLineEnd(units.data() + from, units.data() + length), units.data() + at);
      }
    }
  }
}
