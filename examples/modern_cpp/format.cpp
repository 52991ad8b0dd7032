// The library's values in format strings of {fmt}; std::format takes the same ones.
#include <fmt/format.h>

#include "ztk/format_fmt.h"
#include "ztk/ztk.h"

int main() {
  const ZTKString user("ann");
  const ZTKFileName file("/home/ann/todo.txt", ZTKPathUnix);
  const ZTKDateTime due(31, ZTKDateTime::MONTH_MAY, 2024, 8, 15, 0, 0);

  fmt::print("{:<6}|{:>20}|\n", user, file);
  fmt::print("due {} (day {:.10})\n", due, due);
}
