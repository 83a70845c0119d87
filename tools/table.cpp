// Prints listings as tables of aligned columns.
#include <algorithm>
#include <cstddef>

#include "print.h"
#include "text.h"

namespace tty_lines {
namespace {

using Row = std::vector<std::string>;

constexpr const char* kUnknown = "-";

template <class T>
std::string number(const std::optional<T>& value) {
  return value ? std::to_string(*value) : kUnknown;
}

std::string text_or_unknown(const std::string& text) {
  return text.empty() ? kUnknown : printable(text);
}

// The columns that lists and changes have in common.
Row identity(const Terminal& terminal) {
  return {std::to_string(terminal.position.category), std::to_string(terminal.position.id),
          text_or_unknown(terminal.name),
          std::to_string(terminal.device.major) + ':' + std::to_string(terminal.device.minor),
          text_or_unknown(terminal.driver)};
}

std::string bold(const std::string& text, Style style) {
  return style.colour ? "\x1b[1m" + text + "\x1b[0m" : text;
}

// Columns as wide as their widest cell.  A column is aligned right if `numeric` has 'n' for it.
std::string aligned(const std::vector<Row>& rows, const std::string& numeric, Style style) {
  std::vector<std::size_t> widths(numeric.size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
  }

  std::string out;
  for (const Row& row : rows) {
    std::string text;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string padding(widths[i] - width(row[i]), ' ');
      text += (i == 0 ? "" : "  ") + (numeric[i] == 'n' ? padding + row[i] : row[i] + padding);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    const bool header = &row == &rows.front();
    out += (header ? bold(text, style) : text) + '\n';
    if (!header || style.rule == nullptr) continue;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (i != 0) out += "  ";
      for (std::size_t k = 0; k < widths[i]; ++k) out += style.rule;
    }
    out += '\n';
  }
  return out;
}

std::string totals_line(const Totals& totals) {
  std::string out = std::to_string(totals.held.lines) + " lines, " +
                    std::to_string(totals.held.blocks) + " blocks; by category";
  for (std::size_t category = 0; category < totals.by_category.size(); ++category) {
    out += (category == 0 ? " " : ", ") + std::to_string(category) + ": " +
           std::to_string(totals.by_category[category]);
  }
  return out + "; " + std::to_string(totals.not_registrable) + " not registrable\n";
}

}  // namespace

std::string table(const Listing& listing, Style style) {
  std::vector<Row> rows = {
      {"CATEGORY", "ID", "NAME", "DEVICE", "DRIVER", "SIZE", "SPEED", "FOREGROUND"}};
  for (const auto& [terminal, state] : listing.lines) {
    Row row = identity(terminal);
    row.push_back(state.size
                      ? std::to_string(state.size->columns) + 'x' + std::to_string(state.size->rows)
                      : kUnknown);
    row.push_back(number(state.speed));
    row.push_back(number(state.foreground));
    rows.push_back(row);
  }
  std::string out = aligned(rows, "nn...nnn", style) + totals_line(listing.totals);
  if (listing.blocks) out += block_table(*listing.blocks, style);
  return out;
}

std::string block_table(const std::vector<ListedBlock>& blocks, Style style) {
  std::vector<Row> rows = {{"CATEGORY", "FIRST", "SIZE", "REGISTERED", "TAG"}};
  for (const ListedBlock& block : blocks) {
    rows.push_back({std::to_string(block.category), std::to_string(block.first_id),
                    std::to_string(block.size), std::to_string(block.registered),
                    text_or_unknown(block.tag.value_or(""))});
  }
  return '\n' + aligned(rows, "nnnn.", style);
}

std::string change_line(const Change& change, Style style) {
  std::string out = change.came ? "+" : "-";
  for (const std::string& cell : identity(change.terminal)) out += ' ' + cell;
  if (style.colour) out = (change.came ? "\x1b[32m" : "\x1b[31m") + out + "\x1b[0m";
  return out + '\n';
}

}  // namespace tty_lines
