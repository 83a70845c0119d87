// A database for a test, which ends with it and leaves nothing behind.

#ifndef TTY_DB_TESTS_SUPPORT_DATABASE_H
#define TTY_DB_TESTS_SUPPORT_DATABASE_H

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "db/db.h"
#include "support/host.h"

constexpr uint32_t kLock = TTY_DB_OPT_LOCK_ENTRIES;
constexpr uint32_t kAuto = TTY_DB_OPT_AUTO_BLOCKS;

using Position = std::pair<uint32_t, uint32_t>;  // category and id

// A program's record.
struct Entry {
  tty_db_tty_type head;
  uint64_t value;
};

// The fields of a block's details, to be compared and printed.
inline auto fields(const tty_db_block_details_type &details) {
  return std::make_tuple(details.category, details.first_tty, details.capacity,
                         static_cast<const void *>(details.tag_name), details.num_registered,
                         details.ctx, details.block_h);
}

class Database {
 public:
  explicit Database(uint32_t options) : is_only_one_(host::live_allocations() == 0) {
    EXPECT_EQ(tty_db_create(options, &db_), 0u);
  }
  ~Database() {
    host::watch(db_, sizeof(*db_));
    EXPECT_EQ(tty_db_destroy(db_), 0u);
    EXPECT_TRUE(host::watched_was_zero());
    if (is_only_one_) {
      EXPECT_EQ(host::live_allocations(), 0u);
    }
  }
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  tty_db_type *get() const { return db_; }
  // NOLINTNEXTLINE(google-explicit-constructor): a database is given as an argument
  operator tty_db_type *() const { return db_; }

  tty_db_block_type *reserve(uint32_t category, uint32_t first, uint32_t count,
                             const char *tag = nullptr) {
    tty_db_block_type *block = nullptr;
    EXPECT_EQ(tty_db_block_reserve(db_, category, first, count, tag, 0, &block), 0u);
    return block;
  }

  // Registers a line.  The calling thread holds its entry.
  tty_db_tty_type *add_held(uint32_t category, uint32_t id) {
    tty_db_tty_type *tty = nullptr;
    EXPECT_EQ(tty_db_tty_register(db_, category, id, sizeof(Entry), &tty), 0u);
    return tty;
  }
  tty_db_tty_type *add(uint32_t category, uint32_t id) {
    tty_db_tty_type *tty = add_held(category, id);
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
    return tty;
  }

  // The numbers of blocks and lines.
  std::pair<uint32_t, uint32_t> counts() const {
    uint32_t blocks = ~0u;
    uint32_t ttys = ~0u;
    EXPECT_EQ(tty_db_get_details(db_, &blocks, &ttys), 0u);
    return {blocks, ttys};
  }

  // The lines that an iterator yields between two positions.
  std::vector<Position> lines(Position start = {0, 0},
                              Position end = {TTY_CATEGORY_MAX, TTY_PORT_MAX}) const {
    std::vector<Position> found;
    tty_db_iterator_type *iterator = nullptr;
    EXPECT_EQ(
        tty_db_iterate_start(db_, start.first, start.second, end.first, end.second, &iterator), 0u);
    uint32_t category = 0;
    uint32_t id = 0;
    while (tty_db_iterate_next(iterator, &category, &id) == 0) found.emplace_back(category, id);
    EXPECT_EQ(category, TTY_CATEGORY_MAX);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(tty_db_iterate_next(iterator, &category, &id), TTY_DB_ERR_NO_MORE);
    host::watch(iterator, sizeof(Position));
    EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
    EXPECT_TRUE(host::watched_was_zero());
    return found;
  }

 private:
  bool is_only_one_;
  tty_db_type *db_ = nullptr;
};

#endif  // TTY_DB_TESTS_SUPPORT_DATABASE_H
