#include "driver_blocks.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tty_lines {
namespace {

using Positions = std::vector<ttydb::position>;

// The smallest range that holds some positions of one category.
struct Range {
  explicit Range(const Positions& positions)
      : first(*std::min_element(positions.begin(), positions.end())),
        count(std::max_element(positions.begin(), positions.end())->id - first.id + 1) {}

  ttydb::position first;
  std::uint32_t count;
};

// The positions, of those that a member of the claims names.
Positions known(const std::vector<Claim*>& group, std::optional<ttydb::position> Claim::*member) {
  Positions positions;
  for (const Claim* claim : group) {
    if (claim->*member) positions.push_back(*(claim->*member));
  }
  return positions;
}

std::string describe(const std::string& name, const std::string& path) {
  return path.empty() ? "no driver" : "driver '" + name + "' (" + path + ")";
}

}  // namespace

void DriverBlocks::arrange(std::vector<Claim>& claims, std::vector<std::string>& reports) {
  std::map<DriverKey, Group> groups;
  for (Claim& claim : claims) {
    groups[driver_key(*claim.line)].push_back(&claim);
  }
  shrink(groups);
  assign_positions(claims);

  // A driver that has ids lower than another's comes before it, and all that fit come before the
  // displaced ones, which take what is left.
  std::vector<std::pair<ttydb::position, DriverKey>> order;
  std::vector<DriverKey> displaced;
  for (const auto& [key, group] : groups) {
    const Positions positions = known(group, &Claim::position);
    if (positions.empty()) {
      displaced.push_back(key);
    } else {
      order.emplace_back(Range(positions).first, key);
    }
  }
  std::sort(order.begin(), order.end());
  for (const auto& [first, key] : order) {
    if (!fit(key, groups[key])) displaced.push_back(key);
  }
  for (const DriverKey& key : displaced) displace(key, groups[key]);

  for (const auto& [key, group] : groups) {
    const auto& [category, path, name] = key;
    const auto owned = owned_.find(key);
    if (owned == owned_.end()) {
      reports.push_back(describe(name, path) + ": no free range in category " +
                        std::to_string(kOther));
    } else if (owned->second.displaced) {
      reports.push_back(describe(name, path) + ": range in category " + std::to_string(category) +
                        " overlaps another's; its lines are in category " + std::to_string(kOther));
    }
  }
}

std::vector<ttydb::block_details> DriverBlocks::details() const {
  std::vector<ttydb::block_details> all;
  for (const auto& [key, owned] : owned_) all.push_back(owned.block.details());
  std::sort(all.begin(), all.end(), [](const auto& left, const auto& right) {
    return ttydb::position{left.category, left.first_tty} <
           ttydb::position{right.category, right.first_tty};
  });
  return all;
}

// Gives up the ids whose lines have gone, before others ask for them.
void DriverBlocks::shrink(const std::map<DriverKey, Group>& groups) {
  for (auto next = owned_.begin(); next != owned_.end();) {
    const auto owned = next++;
    const auto group = groups.find(owned->first);
    const Positions positions =
        group == groups.end() ? Positions{} : known(group->second, &Claim::current);
    if (positions.empty()) {
      owned->second.block.release(ttydb::implicit_dereg::refuse);
      owned_.erase(owned);
    } else {
      const Range range(positions);
      owned->second.block.resize(range.first.id, range.count, ttydb::implicit_dereg::refuse);
    }
  }
}

// Without regard to other drivers' ranges, but for the ids that are given out.
void DriverBlocks::assign_positions(std::vector<Claim>& claims) {
  std::set<std::uint32_t> taken = taken_ids(claims);
  for (Claim& claim : claims) {
    const ScannedLine& line = *claim.line;
    const auto found = owned_.find(driver_key(line));
    const Owned owned = found == owned_.end() ? Owned{} : found->second;
    if (claim.current) {
      claim.position = claim.current;
    } else if (line.place.number && !owned.displaced) {
      claim.position = ttydb::position{line.place.category, *line.place.number};
    } else if (const auto id = lowest_free_id(taken, owned.block)) {
      claim.position = ttydb::position{kOther, *id};
      taken.insert(*id);
    }
  }
}

// The lowest id of kOther that is not taken, and in no block but a driver's own.
std::optional<std::uint32_t> DriverBlocks::lowest_free_id(const std::set<std::uint32_t>& taken,
                                                          ttydb::block own) const {
  for (std::uint32_t id = 0; id <= TTY_PORT_MAX; ++id) {
    if (taken.count(id) != 0) continue;
    std::error_code ec;
    const ttydb::block_details holder = db_.details_by_line(kOther, id, ec);
    if (ec == ttydb::errc::no_block || (!ec && db_.block_of(holder) == own)) return id;
  }
  return std::nullopt;
}

// The first of the lowest consecutive ids of kOther that are in no block.
std::optional<std::uint32_t> DriverBlocks::lowest_free_run(std::uint32_t count) const {
  std::uint32_t first = 0;
  for (std::uint32_t id = 0; id <= TTY_PORT_MAX; ++id) {
    std::error_code ec;
    const ttydb::block_details holder = db_.details_by_line(kOther, id, ec);
    if (ec != ttydb::errc::no_block) {
      if (ec) throw std::system_error(ec, "finding free ids");
      id = holder.first_tty + holder.capacity - 1;
      first = id + 1;
    } else if (id - first + 1 == count) {
      return first;
    }
  }
  return std::nullopt;
}

// Makes the driver's block hold the positions of its lines; false if another driver's is in the
// way.
bool DriverBlocks::fit(const DriverKey& key, const Group& group) {
  const Range range(known(group, &Claim::position));
  const auto& [category, path, name] = key;
  const auto owned = owned_.find(key);
  std::error_code ec;
  if (owned != owned_.end()) {
    owned->second.block.resize(range.first.id, range.count, ttydb::implicit_dereg::refuse, ec);
  } else {
    const ttydb::block block = db_.reserve_block(range.first.category, range.first.id, range.count,
                                                 name.empty() ? nullptr : name.c_str(), 0, ec);
    if (!ec) owned_[key] = {block, false};
  }
  if (ec == ttydb::errc::overlap) return false;
  if (ec) throw std::system_error(ec, describe(name, path));
  return true;
}

// Gives the driver a new block in kOther, for all its lines.
void DriverBlocks::displace(const DriverKey& key, const Group& group) {
  if (const auto owned = owned_.find(key); owned != owned_.end()) {
    owned->second.block.release();
    owned_.erase(owned);
  }
  const auto count = static_cast<std::uint32_t>(group.size());
  const auto first = lowest_free_run(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    group[i]->position = first ? std::optional(ttydb::position{kOther, *first + i}) : std::nullopt;
  }
  if (!first) return;
  const std::string& name = std::get<2>(key);
  owned_[key] = {db_.reserve_block(kOther, *first, count, name.empty() ? nullptr : name.c_str()),
                 true};
}

}  // namespace tty_lines
