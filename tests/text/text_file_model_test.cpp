// Text files of many kinds beside the reference, which goes byte by byte: what is ill-formed, NULs,
// line ends and characters across the blocks in which a file is read, locales, saving as it was.
// Other files with every seed: --gtest_shuffle --gtest_random_seed=N --gtest_repeat=M.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/latin9_locale.h"
#include "tests/text/random_seed.h"
#include "tests/text/text_file_support.h"

namespace {

using ZTKTextFileModel = ZTKTextFileTest;

constexpr size_t kBlock = 65536;  // The bytes of a read.

// Every class of the table of well-formed sequences, its borders on both sides, and cut ones.
const std::string kSequences[] = {
    "\x7F",
    "\xC2\x80",
    "\xDF\xBF",
    "\xE0\xA0\x80",
    "\xE1\x80\x80",
    "\xEC\xBF\xBF",
    "\xED\x80\x80",
    "\xED\x9F\xBF",
    "\xEE\x80\x80",
    "\xEF\xBF\xBF",
    "\xF0\x90\x80\x80",
    "\xF1\x80\x80\x80",
    "\xF3\xBF\xBF\xBF",
    "\xF4\x80\x80\x80",
    "\xF4\x8F\xBF\xBF",
    // Bytes that no character has; continuations in front of which there is nothing.
    "\x80",
    "\xBF",
    "\xC0\x80",
    "\xC1\xBF",
    "\xF5\x80\x80\x80",
    "\xFF\xFE",
    // Overlong, surrogates, past the last code point.
    "\xE0\x80\x80",
    "\xE0\x9F\xBF",
    "\xED\xA0\x80",
    "\xED\xBF\xBF",
    "\xF0\x80\x80\x80",
    "\xF0\x8F\xBF\xBF",
    "\xF4\x90\x80\x80",
    // Cut, and gone on by what cannot.
    "\xC3",
    "\xE2\x82",
    "\xF0\x9F\x98",
    "\xC3\x41",
    "\xE2\x82\x41",
    "\xE2\xC3\xA9",
    "\xF0\x9F\x98\x41",
    "\xF0\x9F\x98\xC3\xA9",
    "\xC3\xA9\xA9",
    "\xE2\x82\xAC\x80",
    "\xF0\x9F\x98\x80\x80",
    // Ended by a line end before their time.
    "\xE2\n",
    "\xF0\n",
    "\xF0\x9F\r\n",
};

const std::string_view kLineEnds[] = {"\n", "\r\n", "\r", "\r\r", "\r\r\n", "\n\r"};

/// The line of a file in a locale whose characters are those of ISO-8859-15.
std::string FromLatin9(std::string_view text) {
  static constexpr struct {
    unsigned char byte;
    uint16_t codePoint;
  } kOthers[] = {{0xA4, 0x20AC}, {0xA6, 0x160}, {0xA8, 0x161}, {0xB4, 0x17D},
                 {0xB8, 0x17E},  {0xBC, 0x152}, {0xBD, 0x153}, {0xBE, 0x178}};
  std::string result;
  for (const char ch : text) {
    uint32_t codePoint = static_cast<unsigned char>(ch);
    for (const auto& other : kOthers) {
      if (other.byte == codePoint) {
        codePoint = other.codePoint;
        break;
      }
    }
    text_reference::AppendUtf8(result, codePoint);
  }
  return result;
}

class RandomFile {
 public:
  RandomFile() : m_random(RandomSeed()) {}

  size_t Below(size_t n) { return m_random() % n; }

  /// Text without a mark: mostly well formed in some files, anything in others.
  std::string Bytes() {
    std::string text = Filler(false);
    // How many pieces of a hundred are not plain.
    const size_t ill = m_illRates[Below(4)];
    const size_t nul = Below(4) == 0 ? 3 : 0;
    const size_t lineEnd = 5 + Below(30);
    const bool hasCharacters = Below(3) != 0;
    const size_t longPiece = Below(1000);
    for (size_t pieces = Below(Below(8) == 0 ? 20000 : 400); pieces > 0; --pieces) {
      const size_t pick = Below(100);
      if (pieces == longPiece) text.append(nul, '\0').append(kBlock + Below(9), 'z');
      if (pick < ill) {
        text += kSequences[Below(std::size(kSequences))];
      } else if (pick < ill + nul) {
        text += '\0';
      } else if (pick < ill + nul + lineEnd) {
        text += kLineEnds[Below(3) == 0 ? Below(std::size(kLineEnds)) : 0];
      } else if (pick % 2 == 0 && hasCharacters) {
        text += kSequences[Below(15)];
      } else {
        text.append(1 + Below(Below(4) == 0 ? 200 : 20), static_cast<char>('a' + Below(26)));
      }
    }
    return text;
  }

