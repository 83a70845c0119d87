// Prints rows of cells by libsmartcols: as a table that fits the terminal, as a tree, raw or as
// JSON.
#ifndef TTYDB_TOOLS_TABLE_H
#define TTYDB_TOOLS_TABLE_H

#include <libsmartcols/libsmartcols.h>

#include <memory>
#include <string>
#include <vector>

#include "columns.h"

namespace tty_lines {

enum class Format { kTable, kRaw, kPairs, kJson, kJsonLine };
enum class Shape { kList, kTree, kEvents };

class Table {
 public:
  using Line = libscols_line*;

  // `name` is that of the array in JSON.
  Table(const char* name, std::vector<Column> columns, Format format, Shape shape, bool headings);

  // In a tree, which is a table or JSON, a line can be the child of another.
  Line add(const Cells& cells, Line parent = nullptr);
  // What is printed; a JSON document of Format::kJsonLine is one line.
  std::string text() const;

 private:
  std::vector<Column> columns_;
  Format format_;
  bool tree_;
  std::unique_ptr<libscols_table, void (*)(libscols_table*)> table_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_TABLE_H
