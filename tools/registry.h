// Keeps a database in step with the machine: registers every line that a scan finds.
//
// The category of a line is that of its kind.  Its id is the number in its name or, if that is
// taken, the lowest free id that is not the number in another name of the category.  It keeps the
// id while it exists.
//
// An entry has the line's name and device numbers.  Each other property is an item: a string whose
// key is the column.
#ifndef TTYDB_TOOLS_REGISTRY_H
#define TTYDB_TOOLS_REGISTRY_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "columns.h"
#include "driver_blocks.h"
#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// A line, from the database or, if it could not be registered, from the scan.
struct Row {
  ttydb::position position;  // if not registered, after all ids of its category
  bool idle;
  Cells cells;
};

class Registry {
 public:
  // With `by_driver`, each driver has its own blocks.
  explicit Registry(bool by_driver);
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Brings the database in step with a scan.  Returns a report for each line that cannot be
  // registered.  Throws std::system_error if the library fails.
  std::vector<std::string> follow(const std::vector<ScannedLine>& scanned);

  // All lines, in order of category and id.
  std::vector<Row> rows() const;
  // The blocks of the drivers, in the same order.
  std::vector<ttydb::block_details> blocks() const;

 private:
  struct Registered {
    ttydb::position position;
    Device device;
    DriverKey driver;
  };

  void remove_gone(const std::vector<ScannedLine>& scanned);
  std::optional<ttydb::position> choose_position(const ScannedLine& line) const;
  void settle(const ScannedLine& line);
  void reject(const ScannedLine& line, const std::string& reason);

  ttydb::database db_;
  std::optional<DriverBlocks> driver_blocks_;
  std::map<std::string, Registered> registered_;  // by name
  std::set<ttydb::position> taken_;               // their positions
  // Of the current scan:
  std::set<ttydb::position> wanted_;                    // by the numbers in names
  std::set<std::pair<std::uint32_t, DriverKey>> full_;  // full categories, by driver
  std::vector<Row> unregistered_;
  std::vector<std::string> reports_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_REGISTRY_H