  /// The same of 16-bit units, with lone surrogates.
  std::string Units(bool isBigEndian) {
    std::u16string text;
    for (const char ch : Filler(true)) text += static_cast<char16_t>(ch);
    const size_t ill = m_illRates[Below(4)];
    const size_t nul = Below(4) == 0 ? 3 : 0;
    const size_t lineEnd = 5 + Below(30);
    for (size_t pieces = Below(Below(8) == 0 ? 20000 : 400); pieces > 0; --pieces) {
      const size_t pick = Below(100);
      if (pick < ill) {
        text += static_cast<char16_t>(0xD800 + Below(0x800));
      } else if (pick < ill + nul) {
        text += u'\0';
      } else if (pick < ill + nul + lineEnd) {
        for (const char ch : kLineEnds[Below(std::size(kLineEnds))])
          text += static_cast<char16_t>(ch);
      } else if (pick % 4 == 0) {
        static constexpr char16_t kBorders[] = {0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xE000,
                                                0xFFFF, 0x0D0A, 0x0A0D, 0x0D00, 0x0A00};
        text += kBorders[Below(std::size(kBorders))];
      } else if (pick % 4 == 1) {
        text += static_cast<char16_t>(0xD800 + Below(0x400));
        text += static_cast<char16_t>(0xDC00 + Below(0x400));
      } else {
        text.append(1 + Below(20), static_cast<char16_t>('a' + Below(26)));
      }
    }
    return Utf16(text, isBigEndian) + (Below(4) == 0 ? "x" : "");
  }

 private:
  // Plain lines that end just in front of the end of a block, or nothing.
  std::string Filler(bool isWide) {
    const size_t blocks = Below(3);
    std::string text;
    if (blocks == 0) return text;
    const size_t length = blocks * kBlock / (isWide ? 2 : 1) - Below(70);
    const bool hasLines = Below(4) != 0;
    while (text.size() < length) text += hasLines && text.size() % 61 == 60 ? '\n' : 'x';
    return text;
  }

  static constexpr size_t m_illRates[] = {0, 0, 1, 20};
  std::mt19937 m_random;
};

// Reads `bytes`, saves them in their encoding, and compares both with the reference.
void CheckKept(const std::string& path, const std::string& native, const std::string& bytes) {
  ZTKTextFile file(native.c_str(), TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16);
  ASSERT_TRUE(file.Open());
  ASSERT_TRUE(LinesOf(file) == text_reference::Read(bytes, true));
  ASSERT_TRUE(file.Write(EOL_NONE));
  ASSERT_TRUE(ReadWholeFile(path) == text_reference::WriteKept(bytes));
}

class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : m_isSet(std::setlocale(LC_CTYPE, name) != nullptr) {}
  ~ScopedLocale() { std::setlocale(LC_CTYPE, "C"); }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

  bool IsSet() const { return m_isSet; }

 private:
  const bool m_isSet;
};

}  // namespace

TEST_F(ZTKTextFileModel, RandomBytesWithoutAMarkAreTheLinesOfTheReference) {
  const Utf8CodePage page;
  RandomFile random;
  for (const char* const locale : {"C", "C.UTF-8"}) {
    const ScopedLocale scope(locale);
    if (!scope.IsSet()) continue;
    for (int i = 0; i < 30; ++i) {
      SCOPED_TRACE(testing::Message() << locale << ", file " << i);
      const std::string bytes = random.Bytes();
      if (text_reference::Encoding(bytes) != 1) continue;
      ASSERT_TRUE(Read(bytes) == text_reference::Read(bytes));
      ASSERT_NO_FATAL_FAILURE(CheckKept(Path(), Native(), bytes));
    }
  }
}

TEST_F(ZTKTextFileModel, RandomBytesWithAMarkAreTheLinesOfTheReference) {
  RandomFile random;
  for (int i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    const std::string bytes = "\xEF\xBB\xBF" + random.Bytes();
    ASSERT_TRUE(Read(bytes) == text_reference::Read(bytes));
    ASSERT_NO_FATAL_FAILURE(CheckKept(Path(), Native(), bytes));
  }
}

