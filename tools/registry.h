// Keeps a database in step with the machine: every line that a scan finds is registered, if it can
// be.
//
// A line is registered in the category of its kind, under the number in its name if that id is
// free, or else under the lowest free id that no name of the category asks for.  It keeps its id as
// long as it is there.
//
// An entry is the line's name and device numbers; each of its properties is an item on it, a string
// whose key is its column.
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

// What is known of a line: all that the database says of it or, if it is not registered, what the
// scan has found.
struct Row {
  ttydb::position position;  // not registered: past the ids of its category
  bool idle;
  Cells cells;
};

class Registry {
 public:
  // By driver: under manual block management, in blocks of the drivers.
  explicit Registry(bool by_driver);
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Brings the database in step with a scan.  Returns reports of what cannot be registered.
  // Throws std::system_error if the library fails.
  std::vector<std::string> follow(const std::vector<ScannedLine>& scanned);

  // All lines, in order of category, then id.
  std::vector<Row> rows() const;
  // In the same order; none of a registry that is not by driver.
  std::vector<ttydb::block_details> blocks() const;

 private:
  struct Held {
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
  std::map<std::string, Held> held_;  // what is registered, by name
  std::set<ttydb::position> taken_;   // where
  // Of the scan being followed:
  std::set<ttydb::position> wanted_;                    // by names
  std::set<std::pair<std::uint32_t, DriverKey>> full_;  // categories, for a driver
  std::vector<Row> unregistered_;
  std::vector<std::string> reports_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_REGISTRY_H
