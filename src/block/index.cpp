// Keeping a category's index in step with its list.

#include "block/index.h"

#include <algorithm>

namespace {

uint32_t bucket_of(uint32_t tty_id) { return tty_id / TTY_DB_BUCKET_SIZE; }

uint32_t last_id(const tty_db_block_type *block) { return tty_db_block_end(block) - 1; }

}  // namespace

void tty_db_index_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block) {
  tty_db_category_type *category = &db->categories[block->details.category];
  tty_db_block_type *next = *link;
  *link = block;
  block->link = link;
  block->next_block = next;
  if (next != nullptr) {
    next->link = &block->next_block;
  } else {
    category->tail = &block->next_block;
  }
  category->reserved.insert_range(block->details.first_tty, last_id(block));

  // A block ahead of this one keeps the bucket that they share; the next one gives up the bucket
  // that it shares.
  uint32_t first = bucket_of(block->details.first_tty);
  const tty_db_block_type *shared = category->buckets[first];
  if (shared != nullptr && shared->details.first_tty < block->details.first_tty) ++first;
  std::fill(&category->buckets[first], &category->buckets[bucket_of(last_id(block)) + 1], block);
}

void tty_db_index_unlink(tty_db_type *db, tty_db_block_type *block) {
  tty_db_category_type *category = &db->categories[block->details.category];
  tty_db_block_type *next = block->next_block;
  *block->link = next;
  if (next != nullptr) {
    next->link = block->link;
  } else {
    category->tail = category->first_block != nullptr ? block->link : nullptr;
  }
  block->next_block = nullptr;
  block->link = nullptr;
  category->reserved.erase_range(block->details.first_tty, last_id(block));

  // The next block takes over the bucket that it shares, unless one ahead of both keeps it.
  uint32_t first = bucket_of(block->details.first_tty);
  const uint32_t last = bucket_of(last_id(block));
  if (category->buckets[first] != block) ++first;
  std::fill(&category->buckets[first], &category->buckets[last + 1], nullptr);
  const bool shares = next != nullptr && bucket_of(next->details.first_tty) == last;
  if (first <= last && shares) category->buckets[last] = next;
}

tty_db_block_type **tty_db_index_find_link(tty_db_type *db, uint32_t category, uint32_t tty_id) {
  tty_db_category_type *found = &db->categories[category];
  const uint32_t reserved = found->reserved.next(tty_id);
  if (reserved > TTY_PORT_MAX) return found->tail != nullptr ? found->tail : &found->first_block;
  tty_db_block_type *block = found->buckets[bucket_of(reserved)];
  while (tty_id >= tty_db_block_end(block)) block = block->next_block;
  return block->link;
}