TEST_F(ZTKTextFileModel, RandomUnitsAreTheLinesOfTheReference) {
  RandomFile random;
  for (int i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    const bool isBigEndian = i % 2 != 0;
    const std::string bytes = random.Units(isBigEndian);
    WriteWholeFile(Path(), bytes);
    ASSERT_NO_FATAL_FAILURE(CheckKept(Path(), Native(), bytes));
  }
}

// Longer than a block of writing, whose end comes to lie at every place of a character.
TEST_F(ZTKTextFileModel, LongLinesOfUtf16AreSavedAsTheyWere) {
  for (const std::u16string_view character : {u"\u00E9", u"\u20AC", u"\U0001F600"}) {
    for (size_t before = 0; before < 5; ++before) {
      std::u16string text(before, u'x');
      for (int i = 0; i < 40000; ++i) text += character;
      WriteWholeFile(Path(), Utf16(text + u"\r\n", before % 2 != 0));
      ASSERT_NO_FATAL_FAILURE(CheckKept(Path(), Native(), ReadWholeFile(Path())));
    }
  }
}

TEST_F(ZTKTextFileModel, RandomBytesInAnotherLocaleAreOfItsCodeSet) {
  const Latin9Locale locale;
  if (!locale.IsMade()) GTEST_SKIP() << "no locale can be made";
  ASSERT_TRUE(locale.IsSet());
  RandomFile random;
  for (int i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    const std::string bytes = random.Bytes();
    if (text_reference::Encoding(bytes) != 1) continue;
    std::vector<Line> expected = text_reference::ReadBytes(bytes);
    for (Line& line : expected) line.text = FromLatin9(line.text);
    ASSERT_TRUE(Read(bytes) == expected);
  }
}

// The end of a block at every place of every sequence, with lines before it that are known to be
// UTF-8 or not, and everything that may follow.
TEST_F(ZTKTextFileModel, EverySequenceAcrossTheEndOfABlockIsJudgedAsAWhole) {
  const Utf8CodePage page;
  for (const std::string_view before : {"", "\xC3\xA9\n", "\xE9\n"}) {
    // Long lines up to the block's last one, which is open.
    const std::string line(2000, 'z');
    std::string filler(before);
    Lines plain = text_reference::Read(filler);
    while (filler.size() < kBlock - line.size() - 64) {
      filler += line + "\n";
      plain.push_back({line, EOL_UNIX});
    }
    for (const std::string& sequence : kSequences) {
      for (size_t cut = 0; cut <= sequence.size(); ++cut) {
        for (const std::string_view open : {"", "\xC3\xA9", "\r"}) {
          for (const std::string_view after : {"", "\nx", "\r\xE9"}) {
            const size_t length = kBlock - filler.size() - cut - open.size();
            std::string tail(length, 'y');
            tail.append(open).append(sequence).append(after);
            Lines expected = plain;
            for (Line& read : text_reference::Read(tail)) expected.push_back(std::move(read));
            ASSERT_TRUE(Read(filler + tail) == expected)
                << Hex(before) << ", " << Hex(open) << ", " << Hex(sequence) << " cut at " << cut
                << ", " << Hex(after);
          }
        }
      }
    }
  }
}

// Every allocation of a reading fails in turn: what is there are the first lines, each of them
// whole, and all of them where it is true.
TEST_F(ZTKTextFileModel, WithoutMemoryThereAreTheFirstLinesOfTheReference) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const Utf8CodePage page;
  RandomFile random;
  for (int i = 0; i < 9; ++i) {
    const std::string bytes = i % 3 == 0   ? random.Units(false)
                              : i % 3 == 1 ? "\xEF\xBB\xBF" + random.Bytes()
                                           : random.Bytes() + "\xE9" + std::string(9000, '\x80');
    const Lines expected = text_reference::Read(bytes);
    WriteWholeFile(Path(), bytes);
    bool failed = true;
    for (long passed = 0; failed; ++passed) {
      SCOPED_TRACE(testing::Message() << i << ", allocation " << passed);
      ASSERT_LT(passed, 2000);
      ZTKTextFile file(Native().c_str());
      bool opened = false;
      {
        const failing_allocator::Scope scope(passed, 1);
        opened = file.Open();
        failed = scope.Failed();
      }
      const Lines lines = LinesOf(file);
      ASSERT_LE(lines.size(), expected.size());
      ASSERT_TRUE(std::equal(lines.begin(), lines.end(), expected.begin()));
      ASSERT_TRUE(!opened || lines == expected);
      ASSERT_TRUE(opened || failed);
    }
  }
}
