// What the operations trace, line by line, and what they assert.
//
// The transcripts stand in tests/transcripts/, one file a scenario, one line each: category, ">"
// for an entry line, "<" for an exit line or ".", routine, text.  Pointers that a scenario names
// are printed by name.

#include <algorithm>
#include <fstream>
#include <functional>

#include "support/database.h"

namespace {

// Does what a scenario needs and does not show.
void untraced(const std::function<void()> &steps) {
  host::end_failing();
  host::trace(false);
  steps();
  host::trace(true);
}

void automatic_life() {
  Handles w;
  for (const void *output : {static_cast<void *>(&w.db), static_cast<void *>(&w.tty),
                             static_cast<void *>(&w.item), static_cast<void *>(&w.iterator)}) {
    host::name(output, "&out");
  }
  tty_db_create(kLock | kAuto, &w.db);
  host::name(w.db, "DB");
  tty_db_tty_register(w.db, 2, 15, sizeof(Entry), &w.tty);
  host::name(w.tty, "TTY");
  tty_db_item_create(w.tty, 7, 8, &w.item);
  tty_db_item_create(w.tty, 7, 8, &w.item);
  tty_db_tty_retrieve(w.db, 2, 15, &w.tty);
  tty_db_tty_unlock(w.db, w.tty);
  tty_db_iterate_start(w.db, 1, 17, 2, 15, &w.iterator);
  host::name(w.iterator, "ITER");
  tty_db_iterate_next(w.iterator, &w.category, &w.id);
  tty_db_iterate_next(w.iterator, &w.category, &w.id);
  tty_db_iterate_end(w.iterator);
  tty_db_tty_deregister(w.db, 2, 15);
  tty_db_get_details(w.db, nullptr, nullptr);
  tty_db_destroy(w.db);
}

void manual_life() {
  Handles w;
  untraced([&] { tty_db_create(0, &w.db); });
  host::name(w.db, "DB");
  tty_db_block_reserve(w.db, 1, 20, 2, nullptr, 0, &w.block);
  host::name(w.block, "HIGH");
  tty_db_block_reserve(w.db, 1, 10, 3, "low", 7, &w.block);
  host::name(w.block, "LOW");
  tty_db_block_reserve(w.db, 1, 12, 9, nullptr, 0, &w.other_block);
  tty_db_tty_register(w.db, 1, 11, sizeof(Entry), &w.tty);
  host::name(w.tty, "TTY");
  tty_db_tty_register(w.db, 1, 11, sizeof(Entry), &w.tty);
  tty_db_block_details_from_tty(w.db, 1, 13, &w.details);
  tty_db_block_details_from_tag(w.db, "low", &w.details);
  tty_db_block_resize(w.db, w.block, 12, 9, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  tty_db_block_resize(w.db, w.block, 11, 10, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  host::fail_call(1, "calloc");
  tty_db_block_resize(w.db, w.block, 9, 4, 0);
  host::fail_call(1, "calloc");
  tty_db_block_resize(w.db, w.block, 30, 3, 0);
  untraced([&] { tty_db_tty_register(w.db, 1, 32, sizeof(Entry), &w.tty); });
  tty_db_block_release(w.db, w.block, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  tty_db_block_release(w.db, w.block, 0);
  untraced([&] { tty_db_destroy(w.db); });
}

void starved_and_failing() {
  Handles w;
  host::fail_call(1, "pthread_rwlock_init");
  tty_db_create(0, &w.db);
  untraced([&] {
    tty_db_create(kLock, &w.db);
    tty_db_block_reserve(w.db, 0, 9, 1, nullptr, 0, &w.block);
  });
  host::name(w.db, "DB");
  host::name(w.block, "BLOCK");
  host::fail_call(2, "calloc");
  tty_db_block_reserve(w.db, 0, 0, 2, "tag", 0, &w.other_block);
  for (const char *call : {"pthread_mutex_init", "pthread_mutex_trylock"}) {
    host::fail_call(1, call);
    tty_db_tty_register(w.db, 0, 9, sizeof(Entry), &w.tty);
  }
  host::fail_call(1, "pthread_rwlock_rdlock");
  tty_db_tty_retrieve(w.db, 0, 9, &w.tty);
  untraced([&] { tty_db_tty_register(w.db, 0, 9, sizeof(Entry), &w.tty); });
  host::fail_call(1, "calloc");
  tty_db_item_create(w.tty, 1, 8, &w.item);
  tty_db_tty_unlock(w.db, w.tty);
  host::fail_call(1, "pthread_mutex_destroy");
  tty_db_tty_deregister(w.db, 0, 9);

  // An automatic block does not outlive the registration that it has been made for.
  untraced([&] {
    tty_db_destroy(w.db);
    tty_db_create(kAuto, &w.db);
  });
  host::name(w.db, "DB");
  host::fail_call(3, "calloc");
  tty_db_tty_register(w.db, 0, 10000, sizeof(Entry), &w.tty);
  untraced([&] { tty_db_destroy(w.db); });
}

// Internal routines called against their requirements, where the report of an assertion returns.
void misuse() {
  Database db(kLock);
  Database other(0);
  Database automatic(kAuto);
  tty_db_block_type *block = db.reserve(0, 0, 10);
  tty_db_block_type *foreign = other.reserve(0, 0, 10);
  tty_db_block_type *out = nullptr;
  host::assertions_return(true);
  host::clear();
  host::name(db.get(), "DB");
  host::name(automatic.get(), "AUTO");
  host::name(block, "BLOCK");
  host::name(foreign, "FOREIGN");
  host::trace(true);
  const auto expect = [](const char *result, uint32_t rc) {
    EXPECT_EQ(host::result_name(rc), result);
  };
  // Without the lock, the work is done all the same, and the lock is not left taken.
  expect("OK", tty_db_block_resize_internal(db, block, 0, 11));
  EXPECT_EQ(pthread_rwlock_trywrlock(reinterpret_cast<pthread_rwlock_t *>(db.get())), 0);

  expect("INVALID_ARG", tty_db_block_reserve_internal(nullptr, 6, 9999, 3, nullptr, 0, nullptr));
  expect("INVALID_ARG", tty_db_block_reserve_internal(db, 1, 0, 0, nullptr, 0, &out));
  expect("INVALID_ARG", tty_db_block_reserve_internal(db, 1, 0xFFFFFFFF, 2, nullptr, 0, &out));
  expect("INVALID_ARG", tty_db_block_resize_internal(db, nullptr, 0, 1));
  expect("INVALID_ARG", tty_db_block_resize_internal(db, foreign, 20, 1));
  tty_db_block_release_internal(db, foreign);
  tty_db_block_release_internal(nullptr, nullptr);
  expect("INVALID_ARG", tty_db_block_find_lowest_block(db, 6, 10001, &out));
  expect("NO_BLOCK", tty_db_block_find_block_from_tty_id(db, 0, 10001, &out));
  expect("INVALID_ARG", tty_db_block_find_block_from_tag(nullptr, nullptr, &out));
  expect("INVALID_ARG", tty_db_tty_register_internal(db, 0, 1, 8, nullptr));
  tty_db_tty_type *tty = nullptr;
  expect("NO_BLOCK", tty_db_tty_register_internal(automatic, 0, 10001, sizeof(Entry), &tty));
  tty_db_tty_deregister_internal(db, block, 3);
  tty_db_tty_deregister_internal(db, block, 11);
  tty_db_tty_deregister_internal(db, nullptr, 3);
  tty_db_item_type **link = nullptr;
  expect("INVALID_ARG", tty_db_item_find_insertion_point(nullptr, 1, &link));
  expect("INVALID_ARG", tty_db_iterate_next_internal(nullptr, nullptr, nullptr));
  host::trace(false);
  EXPECT_EQ(pthread_rwlock_unlock(reinterpret_cast<pthread_rwlock_t *>(db.get())), 0);
  host::assertions_return(false);
  EXPECT_EQ(db.counts(), std::make_pair(1u, 0u));
  EXPECT_EQ(other.counts(), std::make_pair(1u, 0u));
}

TEST(Trace, Transcripts) {
  const std::pair<std::string, std::function<void()>> scenarios[] = {
      {"automatic_life", automatic_life},
      {"manual_life", manual_life},
      {"starved_and_failing", starved_and_failing},
      {"misuse", misuse}};
  for (const auto &[name, run] : scenarios) {
    host::clear();
    host::trace(true);
    run();
    host::trace(false);
    std::ofstream(name + ".actual") << host::log_text();
    // Only the first difference: what follows is shifted.
    const std::vector<std::string> actual = host::log();
    std::ifstream transcript(TRANSCRIPTS "/" + name + ".txt");
    size_t line = 0;
    for (std::string expected; std::getline(transcript, expected); ++line) {
      ASSERT_EQ(line < actual.size() ? actual[line] : "", expected)
          << name << ", line " << line + 1;
    }
    EXPECT_EQ(actual.size(), line) << name;
  }
  EXPECT_EQ(host::live_allocations(), 0u);
}

}  // namespace
