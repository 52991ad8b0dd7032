#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/foundation/string_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/foundation/string.h"

// Texts read as floating-point numbers, beside the C library, by which they are described.

namespace {

/// Whether `ToDouble` gives the bits, the result and the error number that `strtod` gives.
testing::AssertionResult AgreesWithStrtod(const char* psz) {
  char* end = nullptr;
  errno = 0;
  const double expected = std::strtod(psz, &end);
  const bool isWhole = end != psz && *end == '\0';
  const int error = errno;

  const ZTKString text(psz);
  double value = 42;
  errno = 0;
  const bool result = text.ToDouble(&value);
  if (result == isWhole && errno == error && std::memcmp(&value, &expected, sizeof value) == 0) {
    return testing::AssertionSuccess();
  }
  char numbers[100];
  std::snprintf(numbers, sizeof numbers, "%a instead of %a", value, expected);
  return testing::AssertionFailure()
         << '"' << psz << "\": " << result << ", " << numbers << ", error " << errno;
}

std::string Digits(std::minstd_rand& random, unsigned long most) {
  std::string digits;
  for (unsigned long n = random() % (most + 1); n > 0; --n) {
    digits += static_cast<char>('0' + random() % 10);
  }
  return digits;
}

/// What looks like a number, or nearly.
std::string Number(std::minstd_rand& random) {
  static const char* const kSigns[] = {"", "", "-", "+", " ", " -", "\t", "--"};
  static const char* const kPoints[] = {".", ".", "", ",", ".."};
  static const char* const kExponents[] = {"", "", "e", "E", "e+", "e-", "E-", "p", "e-30", "e30"};
  static const char* const kEnds[] = {"", "", "", "", "", " ", "x", "f", ".", "e"};
  std::string text = kSigns[random() % 8];
  const unsigned long length = random() % 8 == 0 ? 400 : random() % 4 == 0 ? 24 : 6;
  text += Digits(random, length) + kPoints[random() % 5] + Digits(random, length);
  text += kExponents[random() % 10];
  return text + Digits(random, random() % 4) + kEnds[random() % 10];
}

/// Characters of numbers in any order.
std::string Jumble(std::minstd_rand& random) {
  static const char kAlphabet[] = "0123456789..,eE+-xXpPabfinNaIy(_) \t\n";
  std::string text;
  for (unsigned long n = random() % 12; n > 0; --n)
    text += kAlphabet[random() % (sizeof kAlphabet - 1)];
  return text;
}

/// The number in decimal with enough digits, or with one too few.
std::string Exactly(std::minstd_rand& random) {
  uint64_t bits = (uint64_t{random()} << 42) ^ (uint64_t{random()} << 21) ^ random();
  if (random() % 8 == 0) bits &= 0x800FFFFFFFFFFFFF;  // Of the smallest.
  double value;
  std::memcpy(&value, &bits, sizeof value);
  char text[64];
  switch (random() % 4) {
    case 0:
      std::snprintf(text, sizeof text, "%.17g", value);
      break;
    case 1:
      std::snprintf(text, sizeof text, "%.15e", value);
      break;
    case 2:
      std::snprintf(text, sizeof text, "%.25e", value);
      break;
    default:
      std::snprintf(text, sizeof text, "%a", value);
  }
  return text;
}

/// While it lives, numbers have a decimal comma.
class CommaLocale {
 public:
  CommaLocale() : m_locales("LOCPATH", m_dir.Path().string().c_str()) {
    WriteWholeFile(m_dir / "source", "LC_NUMERIC\ncopy \"de_DE\"\nEND LC_NUMERIC\n");
    // It warns of the other categories.
    const std::string make = "localedef --no-archive -c -i '" + (m_dir / "source") +
                             "' -f UTF-8 '" + (m_dir / "comma.UTF-8") + "' >/dev/null 2>&1";
    [[maybe_unused]] const int status = std::system(make.c_str());
    m_isSet = std::setlocale(LC_NUMERIC, "comma.UTF-8") != nullptr;
  }
  ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  bool IsSet() const { return m_isSet; }

 private:
  TempDir m_dir;
  ScopedEnv m_locales;
  bool m_isSet = false;
};

void CompareMany(unsigned nSeed, int nCount) {
  std::minstd_rand random(nSeed);
  for (int i = 0; i < nCount; ++i) {
    ASSERT_TRUE(AgreesWithStrtod(Number(random).c_str()));
    ASSERT_TRUE(AgreesWithStrtod(Jumble(random).c_str()));
    ASSERT_TRUE(AgreesWithStrtod(Exactly(random).c_str()));
  }
}

}  // namespace

TEST(ZTKStringToDouble, ReadsWhatTheCLibraryReads) {
  const char* const rows[] = {"",
                              "0",
                              "-0",
                              "-0.0",
                              ".",
                              "-.",
                              ".5",
                              "5.",
                              "-.5e1",
                              "+1",
                              " 1",
                              "1 ",
                              "\t-1.5",
                              "1e",
                              "1e+",
                              "1e400",
                              "-1e400",
                              "1e-400",
                              "-1e-400",
                              "0e999999999999",
                              "1e-310",
                              "4.9e-324",
                              "2.4703282292062327e-324",
                              "2.4703282292062328e-324",
                              "2.2250738585072014e-308",
                              "2.2250738585072011e-308",
                              "1.7976931348623157e308",
                              "1.7976931348623159e308",
                              "9007199254740993",
                              "9007199254740992.9999999999999999999999999999",
                              "0.1",
                              "1e23",
                              "0x10",
                              "0X1.8p1",
                              "-0x.8",
                              "0x",
                              "inf",
                              "-Infinity",
                              "infinit",
                              "nan",
                              "-NAN",
                              "nan(12)",
                              "nan(",
                              "1_000",
                              "1,5",
                              "1,000.5",
                              "1d5",
                              "\xA0"};
  for (const char* row : rows) EXPECT_TRUE(AgreesWithStrtod(row));
}

TEST(ZTKStringToDouble, AgreesWithTheCLibraryOnRandomTexts) {
  static unsigned s_seed = 0;  // Others at each repetition of the test.
  CompareMany(++s_seed, 20000);
}

TEST(ZTKStringToDouble, FollowsTheRoundingThatIsSwitchedOn) {
  for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    if (std::fesetround(rounding) != 0) continue;
    for (const char* row : {"0.1", "1e23", "-0.3", "1e400"}) EXPECT_TRUE(AgreesWithStrtod(row));
    CompareMany(static_cast<unsigned>(rounding) + 1, 500);
    std::fesetround(FE_TONEAREST);
  }
}

TEST(ZTKStringToDouble, FollowsTheLocalesPoint) {
  const CommaLocale locale;
  if (!locale.IsSet()) GTEST_SKIP() << "localedef or its sources are not installed";
  for (const char* row : {"1.5", "1,5", "15", "-15e3", ",5", "5,", "1.500,5", "1,5e-3"}) {
    EXPECT_TRUE(AgreesWithStrtod(row));
  }
  double value = 0;
  EXPECT_FALSE(ZTKString("1.5").ToDouble(&value));
  EXPECT_EQ(value, 1.0);
  EXPECT_TRUE(ZTKString("1,5").ToDouble(&value));
  EXPECT_EQ(value, 1.5);
  CompareMany(7, 2000);
}
