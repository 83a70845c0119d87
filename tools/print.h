// What the program prints: as tables for people, or as JSON.
#ifndef TTYDB_TOOLS_PRINT_H
#define TTYDB_TOOLS_PRINT_H

#include <optional>
#include <string>
#include <vector>

#include "registry.h"

namespace tty_lines {

struct Listing {
  std::vector<ListedLine> lines;
  std::optional<std::vector<ListedBlock>> blocks;
  Totals totals;
};

struct Style {
  bool colour;       // escape sequences may be printed
  const char* rule;  // what lines under headers are drawn of; null for none
};

std::string table(const Listing& listing, Style style);
std::string block_table(const std::vector<ListedBlock>& blocks, Style style);
std::string change_line(const Change& change, Style style);

// Each is one JSON document and a line end; compact ones are a single line.
std::string json(const Listing& listing, bool compact);
std::string json_blocks(const std::vector<ListedBlock>& blocks);
std::string json_change(const Change& change);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_PRINT_H
