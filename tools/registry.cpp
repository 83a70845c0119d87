#include "registry.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace tty_lines {
namespace {

struct LineRecord {
  tty_db_tty_type tty;
  Device device;
  bool idle;
  char name[NAME_MAX + sizeof "pts/"];  // the longest name that a scan finds
};

using Entry = ttydb::entry<LineRecord>;

// Stores a property as an item.  An unknown property has no item.
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
  row.cells[kDevice] = text(entry->device);
  return row;
}

bool comes_before(const Row& left, const Row& right) { return left.position < right.position; }

// The position with the number in a line's name.
std::optional<ttydb::position> wanted_position(const ScannedLine& line) {
  if (line.number.value_or(UINT32_MAX) > TTY_PORT_MAX) return std::nullopt;
  return ttydb::position{line.category(), *line.number};
}

}  // namespace

Registry::Registry(bool by_driver)
    : db_(by_driver ? ttydb::options::lock_entries
                    : ttydb::options::lock_entries | ttydb::options::auto_blocks) {
  if (by_driver) driver_blocks_.emplace(db_);
}

std::vector<std::string> Registry::follow(const std::vector<ScannedLine>& scanned) {
  reports_.clear();
  unregistered_.clear();
  remove_gone(scanned);
  wanted_.clear();
  full_.clear();
  for (const ScannedLine& line : scanned) {
    if (const auto wanted = wanted_position(line)) wanted_.insert(*wanted);
  }
  for (const ScannedLine& line : scanned) settle(line);
  return reports_;
}

std::vector<Row> Registry::rows() const {
  std::vector<Row> rows;
  for (const ttydb::position position : db_.lines()) {
    rows.push_back(read_entry(db_.retrieve_line<LineRecord>(position), position));
  }
  rows.insert(rows.end(), unregistered_.begin(), unregistered_.end());
  std::stable_sort(rows.begin(), rows.end(), comes_before);
  return rows;
}

std::vector<ttydb::block_details> Registry::blocks() const {
  return driver_blocks_ ? driver_blocks_->details() : std::vector<ttydb::block_details>{};
}

void Registry::remove_gone(const std::vector<ScannedLine>& scanned) {
  for (auto next = registered_.begin(); next != registered_.end();) {
    const auto known = next++;
    const auto& [name, line] = *known;
    const auto found = std::lower_bound(
        scanned.begin(), scanned.end(), name,
        [](const ScannedLine& left, const std::string& right) { return left.name < right; });
    if (found != scanned.end() && found->name == name && found->device == line.device &&
        found->category() == line.position.category && driver_key(*found) == line.driver) {
      continue;
    }
    db_.deregister_line(line.position);
    if (driver_blocks_) driver_blocks_->shrink(line.position);
    taken_.erase(line.position);
    registered_.erase(known);
  }
}

// Returns the position for a new line, or none if its category is full.
std::optional<ttydb::position> Registry::choose_position(const ScannedLine& line) const {
  const auto is_free = [&](ttydb::position at) {
    return taken_.count(at) == 0 &&
           (!driver_blocks_ || driver_blocks_->allows(driver_key(line), at));
  };
  if (const auto wanted = wanted_position(line); wanted && is_free(*wanted)) return wanted;
  std::optional<ttydb::position> last_resort;
  for (ttydb::position at{line.category(), 0}; at.id <= TTY_PORT_MAX; ++at.id) {
    if (!is_free(at)) continue;
    if (wanted_.count(at) == 0) return at;
    if (!last_resort) last_resort = at;
  }
  return last_resort;
}

// Registers or updates a line.
void Registry::settle(const ScannedLine& line) {
  if (!line.device) return reject(line, "its device numbers cannot be read");
  Entry entry;
  if (const auto known = registered_.find(line.name); known != registered_.end()) {
    entry = db_.retrieve_line<LineRecord>(known->second.position);
  } else {
    const std::pair key{line.category(), driver_key(line)};
    const auto at = full_.count(key) == 0 ? choose_position(line) : std::nullopt;
    if (!at) {
      full_.insert(key);
      return reject(line, "category " + std::to_string(line.category()) + " has no free id");
    }
    if (driver_blocks_) driver_blocks_->cover(driver_key(line), *at);
    entry = db_.register_line<LineRecord>(*at);
    entry->device = *line.device;
    line.name.copy(entry->name, sizeof entry->name - 1);
    registered_.emplace(line.name, Registered{*at, *line.device, driver_key(line)});
    taken_.insert(*at);
  }
  entry->idle = line.idle;
  for (const Column column : column_range(0, kLineColumns))
    store(entry, column, line.cells[column]);
}

void Registry::reject(const ScannedLine& line, const std::string& reason) {
  Row row{{line.category(), TTY_PORT_MAX + 1}, line.idle, line.cells};
  row.cells[kName] = line.name;
  if (line.device) row.cells[kDevice] = text(*line.device);
  unregistered_.push_back(row);
  reports_.push_back(line.name + ": not registered: " + reason);
}

}  // namespace tty_lines
