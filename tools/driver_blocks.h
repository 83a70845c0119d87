// The blocks of a registry under manual block management: each is a run of ids of one driver, and
// is tagged with the driver's name.  A driver has as many blocks as its ids have runs; ids within a
// run that fall free stay the driver's.
#ifndef TTYDB_TOOLS_DRIVER_BLOCKS_H
#define TTYDB_TOOLS_DRIVER_BLOCKS_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// What tells drivers apart: path and name.
using DriverKey = std::pair<std::string, std::string>;

inline DriverKey driver_key(const ScannedLine& line) {
  return {line.driver_path, line.cells[kTtyDriver]};
}

class DriverBlocks {
 public:
  explicit DriverBlocks(ttydb::database& db) : db_(db) {}

  // Whether a line of a driver can be registered at a position: it is in no other driver's block.
  bool allows(const DriverKey& driver, ttydb::position at) const;

  // Makes a block of the driver contain a position that allows() has allowed.
  void cover(const DriverKey& driver, ttydb::position at);

  // Gives up the ids of a block at its ends, or the block, after a line in it was deregistered.
  void shrink(ttydb::position gone);

  // In order of category, then id.
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
