// The options of the command line.
#ifndef TTYDB_TOOLS_OPTIONS_H
#define TTYDB_TOOLS_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>

#include "scan.h"

namespace tty_lines {

struct Options {
  Roots roots;
  bool help = false;
  bool version = false;
  bool json = false;
  bool by_driver = false;
  std::optional<std::uint32_t> category;
  std::optional<std::chrono::nanoseconds> watch;  // the time between two scans
};

extern const char* const kUsage;

// None, after a line on standard error, if the command line is bad.
std::optional<Options> parse_options(int argc, char** argv);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_OPTIONS_H
