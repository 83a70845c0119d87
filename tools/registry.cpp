#include "registry.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>
#include <system_error>

namespace tty_lines {
namespace {

struct LineRecord {
  tty_db_tty_type tty;
  Device device;
  bool idle;
  char name[NAME_MAX + sizeof "pts/"];  // the longest that a scan makes
};

using Entry = ttydb::entry<LineRecord>;

// Makes an item say what the last scan found; no item says that it is not known.
void store(const Entry& entry, Column key, const std::string& text) {
  const char* const item = entry.find<char>(key);
  if (text == (item == nullptr ? "" : item)) return;
  if (item != nullptr) entry.destroy(key);
  if (text.empty()) return;
  std::memcpy(entry.create_array<char>(key, text.size() + 1), text.c_str(), text.size() + 1);
}

Row read_entry(const Entry& entry, ttydb::position position) {
  Row row{position, entry->idle, {}};
  for (const Column column : column_range(0, kLineColumns)) {
    if (const char* const item = entry.find<char>(column)) row.cells[column] = item;
  }
  row.cells[kName] = entry->name;
  row.cells[kCategory] = std::to_string(position.category);
  row.cells[kId] = std::to_string(position.id);
  row.cells[kDevice] =
      std::to_string(entry->device.major) + ':' + std::to_string(entry->device.minor);
  return row;
}

// Gives each line the position that its name asks for, or the lowest free id where it asks for
// none.
void assign_positions(std::vector<Claim>& claims) {
  const std::set<std::uint32_t> taken = taken_ids(claims);
  std::uint32_t free_id = 0;
  for (Claim& claim : claims) {
    if (claim.current) {
      claim.position = claim.current;
    } else if (claim.line->place.number) {
      claim.position = ttydb::position{claim.line->place.category, *claim.line->place.number};
    } else {
      while (taken.count(free_id) != 0) ++free_id;
      if (free_id <= TTY_PORT_MAX) claim.position = ttydb::position{kOther, free_id++};
    }
  }
}

std::string text(ttydb::position position) {
  return "category " + std::to_string(position.category) + ", id " + std::to_string(position.id);
}

}  // namespace

Registry::Registry(bool by_driver)
    : db_(by_driver ? ttydb::options::lock_entries
                    : ttydb::options::lock_entries | ttydb::options::auto_blocks) {
  if (by_driver) driver_blocks_.emplace(db_);
}

std::vector<std::string> Registry::follow(const std::vector<ScannedLine>& scanned) {
  not_registrable_ = 0;
  reports_.clear();
  remove_gone(scanned);
  std::vector<Claim> claims = make_claims(scanned);
  if (driver_blocks_) {
    driver_blocks_->arrange(claims, reports_);
  } else {
    assign_positions(claims);
  }
  for (const Claim& claim : claims) settle(claim);
  return reports_;
}

std::vector<Row> Registry::rows() const {
  std::vector<Row> rows;
  for (const ttydb::position position : db_.lines()) {
    rows.push_back(
        read_entry(db_.retrieve_line<LineRecord>(position.category, position.id), position));
  }
  return rows;
}

std::vector<ttydb::block_details> Registry::blocks() const {
  return driver_blocks_ ? driver_blocks_->details() : std::vector<ttydb::block_details>{};
}

void Registry::remove_gone(const std::vector<ScannedLine>& scanned) {
  for (auto next = held_.begin(); next != held_.end();) {
    const auto held = next++;
    const auto& [name, line] = *held;
    const auto found = std::lower_bound(
        scanned.begin(), scanned.end(), name,
        [](const ScannedLine& left, const std::string& right) { return left.name < right; });
    if (found != scanned.end() && found->name == name && found->device == line.device &&
        driver_key(*found) == line.driver) {
      continue;
    }
    db_.deregister_line(line.position.category, line.position.id);
    held_.erase(held);
  }
}

std::vector<Claim> Registry::make_claims(const std::vector<ScannedLine>& scanned) {
  std::vector<Claim> claims;
  for (const ScannedLine& line : scanned) {
    if (!line.device) {
      reject(line.name, "its device numbers cannot be read");
    } else if (line.place.number.value_or(0) > TTY_PORT_MAX) {
      reject(line.name, "its number is above " + std::to_string(TTY_PORT_MAX));
    } else {
      const auto held = held_.find(line.name);
      claims.push_back({&line, {}, {}});
      if (held != held_.end()) claims.back().current = held->second.position;
    }
  }
  return claims;
}

// Makes the database hold the line at its position, with what the scan found, unless another line
// is there.
void Registry::settle(const Claim& claim) {
  const ScannedLine& line = *claim.line;
  if (!claim.position) {
    held_.erase(line.name);
    reject(line.name, "category " + std::to_string(kOther) + " has no free id");
    return;
  }

  const ttydb::position position = *claim.position;
  std::error_code ec;
  Entry entry = db_.retrieve_line<LineRecord>(position.category, position.id, ec);
  if (ec == ttydb::errc::not_registered || ec == ttydb::errc::no_block) {
    entry = db_.register_line<LineRecord>(position.category, position.id);
    entry->device = *line.device;
    line.name.copy(entry->name, sizeof entry->name - 1);
  } else if (ec) {
    throw std::system_error(ec, line.name);
  } else if (line.name != entry->name) {
    reject(line.name, text(position) + " is taken by " + entry->name);
    return;
  }
  entry->idle = line.idle;
  for (const Column column : column_range(0, kLineColumns))
    store(entry, column, line.cells[column]);
  held_.insert_or_assign(line.name, Held{position, *line.device, driver_key(line)});
}

void Registry::reject(const std::string& name, const std::string& reason) {
  ++not_registrable_;
  reports_.push_back(name + ": not registrable: " + reason);
}

}  // namespace tty_lines
