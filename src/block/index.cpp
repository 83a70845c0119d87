// Keeping a category's index in step with its list.

#include "block/index.h"

#include <algorithm>

namespace {

uint32_t bucket_of(uint32_t tty_id) { return tty_id / TTY_DB_BUCKET_SIZE; }

// Makes `block`, or with NULL no block, the first in the buckets from `from` up to, but not
// including, `to`.
void set_first_in_buckets(tty_db_category_type *category, uint32_t from, uint32_t to,
                          tty_db_block_type *block) {
  if (from >= to) return;
  std::fill(&category->buckets[from], &category->buckets[to], block);
  category->buckets_in_use.set_range(from, to, block != nullptr);
}

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

  // A block ahead of this one keeps the bucket that they share; the next one gives up the bucket
  // that it shares.
  uint32_t first = bucket_of(block->details.first_tty);
  const tty_db_block_type *shared = category->buckets[first];
  if (shared != nullptr && shared->details.first_tty < block->details.first_tty) ++first;
  set_first_in_buckets(category, first, bucket_of(tty_db_block_end(block) - 1) + 1, block);
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

  uint32_t first = bucket_of(block->details.first_tty);
  const uint32_t last = bucket_of(tty_db_block_end(block) - 1);
  if (category->buckets[first] != block) ++first;
  set_first_in_buckets(category, first, last + 1, nullptr);
  if (first <= last && next != nullptr && bucket_of(next->details.first_tty) == last) {
    set_first_in_buckets(category, last, last + 1, next);
  }
}

tty_db_block_type **tty_db_index_find_link(tty_db_type *db, uint32_t category, uint32_t tty_id) {
  tty_db_category_type *found = &db->categories[category];
  const uint32_t bucket = found->buckets_in_use.next(bucket_of(tty_id), TTY_DB_NUM_BUCKETS);
  if (bucket >= TTY_DB_NUM_BUCKETS) {
    return found->tail != nullptr ? found->tail : &found->first_block;
  }
  tty_db_block_type **link = found->buckets[bucket]->link;
  while (*link != nullptr && tty_id >= tty_db_block_end(*link)) link = &(*link)->next_block;
  return link;
}
