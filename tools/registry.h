// Keeps a database in step with the machine: every line that a scan finds is registered, if it can
// be.
//
// An entry is the line's name and device numbers; what not every line has is in items on it.
#ifndef TTYDB_TOOLS_REGISTRY_H
#define TTYDB_TOOLS_REGISTRY_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "claim.h"
#include "driver_blocks.h"
#include "scan.h"
#include "tty_db.hpp"

namespace tty_lines {

// A registered line as it can be told apart from others.
struct Terminal {
  ttydb::line position;
  std::string name;
  Device device;
  std::string driver;  // empty if not known
};

// A registered line with all that its entry says.
struct ListedLine {
  Terminal terminal;
  TerminalState state;
};

struct ListedBlock {
  std::uint32_t category;
  std::uint32_t first_id;
  std::uint32_t size;
  std::uint32_t registered;
  std::optional<std::string> tag;
};

struct Totals {
  ttydb::counts held;
  std::array<std::size_t, TTY_CATEGORY_MAX + 1> by_category;
  std::size_t not_registrable;
};

// A line that has been registered, or deregistered.
struct Change {
  bool came;
  Terminal terminal;
};

struct Step {
  std::vector<Change> changes;
  std::vector<std::string> reports;  // of what could not be registered as its name asks
};

class Registry {
 public:
  // By driver: under manual block management, a block for each driver.
  explicit Registry(bool by_driver);
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Brings the database in step with a scan.  Throws std::system_error if the library fails.
  Step follow(const std::vector<ScannedLine>& scanned);

  // In order of category, then id; of one category, or of all.
  std::vector<ListedLine> lines(std::optional<std::uint32_t> category) const;
  // None of a registry that is not by driver.
  std::vector<ListedBlock> blocks(std::optional<std::uint32_t> category) const;
  Totals totals() const;

 private:
  struct Held {
    ttydb::line position;
    ScannedLine line;  // as the last scan found it
  };

  void remove_gone(const std::vector<ScannedLine>& scanned, Step& step);
  std::vector<Claim> make_claims(const std::vector<ScannedLine>& scanned, Step& step);
  void settle(const Claim& claim, Step& step);
  void reject(const std::string& name, const std::string& reason, Step& step);

  ttydb::database db_;
  std::optional<DriverBlocks> driver_blocks_;
  std::map<std::string, Held> held_;  // what is registered, by name
  std::size_t not_registrable_ = 0;   // by the last scan
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_REGISTRY_H
