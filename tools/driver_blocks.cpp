#include "driver_blocks.h"

#include <iterator>

namespace tty_lines {

// Returns the block that contains a position, or the end.
DriverBlocks::Blocks::const_iterator DriverBlocks::find(ttydb::position at) const {
  const auto next = blocks_.upper_bound(at);
  if (next == blocks_.begin()) return blocks_.end();
  const auto before = std::prev(next);
  return before->second.last < at ? blocks_.end() : before;
}

bool DriverBlocks::allows(const DriverKey& driver, ttydb::position at) const {
  const auto block = find(at);
  return block == blocks_.end() || block->second.driver == driver;
}

void DriverBlocks::cover(const DriverKey& driver, ttydb::position at) {
  if (find(at) != blocks_.end()) return;
  const auto next = blocks_.upper_bound(at);
  const auto before = next == blocks_.begin() ? blocks_.end() : std::prev(next);
  const auto is_own = [&](Blocks::const_iterator block) {
    return block != blocks_.end() && block->first.category == at.category &&
           block->second.driver == driver;
  };
  if (is_own(before) && before->second.last.id + 1 == at.id) {
    resize(before, before->first, at);
  } else if (is_own(next) && at.id + 1 == next->first.id) {
    resize(next, at, next->second.last);
  } else {
    const std::string& name = driver.second;
    const ttydb::block block = db_.reserve_block(at, 1, name.empty() ? nullptr : name.c_str());
    blocks_.emplace(at, Owned{driver, at, block});
  }
}

void DriverBlocks::shrink(ttydb::position gone) {
  const auto block = find(gone);
  std::vector<ttydb::position> left;
  for (const ttydb::position line : db_.lines(block->first, block->second.last)) {
    left.push_back(line);
  }
  if (!left.empty()) {
    resize(block, left.front(), left.back());
    return;
  }
  ttydb::block empty = block->second.block;
  empty.release(ttydb::implicit_dereg::refuse);
  blocks_.erase(block);
}

void DriverBlocks::resize(Blocks::const_iterator block, ttydb::position first,
                          ttydb::position last) {
  Owned owned = block->second;
  owned.block.resize(first.id, last.id - first.id + 1, ttydb::implicit_dereg::refuse);
  owned.last = last;
  blocks_.erase(block);
  blocks_.emplace(first, owned);
}

std::vector<ttydb::block_details> DriverBlocks::details() const {
  std::vector<ttydb::block_details> all;
  for (const auto& [first, owned] : blocks_) all.push_back(owned.block.details());
  return all;
}

}  // namespace tty_lines
