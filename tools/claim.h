// What a line of the machine asks of the registry.
#ifndef TTYDB_TOOLS_CLAIM_H
#define TTYDB_TOOLS_CLAIM_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// What sets the lines of a driver apart: category by the line's name, path and name of the driver.
using DriverKey = std::tuple<std::uint32_t, std::string, std::string>;

inline DriverKey driver_key(const ScannedLine& line) {
  return {line.place.category, line.driver_path, line.cells[kDriver]};
}

struct Claim {
  const ScannedLine* line;
  std::optional<ttydb::position> current;   // where it is registered
  std::optional<ttydb::position> position;  // where it is to be
};

// The ids of kOther, where ids are given out, at which lines are registered.
inline std::set<std::uint32_t> taken_ids(const std::vector<Claim>& claims) {
  std::set<std::uint32_t> taken;
  for (const Claim& claim : claims) {
    if (claim.current && claim.current->category == kOther) taken.insert(claim.current->id);
  }
  return taken;
}

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_CLAIM_H
