// What the shared libraries let others see: their own names, and the same ones.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

struct Symbol {
  char kind;         // A letter of nm's; small ones and 'W' and 'V' may be in several libraries.
  std::string name;  // Demangled, without a version.
};

// The symbols of one line of nm; an absolute one is the name of a version, and no symbol.
std::vector<Symbol> Parse(const std::string& line) {
  const size_t kind = line.find(' ');
  if (kind == std::string::npos || kind + 3 >= line.size() || line[kind + 1] == 'A') return {};
  std::string name = line.substr(kind + 3);
  while (!name.empty() && std::isspace(static_cast<unsigned char>(name.back()))) name.pop_back();
  return {{line[kind + 1], name.substr(0, name.find('@'))}};
}

std::vector<Symbol> Exported(const char* pszLibrary) {
  const std::string command = std::string(ZTK_NM " -D -C --defined-only '") + pszLibrary + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), pclose);
  EXPECT_NE(output, nullptr);
  std::vector<Symbol> symbols;
  std::string line;
  for (int ch; output != nullptr && (ch = std::getc(output.get())) != EOF;) {
    if (ch != '\n') {
      line += static_cast<char>(ch);
      continue;
    }
    for (Symbol& symbol : Parse(line)) symbols.push_back(std::move(symbol));
    line.clear();
  }
  return symbols;
}

// What stands in front of a name that the compiler makes something for.
constexpr std::string_view kMade[] = {
    "vtable for ",         "typeinfo for ",
    "typeinfo name for ",  "VTT for ",
    "guard variable for ", "non-virtual thunk to ",
    "virtual thunk to ",   "construction vtable for ",
};

// The free functions that do not say by their name whose they are, and those of the layers that
// others may call: every further function of a layer is its own business.
constexpr std::string_view kFree[] = {
    "_lstrcpyn",
    "FormatLogBuf",
    "ParseExtension",
    "ExtractExtension",
    "CheckFile",
    "XPA2W",
    "XPW2A",
    "XPA2WRequiredLen",
    "XPW2ARequiredLen",
    "XPSystemReadsUtf8",
    "XPVsnprintf",
    "XPOutputDebugString",
    "XPOnAssert",
    "XPMacPathToCompName",
    "XPCompNameToMacPath",
    "XPGetTempFolder",
    "XPGetNativeSeparator",
    "FindApplicationPackageDirectory",
    "CreateBundleFromFSSpec",
    "NavEventProc",
    "XPGetUserReply",
    "XPCFStringRefToZTKString",
};

// The name without the arguments of templates, and of the function.
std::string Bare(std::string_view name) {
  std::string bare;
  int depth = 0;
  for (const char ch : name) {
    if (ch == '(' && depth == 0) break;
    if (ch == '<') ++depth;
    if (depth == 0) bare += ch;
    if (ch == '>') --depth;
  }
  return bare;
}

bool IsOurs(std::string_view name) {
  for (const std::string_view made : kMade) {
    if (name.starts_with(made)) return IsOurs(name.substr(made.size()));
  }
  const std::string bare = Bare(name);
  if (bare.starts_with("ZTK") || bare.starts_with("CZTK")) {
    // What stands before a blank is the result of a template, unless a conversion is meant.
    return bare.find(' ') == std::string::npos || bare.find("::operator ") != std::string::npos;
  }
  return std::find(std::begin(kFree), std::end(kFree), bare) != std::end(kFree);
}

std::vector<std::string> NotOurs(const std::vector<Symbol>& symbols) {
  std::vector<std::string> names;
  for (const Symbol& symbol : symbols) {
    if (!IsOurs(symbol.name)) names.push_back(symbol.name);
  }
  return names;
}

// The native files of a layer are its own matter.
bool IsOfOneLayer(std::string_view name) {
  constexpr std::string_view kNames[] = {"ZTKMac",
                                         "ZTKFilterCallback(",
                                         "FindApplicationPackageDirectory(",
                                         "CreateBundleFromFSSpec(",
                                         "NavEventProc(",
                                         "XPGetUserReply(",
                                         "XPCFStringRefToZTKString("};
  return std::any_of(std::begin(kNames), std::end(kNames),
                     [name](std::string_view start) { return name.starts_with(start); });
}

// The private side of a class, which programs never call.
bool IsPrivate(std::string_view name) {
  constexpr std::string_view kSides[] = {"::System",    "::State",     "::XPRecord",   "::Table",
                                         "::ByteLines", "::UnitLines", "::ReportScope"};
  return std::any_of(std::begin(kSides), std::end(kSides), [name](std::string_view side) {
    const size_t at = name.find(side);
    return at != std::string_view::npos && name.substr(at + side.size()).starts_with("::");
  });
}

std::set<std::string> Shared(const std::vector<Symbol>& symbols) {
  std::set<std::string> names;
  for (const Symbol& symbol : symbols) {
    // Inline functions are in a library where one of its sources could not do without.
    const bool isInline = symbol.kind == 'W' || symbol.kind == 'V' || symbol.kind == 'u';
    if (!isInline && !IsOfOneLayer(symbol.name)) names.insert(symbol.name);
  }
  return names;
}

