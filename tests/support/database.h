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

// A caller's record.
struct Entry {
  tty_db_tty_type head;
  uint64_t value;
  unsigned char rest[32];
};

// The fields of a block's details, to be compared and printed.
inline auto fields(const tty_db_block_details_type &details) {
  return std::make_tuple(details.category, details.first_tty, details.capacity,
                         static_cast<const void *>(details.tag_name), details.num_registered,
                         details.ctx, details.block_h);
}

// What a caller keeps of a database.
struct Handles {
  tty_db_type *db = nullptr;
  tty_db_block_type *block = nullptr;
  tty_db_block_type *other_block = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_iterator_type *iterator = nullptr;
  void *item = nullptr;
  uint32_t category = 0;
  uint32_t id = 0;
  tty_db_block_details_type details = {};
};

class Database {
 public:
  explicit Database(uint32_t options) : allocations_(host::live_allocations()) {
    EXPECT_EQ(tty_db_create(options, &db_), 0u);
  }
  ~Database() {
    EXPECT_EQ(tty_db_destroy(db_), 0u);
    EXPECT_GE(host::zeros_at_last_free(), sizeof(tty_db_type));
    const bool outermost = allocations_ == 0;
    EXPECT_TRUE(!outermost || host::live_allocations() == 0);
  }
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  tty_db_type *get() const { return db_; }
  // NOLINTNEXTLINE(google-explicit-constructor): a database is given as an argument
  operator tty_db_type *() const { return db_; }

  tty_db_block_type *reserve(uint32_t category, uint32_t first, uint32_t count,
                             const char *tag = nullptr, uintptr_t ctx = 0) {
    tty_db_block_type *block = nullptr;
    EXPECT_EQ(tty_db_block_reserve(db_, category, first, count, tag, ctx, &block), 0u);
    return block;
  }

  // Registers a line and gives its entry back, unless it is to be kept.
  tty_db_tty_type *add(uint32_t category, uint32_t id, bool keep = false) {
    tty_db_tty_type *tty = nullptr;
    EXPECT_EQ(tty_db_tty_register(db_, category, id, sizeof(Entry), &tty), 0u);
    const uint32_t rc = keep ? 0 : tty_db_tty_unlock(db_, tty);
    EXPECT_EQ(rc, 0u);
    return tty;
  }

  // The counts of blocks and lines.
  std::pair<uint32_t, uint32_t> counts() const {
    uint32_t blocks = ~0u;
    uint32_t ttys = ~0u;
    EXPECT_EQ(tty_db_get_details(db_, &blocks, &ttys), 0u);
    return {blocks, ttys};
  }

  // The lines that an iterator yields between two positions.
  std::vector<std::pair<uint32_t, uint32_t>> lines(uint32_t start_category = 0,
                                                   uint32_t start_id = 0,
                                                   uint32_t end_category = TTY_CATEGORY_MAX,
                                                   uint32_t end_id = TTY_PORT_MAX) const {
    std::vector<std::pair<uint32_t, uint32_t>> found;
    tty_db_iterator_type *iterator = nullptr;
    EXPECT_EQ(tty_db_iterate_start(db_, start_category, start_id, end_category, end_id, &iterator),
              0u);
    uint32_t category = 0;
    uint32_t id = 0;
    while (tty_db_iterate_next(iterator, &category, &id) == 0) found.emplace_back(category, id);
    EXPECT_EQ(category, TTY_CATEGORY_MAX);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(tty_db_iterate_next(iterator, &category, &id), TTY_DB_ERR_NO_MORE);
    EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
    return found;
  }

 private:
  size_t allocations_;
  tty_db_type *db_ = nullptr;
};

#endif  // TTY_DB_TESTS_SUPPORT_DATABASE_H
