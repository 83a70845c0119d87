// Keeps a database in step with the machine: every line that a scan finds is registered, if it can
// be.
//
// An entry is the line's name and device numbers; each of its properties is an item on it, a string
// whose key is its column.
#ifndef TTYDB_TOOLS_REGISTRY_H
#define TTYDB_TOOLS_REGISTRY_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "claim.h"
#include "columns.h"
#include "driver_blocks.h"
#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// All that the database says of a registered line.
struct Row {
  ttydb::position position;
  bool idle;
  Cells cells;
};

class Registry {
 public:
  // By driver: under manual block management, a block for each driver.
  explicit Registry(bool by_driver);
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Brings the database in step with a scan.  Returns reports of what could not be registered as
  // its name asks. Throws std::system_error if the library fails.
  std::vector<std::string> follow(const std::vector<ScannedLine>& scanned);

  // In order of category, then id.
  std::vector<Row> rows() const;
  // The same; none of a registry that is not by driver.
  std::vector<ttydb::block_details> blocks() const;
  ttydb::counts counts() const { return db_.counts(); }
  // By the last scan.
  std::size_t not_registrable() const { return not_registrable_; }

 private:
  struct Held {
    ttydb::position position;
    Device device;
    DriverKey driver;
  };

  void remove_gone(const std::vector<ScannedLine>& scanned);
  std::vector<Claim> make_claims(const std::vector<ScannedLine>& scanned);
  void settle(const Claim& claim);
  void reject(const std::string& name, const std::string& reason);

  ttydb::database db_;
  std::optional<DriverBlocks> driver_blocks_;
  std::map<std::string, Held> held_;  // what is registered, by name
  std::size_t not_registrable_ = 0;
  std::vector<std::string> reports_;  // of the scan being followed
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_REGISTRY_H
