// Formats rows of cells with libsmartcols.
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

  // `name` is the name of the array in JSON.
  Table(const char* name, std::vector<Column> columns, Format format, Shape shape, bool headings);

  // In a tree, a row can be the child of another.  Raw output and pairs have no tree.
  Line add(const Cells& cells, Line parent = nullptr);
  // Returns the text to print.  Format::kJsonLine puts the document on one line.
  std::string text() const;

 private:
  std::vector<Column> columns_;
  Format format_;
  bool tree_;
  std::unique_ptr<libscols_table, void (*)(libscols_table*)> table_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_TABLE_H
