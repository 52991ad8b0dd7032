// The reader by itself, with a file that fails in its midst.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "tests/text/text_line_collector.h"
#include "ztk/file/file.h"

namespace {

using testing::ElementsAre;

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

    LineCollector lines;
    EXPECT_FALSE((ZTKTextLineReader<char, LineCollector>(lines).Run(file)));
    EXPECT_THAT(lines.lines, ElementsAre(std::string(memory.Size() - 6, 'x') + "/1", "y/2"))
        << "the last line is not known to be whole";
  }
}
