// Prints listings as JSON.  What is not known is null.
#include <cstddef>

#include "print.h"
#include "text.h"

namespace tty_lines {
namespace {

template <class T>
std::string number(const std::optional<T>& value) {
  return value ? std::to_string(*value) : "null";
}

std::string text_or_null(const std::string& text) {
  return text.empty() ? "null" : json_string(text);
}

std::string member(const std::string& name, const std::string& value) {
  return '"' + name + "\": " + value;
}

// Values with commas between them, each behind `line_start`, or all on one line if that is empty.
std::string joined(char open, const std::vector<std::string>& values, const std::string& line_start,
                   const std::string& close) {
  const std::string separator = line_start.empty() ? ", " : ',' + line_start;
  std::string out = open + line_start;
  for (std::size_t i = 0; i < values.size(); ++i) out += (i == 0 ? "" : separator) + values[i];
  return out + close;
}

std::string identity(const Terminal& terminal) {
  return member("category", std::to_string(terminal.position.category)) + ", " +
         member("id", std::to_string(terminal.position.id)) + ", " +
         member("name", json_string(terminal.name)) + ", " +
         member("device", '"' + std::to_string(terminal.device.major) + ':' +
                              std::to_string(terminal.device.minor) + '"') +
         ", " + member("driver", text_or_null(terminal.driver));
}

std::string object(const ListedLine& line) {
  const auto& size = line.state.size;
  return '{' + identity(line.terminal) + ", " +
         member("size", size ? '{' + member("columns", std::to_string(size->columns)) + ", " +
                                   member("rows", std::to_string(size->rows)) + '}'
                             : "null") +
         ", " + member("speed", number(line.state.speed)) + ", " +
         member("foreground", number(line.state.foreground)) + '}';
}

std::string object(const ListedBlock& block) {
  return '{' + member("category", std::to_string(block.category)) + ", " +
         member("first", std::to_string(block.first_id)) + ", " +
         member("size", std::to_string(block.size)) + ", " +
         member("registered", std::to_string(block.registered)) + ", " +
         member("tag", text_or_null(block.tag.value_or(""))) + '}';
}

std::string object(const Totals& totals) {
  std::vector<std::string> by_category;
  for (const std::size_t count : totals.by_category) by_category.push_back(std::to_string(count));
  return '{' + member("lines", std::to_string(totals.held.lines)) + ", " +
         member("blocks", std::to_string(totals.held.blocks)) + ", " +
         member("by_category", joined('[', by_category, "", "]")) + ", " +
         member("not_registrable", std::to_string(totals.not_registrable)) + '}';
}

template <class T>
std::string objects(const std::vector<T>& values, const std::string& line_start) {
  std::vector<std::string> list;
  list.reserve(values.size());
  for (const T& value : values) list.push_back(object(value));
  return joined('[', list, line_start, "]");
}

}  // namespace

std::string json(const Listing& listing, bool compact) {
  const std::string element_start = compact ? "" : "\n    ";
  std::vector<std::string> members = {member("lines", objects(listing.lines, element_start))};
  if (listing.blocks) members.push_back(member("blocks", objects(*listing.blocks, element_start)));
  members.push_back(member("totals", object(listing.totals)));
  return joined('{', members, compact ? "" : "\n  ", compact ? "}\n" : "\n}\n");
}

std::string json_blocks(const std::vector<ListedBlock>& blocks) {
  return '{' + member("blocks", objects(blocks, "")) + "}\n";
}

std::string json_change(const Change& change) {
  return '{' + member("event", change.came ? "\"+\"" : "\"-\"") + ", " + identity(change.terminal) +
         "}\n";
}

}  // namespace tty_lines
