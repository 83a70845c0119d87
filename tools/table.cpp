#include "table.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "text.h"

namespace tty_lines {
namespace {

template <class T>
T* require(T* made) {
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

// Prepares a text for libsmartcols, which itself quotes JSON and escapes raw output.
std::string prepare(Column column, const std::string& text, Format format) {
  if (format == Format::kTable) return printable(text);
  if (format == Format::kRaw || format == Format::kPairs) return text;
  // The size of a block is a number, that of a terminal a string.
  return column == kSize && text.find('x') != std::string::npos ? '"' + text + '"' : valid(text);
}

// Removes newlines and indentation from a document.  Its strings contain no newlines.
std::string one_line(const std::string& document) {
  std::string out;
  bool indent = false;
  for (const char c : document) {
    indent = c == '\n' || (indent && c == ' ');
    if (!indent) out += c;
  }
  return out + '\n';
}

// On a narrow terminal, the command and the detail are truncated first, the name last.  Fixed
// widths make successive tables of events look like one.
double width_hint(Column column, Shape shape) {
  switch (column) {
    case kName:
      return shape == Shape::kEvents ? 8 : 0.25;
    case kKind:
      return shape == Shape::kEvents ? 7 : 0;
    case kCommand:
      return 0.1;
    case kDetail:
      return 0.3;
    default:
      return 0;
  }
}

}  // namespace

Table::Table(const char* name, std::vector<Column> columns, Format format, Shape shape,
             bool headings)
    : columns_(std::move(columns)),
      format_(format),
      tree_(shape == Shape::kTree && format != Format::kRaw && format != Format::kPairs),
      table_(require(scols_new_table()), &scols_unref_table) {
  libscols_table* const table = table_.get();
  require(scols_table_set_name(table, name) == 0 ? table : nullptr);
  const bool json = format == Format::kJson || format == Format::kJsonLine;
  scols_table_enable_json(table, json);
  scols_table_enable_raw(table, format == Format::kRaw);
  scols_table_enable_export(table, format == Format::kPairs);
  scols_table_enable_noheadings(table, headings ? 0 : 1);
  scols_table_enable_noencoding(table, format == Format::kTable);

  const bool has_name = std::find(columns_.begin(), columns_.end(), kName) != columns_.end();
  for (const Column column : columns_) {
    const ColumnType& type = kColumns[column];
    const bool branches = tree_ && column == (has_name ? kName : columns_.front());
    const int flags = (type.number ? SCOLS_FL_RIGHT : 0) | (type.cut ? SCOLS_FL_TRUNC : 0) |
                      (branches ? SCOLS_FL_TREE : 0) | (column == kName ? SCOLS_FL_NOEXTREMES : 0);
    // Keys must be names for jq and a shell.
    std::string key = type.name;
    if (json || format == Format::kPairs) std::replace(key.begin(), key.end(), '-', '_');
    libscols_column* const made =
        require(scols_table_new_column(table, key.c_str(), width_hint(column, shape), flags));
    scols_column_set_json_type(made, type.number ? SCOLS_JSON_NUMBER : SCOLS_JSON_STRING);
  }
}

Table::Line Table::add(const Cells& cells, Line parent) {
  const Line line = require(scols_table_new_line(table_.get(), tree_ ? parent : nullptr));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const std::string text = prepare(columns_[i], cells[columns_[i]], format_);
    if (!text.empty() && scols_line_set_data(line, i, text.c_str()) != 0) throw std::bad_alloc();
  }
  return line;
}

std::string Table::text() const {
  if (columns_.empty()) return "";  // libsmartcols refuses a table without columns
  char* text = nullptr;
  if (scols_print_table_to_string(table_.get(), &text) != 0) throw std::bad_alloc();
  const std::unique_ptr<char, void (*)(void*)> owned(text, &std::free);
  std::string out = text == nullptr ? "" : text;
  if (format_ == Format::kJsonLine) return one_line(out);
  if (!out.empty() && out.back() != '\n') out += '\n';
  return out;
}

}  // namespace tty_lines
