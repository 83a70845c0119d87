// The blocks of a registry with manual block management.  Each is a contiguous range of ids
// of one driver, with the driver's name as its tag.  An id that becomes free within the range stays
// in the block.
#ifndef TTYDB_TOOLS_DRIVER_BLOCKS_H
#define TTYDB_TOOLS_DRIVER_BLOCKS_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// Identifies a driver: path and name.
using DriverKey = std::pair<std::string, std::string>;

inline DriverKey driver_key(const ScannedLine& line) {
  return {line.driver_path, line.cells[kTtyDriver]};
}

class DriverBlocks {
 public:
  explicit DriverBlocks(ttydb::database& db) : db_(db) {}

  // Returns whether a position is outside the blocks of all other drivers.
  bool allows(const DriverKey& driver, ttydb::position at) const;

  // Reserves or resizes a block of the driver to contain a position.  REQUIRES: allows().
  void cover(const DriverKey& driver, ttydb::position at);

  // After a line was deregistered, drops the free ids at the ends of its block, or the empty block.
  void shrink(ttydb::position gone);

  // In order of category and id.
  std::vector<ttydb::block_details> details() const;

 private:
  struct Owned {
    DriverKey driver;
    ttydb::position last;
    ttydb::block block;
  };
  using Blocks = std::map<ttydb::position, Owned>;  // by first position

  Blocks::const_iterator find(ttydb::position at) const;
  void resize(Blocks::const_iterator block, ttydb::position first, ttydb::position last);

  ttydb::database& db_;
  Blocks blocks_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_DRIVER_BLOCKS_H
