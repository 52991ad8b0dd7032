// The library's values in a program that otherwise speaks the standard library.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <unordered_set>

#include "ztk/filesystem.h"
#include "ztk/ztk.h"

int main() {
  ZTKStringArray words;
  for (const char* word : {"pear", "fig", "apple", "fig"}) words.Add(word, 1);

  // Hashing: the text decides, as it does for ==.
  const std::unordered_set<ZTKString> unique(words.begin(), words.end());
  std::cout << unique.size() << " different words\n";

  // Ranges, with projections where the compiler has them (C++20).
#ifdef __cpp_lib_ranges
  const auto longest = std::ranges::max_element(words, {}, &ZTKString::Len);
#else
  const auto longest =
      std::max_element(words.begin(), words.end(),
                       [](const ZTKString& a, const ZTKString& b) { return a.Len() < b.Len(); });
#endif
  std::cout << "longest: " << *longest << '\n';

  // A view of the text for whatever takes one.
  const std::string_view view = longest->view();
  std::cout << view.substr(0, 3) << "...\n";

  // Paths, both ways.
  const std::filesystem::path path = std::filesystem::path("notes") / "2024" / "todo.txt";
  ZTKFileName name = ZTKFromStdPath(path);
  name.AppendDir("june");
  std::cout << ZTKToStdPath(name).parent_path().generic_string() << '\n';
}
