// The options of the command line.
#ifndef TTYDB_TOOLS_OPTIONS_H
#define TTYDB_TOOLS_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "columns.h"
#include "scan.h"
#include "table.h"

namespace tty_lines {

enum class Action { kList, kListColumns, kHelp, kVersion };

struct Options {
  Action action = Action::kList;
  Roots roots;
  Format format = Format::kTable;
  bool headings = true;
  bool all = false;
  bool by_driver = false;
  bool list = false;        // blocks and lines without a tree
  bool full_paths = false;  // in the column NAME
  bool all_columns = false;
  std::vector<Column> columns;  // chosen by the user
  bool default_columns = true;  // print the default ones before those
  std::optional<Column> sort_by;
  std::set<std::string> kinds;       // empty: all
  std::vector<std::string> devices;  // names or paths of lines; empty: all
  std::optional<std::uint32_t> category;
  std::optional<std::chrono::nanoseconds> watch;  // the longest time between scans

  // A selection includes idle lines.
  bool hides_idle() const { return !all && kinds.empty() && !category && devices.empty(); }
};

extern const char* const kUsage;

// A mistake on the command line; empty if getopt has reported it.
struct UsageError : std::runtime_error {
  using runtime_error::runtime_error;
};

// Throws a UsageError.
Options parse_options(int argc, char** argv);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_OPTIONS_H
