// The listing of a machine's lines that a command line asks for, and the events of its changes.
#ifndef TTYDB_TOOLS_LISTING_H
#define TTYDB_TOOLS_LISTING_H

#include <exception>
#include <string>
#include <vector>

#include "columns.h"
#include "options.h"
#include "registry.h"
#include "table.h"

namespace tty_lines {

// Print a message to standard error.
void complain(const std::string& message);
void complain(const std::exception& failure);

class Listing {
 public:
  explicit Listing(const Options& options);

  // Scans the machine.  Returns the list of its lines.  Throws std::system_error if that fails.
  std::string first();

  // Scans again.  Returns the events, or "" if there are none.  A failure changes nothing; of a
  // series of failures the first is reported.
  std::string next();

  // Returns whether the last scan could read, find and register everything.
  bool complete() const { return reported_.empty(); }

 private:
  bool need_use(const std::vector<Column>& columns) const;
  void follow(bool use);
  bool names(const std::string& device, const Row& row) const;
  bool shows(const Row& row) const;
  std::vector<Column> with_chosen(std::vector<Column> defaults) const;
  std::vector<Column> line_columns() const;
  std::vector<Column> block_columns() const;
  std::vector<Column> event_columns() const;
  std::vector<Column> telling(std::vector<Column> columns) const;
  void sort(std::vector<Row>::iterator first, std::vector<Row>::iterator last) const;
  Cells visible(const Row& row) const;
  Table make_table(const char* name, const std::vector<Column>& columns, Shape shape) const;
  std::string lines() const;
  std::string blocks() const;
  std::string totals() const;
  std::string events(const std::vector<Row>& gone, const std::vector<Row>& come) const;

  const Options& options_;
  bool json_;
  bool for_people_;  // a table on a terminal
  Registry registry_;
  std::vector<Row> all_;               // the lines of the last scan
  std::vector<Row> shown_;             // those of them that the command line asks for
  std::vector<std::string> reported_;  // by the last scan, sorted
  bool failing_ = false;
  bool hint_given_ = false;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_LISTING_H
