// Keeping the directory of a category's blocks in step with its list.

#include "block/directory.h"

#include <algorithm>

namespace {

uint32_t run_of(uint32_t tty_id) { return tty_id / TTY_DB_RUN_SIZE; }

// Returns the first number from `from` on in a set of numbers below `bound`, or `bound`.
uint32_t next_in_set(const uint64_t *words, uint32_t from, uint32_t bound) {
  if (from >= bound) return bound;
  uint32_t index = from / 64;
  uint64_t word = words[index] & ~uint64_t{0} << from % 64;
  while (word == 0) {
    if (++index * 64 >= bound) return bound;
    word = words[index];
  }
  const uint32_t found = index * 64 + static_cast<uint32_t>(__builtin_ctzll(word));
  return std::min(found, bound);
}

// Puts the numbers from `from` up to, but not including, `to` in a set, or takes them out.
void change_set(uint64_t *words, uint32_t from, uint32_t to, bool in) {
  while (from < to) {
    const uint32_t end = std::min(to, (from / 64 + 1) * 64);
    const uint64_t mask =
        (~uint64_t{0} << from % 64) & (~uint64_t{0} >> (64 - (end - from / 64 * 64)));
    words[from / 64] = in ? words[from / 64] | mask : words[from / 64] & ~mask;
    from = end;
  }
}

// Makes `block`, or with NULL no block, the first in the runs from `from` up to, but not including,
// `to`.
void set_first_in_runs(tty_db_directory_type *directory, uint32_t from, uint32_t to,
                       tty_db_block_type *block) {
  if (from >= to) return;
  std::fill(&directory->first_in_run[from], &directory->first_in_run[to], block);
  change_set(directory->runs_in_use, from, to, block != nullptr);
}

// Notes what holds the next link of a list: `block`, or the end of the list.
void set_link(tty_db_directory_type *directory, tty_db_block_type *block,
              tty_db_block_type **link) {
  if (block != nullptr) {
    block->link = link;
  } else {
    directory->tail = link;
  }
}

}  // namespace

void tty_db_block_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block) {
  tty_db_directory_type *directory = &db->directories[block->details.category];
  block->next_block = *link;
  *link = block;
  set_link(directory, block, link);
  set_link(directory, block->next_block, &block->next_block);

  // A block ahead of this one keeps the run that they share; the next one gives up the run it
  // shares.
  uint32_t first_run = run_of(block->details.first_tty);
  const tty_db_block_type *shared = directory->first_in_run[first_run];
  if (shared != nullptr && shared->details.first_tty < block->details.first_tty) ++first_run;
  set_first_in_runs(directory, first_run, run_of(tty_db_block_end(block) - 1) + 1, block);
}

void tty_db_block_unlink(tty_db_type *db, tty_db_block_type **link) {
  tty_db_block_type *block = *link;
  tty_db_directory_type *directory = &db->directories[block->details.category];
  tty_db_block_type *next = block->next_block;
  *link = next;
  set_link(directory, next, link);
  block->next_block = nullptr;
  block->link = nullptr;

  uint32_t first_run = run_of(block->details.first_tty);
  const uint32_t last_run = run_of(tty_db_block_end(block) - 1);
  if (directory->first_in_run[first_run] != block) ++first_run;
  set_first_in_runs(directory, first_run, last_run + 1, nullptr);
  if (first_run <= last_run && next != nullptr && run_of(next->details.first_tty) == last_run) {
    set_first_in_runs(directory, last_run, last_run + 1, next);
  }
}

tty_db_block_type **tty_db_directory_start(tty_db_type *db, uint32_t category, uint32_t tty_id) {
  tty_db_directory_type *directory = &db->directories[category];
  const uint32_t run = next_in_set(directory->runs_in_use, run_of(tty_id), TTY_DB_NUM_RUNS);
  return run < TTY_DB_NUM_RUNS ? directory->first_in_run[run]->link : directory->tail;
}

uint32_t tty_db_directory_next_registered(const tty_db_type *db, uint32_t category, uint32_t first,
                                          uint32_t last) {
  return next_in_set(db->directories[category].registered, first, last + 1);
}
