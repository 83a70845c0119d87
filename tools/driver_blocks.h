// The blocks of a registry under manual block management: one for each driver and category, tagged
// with the driver's name and just large enough for its lines.
//
// A driver whose range overlaps that of another driver in its category is displaced: its lines get
// a block of their own in kOther, where ids are given out.  It stays there until its last line
// goes.
#ifndef TTYDB_TOOLS_DRIVER_BLOCKS_H
#define TTYDB_TOOLS_DRIVER_BLOCKS_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "claim.h"
#include "tty_db.hpp"

namespace tty_lines {

class DriverBlocks {
 public:
  explicit DriverBlocks(ttydb::database& db) : db_(db) {}

  // Fits the blocks to the claims, which are in order of name and of numbers that an id can have,
  // and gives each its position in a block, or none if there is no room.  A line whose position
  // changes is deregistered.  Every line that is registered must have a claim with its current
  // position.
  void arrange(std::vector<Claim>& claims, std::vector<std::string>& reports);

  // In order of category, then id.
  std::vector<ttydb::block_details> details() const;

 private:
  using Group = std::vector<Claim*>;
  struct Owned {
    ttydb::block block;
    bool displaced;
  };

  void shrink(const std::map<DriverKey, Group>& groups);
  void assign_positions(std::vector<Claim>& claims);
  std::optional<std::uint32_t> lowest_free_id(const std::set<std::uint32_t>& taken,
                                              ttydb::block own) const;
  std::optional<std::uint32_t> lowest_free_run(std::uint32_t count) const;
  bool fit(const DriverKey& key, const Group& group);
  void displace(const DriverKey& key, const Group& group);

  ttydb::database& db_;
  std::map<DriverKey, Owned> owned_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_DRIVER_BLOCKS_H