std::set<std::string> Without(const std::set<std::string>& a, const std::set<std::string>& b) {
  std::set<std::string> rest;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(rest, rest.end()));
  return rest;
}

}  // namespace

TEST(ExportsTest, KnowsItsOwnNames) {
  for (const char* const name :
       {"ZTKString::ZTKString()", "CZTKMsgEvent::XPWait(unsigned long)", "vtable for ZTKTimer",
        "ZTKMacFindFolder(short, unsigned long, unsigned char, ZTKString&)",
        "ZTKString::operator char const*() const", "ZTKHashMap<unsigned long>::Find(unsigned long)",
        "ZTKString::operator<<(char)", "typeinfo name for ZTKFile",
        "_lstrcpyn(char*, char const*, unsigned long)", "CheckFile(ZTKString&)",
        "XPMacPathToCompName(char const*)", "FindApplicationPackageDirectory(short*, long*)",
        "NavEventProc(int, ztk_mac_services::NavCBRec*, void*)",
        "non-virtual thunk to ZTKDataStream::~ZTKDataStream()",
        "guard variable for ZTKEventLoop::Main()::loop", "ZTKTimer::s_uInitTime"}) {
    EXPECT_TRUE(IsOurs(name)) << name;
  }
}

TEST(ExportsTest, KnowsTheNamesOfOthers) {
  for (const char* const name :
       {"std::vector<ZTKString, std::allocator<ZTKString> >::~vector()",
        "vtable for std::exception", "void std::__sort<ZTKString*>(ZTKString*, ZTKString*)",
        "ztk_mac_services::FSMakeFSSpec(short, long, unsigned char const*)",
        "vtable for ztk_mac_services::CFString", "typeinfo for ztk_mac_services::__CFBundle",
        "XPOpenLibrary(char const*)", "XPBootTicks()", "ZTKString& std::max<ZTKString>(ZTKString&)",
        "operator new(unsigned long)", "main", "guard variable for std::x", "",
        "ztk_utf8::Decode(char const*)"}) {
    EXPECT_FALSE(IsOurs(name)) << name;
  }
}

TEST(ExportsTest, ReadsWhatNmWrites) {
  ASSERT_EQ(Parse("0000000000041d20 T ZTKFile::Close()@@ZTKBASE_1").size(), 1u);
  EXPECT_EQ(Parse("0000000000041d20 T ZTKFile::Close()@@ZTKBASE_1")[0].name, "ZTKFile::Close()");
  EXPECT_EQ(Parse("0000000000041d20 W ZTKFile::Close()")[0].kind, 'W');
  EXPECT_THAT(Parse("0000000000000000 A ZTKBASE_1"), IsEmpty());
  EXPECT_THAT(Parse(""), IsEmpty());
}

TEST(ExportsTest, KnowsThePrivateSides) {
  for (const char* const name :
       {"ZTKHashMap<void*>::Table::Create()", "vtable for ZTKHashMap<void*>::Table::Part",
        "ZTKEventLoop::State::Wait(long)", "ZTKThread::System::~System()"}) {
    EXPECT_TRUE(IsPrivate(name)) << name;
  }
  for (const char* const name :
       {"ZTKHashMap<void*>::GetTable()", "ZTKFile::StateOf(int)", "ZTKTimer::XPSetTimer()"}) {
    EXPECT_FALSE(IsPrivate(name)) << name;
  }
}

class LibraryExports : public ::testing::TestWithParam<const char*> {};

TEST_P(LibraryExports, AreItsOwnNamesAndNoOthers) {
  const std::vector<Symbol> symbols = Exported(GetParam());
  EXPECT_GT(symbols.size(), 500u);
  EXPECT_THAT(Shared(symbols), Contains("ZTKString::Truncate(unsigned long)"));
  EXPECT_THAT(Shared(symbols), Contains("ZTKTimer::Notify()"));
  EXPECT_THAT(NotOurs(symbols), IsEmpty());
  for (const Symbol& symbol : symbols) EXPECT_FALSE(IsPrivate(symbol.name)) << symbol.name;
}

INSTANTIATE_TEST_SUITE_P(Layer, LibraryExports,
                         ::testing::Values(ZTK_POSIX_LIBRARY, ZTK_MAC_LIBRARY),
                         [](const auto& parameter) {
                           return parameter.index == 0 ? "Posix" : "Mac";
                         });

TEST(ExportsTest, BothLibrariesShowTheSame) {
  const std::set<std::string> posix = Shared(Exported(ZTK_POSIX_LIBRARY));
  const std::set<std::string> mac = Shared(Exported(ZTK_MAC_LIBRARY));
  EXPECT_THAT(Without(posix, mac), IsEmpty());
  EXPECT_THAT(Without(mac, posix), IsEmpty());
}
