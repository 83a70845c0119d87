#include "registry.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>
#include <system_error>
#include <utility>

namespace tty_lines {
namespace {

struct LineRecord {
  tty_db_tty_type tty;
  Device device;
  char name[NAME_MAX + sizeof "pts/"];  // the longest that a scan makes
};

// The items of an entry.
enum ItemKey : std::uint32_t {
  kDriver,  // a string
  kSize,
  kSpeed,
  kForeground,
};

using Entry = ttydb::entry<LineRecord>;

// Makes an item say what the last scan found; no item says that it is not known.
template <class T>
void store(const Entry& entry, ItemKey key, const std::optional<T>& value) {
  T* item = entry.find<T>(key);
  if (value) {
    if (item == nullptr) item = &entry.create<T>(key);
    *item = *value;
  } else if (item != nullptr) {
    entry.destroy(key);
  }
}

template <class T>
std::optional<T> load(const Entry& entry, ItemKey key) {
  const T* item = entry.find<T>(key);
  return item == nullptr ? std::nullopt : std::optional<T>(*item);
}

void store_identity(const Entry& entry, const ScannedLine& line) {
  entry->device = *line.device;
  line.name.copy(entry->name, sizeof entry->name - 1);
  if (line.driver.empty()) return;
  const std::size_t size = line.driver.size() + 1;
  std::memcpy(entry.create_array<char>(kDriver, size), line.driver.c_str(), size);
}

void store_state(const Entry& entry, const TerminalState& state) {
  store(entry, kSize, state.size);
  store(entry, kSpeed, state.speed);
  store(entry, kForeground, state.foreground);
}

ListedLine read_entry(const Entry& entry, ttydb::line position) {
  const char* driver = entry.find<char>(kDriver);
  return {{position, entry->name, entry->device, driver == nullptr ? "" : driver},
          {load<WindowSize>(entry, kSize), load<std::uint32_t>(entry, kSpeed),
           load<pid_t>(entry, kForeground)}};
}

Terminal terminal(ttydb::line position, const ScannedLine& line) {
  return {position, line.name, *line.device, line.driver};
}

bool same_line(const ScannedLine& left, const ScannedLine& right) {
  return left.device == right.device && left.driver == right.driver &&
         left.driver_path == right.driver_path && left.place.category == right.place.category;
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
      claim.position = ttydb::line{claim.line->place.category, *claim.line->place.number};
    } else {
      while (taken.count(free_id) != 0) ++free_id;
      if (free_id <= TTY_PORT_MAX) claim.position = ttydb::line{kOther, free_id++};
    }
  }
}

std::string text(ttydb::line position) {
  return "category " + std::to_string(position.category) + ", id " + std::to_string(position.id);
}

}  // namespace

Registry::Registry(bool by_driver)
    : db_(by_driver ? ttydb::options::lock_entries
                    : ttydb::options::lock_entries | ttydb::options::auto_blocks) {
  if (by_driver) driver_blocks_.emplace(db_);
}

Step Registry::follow(const std::vector<ScannedLine>& scanned) {
  Step step;
  not_registrable_ = 0;
  remove_gone(scanned, step);
  std::vector<Claim> claims = make_claims(scanned, step);
  if (driver_blocks_) {
    driver_blocks_->arrange(claims, step.reports);
  } else {
    assign_positions(claims);
  }
  for (const Claim& claim : claims) settle(claim, step);
  return step;
}

std::vector<ListedLine> Registry::lines(std::optional<std::uint32_t> category) const {
  std::vector<ListedLine> listed;
  const ttydb::line first{category.value_or(TTY_CATEGORY_MIN), 0};
  const ttydb::line last{category.value_or(TTY_CATEGORY_MAX), TTY_PORT_MAX};
  for (const ttydb::line position : db_.lines(first, last)) {
    const auto entry = db_.retrieve_line<LineRecord>(position.category, position.id);
    listed.push_back(read_entry(entry, position));
  }
  return listed;
}

std::vector<ListedBlock> Registry::blocks(std::optional<std::uint32_t> category) const {
  std::vector<ListedBlock> listed;
  if (!driver_blocks_) return listed;
  for (const ttydb::block_details& block : driver_blocks_->details()) {
    if (category && block.category != *category) continue;
    listed.push_back({block.category, block.first_tty, block.capacity, block.num_registered, {}});
    if (block.tag_name != nullptr) listed.back().tag = block.tag_name;
  }
  return listed;
}

Totals Registry::totals() const {
  Totals totals{db_.counts(), {}, not_registrable_};
  for (const ttydb::line position : db_.lines()) ++totals.by_category[position.category];
  return totals;
}

void Registry::remove_gone(const std::vector<ScannedLine>& scanned, Step& step) {
  for (auto next = held_.begin(); next != held_.end();) {
    const auto held = next++;
    const ScannedLine& line = held->second.line;
    const auto found = std::lower_bound(
        scanned.begin(), scanned.end(), line.name,
        [](const ScannedLine& left, const std::string& name) { return left.name < name; });
    if (found != scanned.end() && found->name == line.name && same_line(*found, line)) continue;

    const ttydb::line position = held->second.position;
    db_.deregister_line(position.category, position.id);
    step.changes.push_back({false, terminal(position, line)});
    held_.erase(held);
  }
}

std::vector<Claim> Registry::make_claims(const std::vector<ScannedLine>& scanned, Step& step) {
  std::vector<Claim> claims;
  for (const ScannedLine& line : scanned) {
    if (!line.device) {
      reject(line.name, "its device numbers cannot be read", step);
    } else if (line.place.number.value_or(0) > TTY_PORT_MAX) {
      reject(line.name, "its number is above " + std::to_string(TTY_PORT_MAX), step);
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
void Registry::settle(const Claim& claim, Step& step) {
  const ScannedLine& line = *claim.line;
  if (!claim.position) {
    if (claim.current) step.changes.push_back({false, terminal(*claim.current, line)});
    held_.erase(line.name);
    reject(line.name, "category " + std::to_string(kOther) + " has no free id", step);
    return;
  }

  const ttydb::line position = *claim.position;
  std::error_code ec;
  Entry entry = db_.retrieve_line<LineRecord>(position.category, position.id, ec);
  if (ec == ttydb::errc::not_registered || ec == ttydb::errc::no_block) {
    entry = db_.register_line<LineRecord>(position.category, position.id);
    store_identity(entry, line);
    if (!claim.current) step.changes.push_back({true, terminal(position, line)});
  } else if (ec) {
    throw std::system_error(ec, line.name);
  } else if (line.name != entry->name) {
    reject(line.name, text(position) + " is taken by " + entry->name, step);
    return;
  }
  store_state(entry, line.state);
  held_.insert_or_assign(line.name, Held{position, line});
}

void Registry::reject(const std::string& name, const std::string& reason, Step& step) {
  ++not_registrable_;
  step.reports.push_back(name + ": not registrable: " + reason);
}

}  // namespace tty_lines
