// What the operations trace, line by line, and what they assert.
//
// The transcripts stand in tests/transcripts/, one file a scenario: category, "<" exit or ">" entry
// line or
// ".", routine, text.  Pointers are printed by name where a scenario names them.

#include <algorithm>
#include <fstream>
#include <functional>

#include "support/database.h"

namespace {

std::vector<std::string> transcript(const std::string &scenario) {
  std::ifstream file(std::string(TRANSCRIPTS) + "/" + scenario + ".txt");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

struct Scenario {
  const char *name;
  std::function<void()> run;
};

void automatic_life() {
  tty_db_type *db = nullptr;
  tty_db_tty_type *tty = nullptr;
  void *data = nullptr;
  uint32_t category = 0;
  uint32_t id = 0;
  tty_db_iterator_type *iterator = nullptr;
  for (const void *output : {static_cast<void *>(&db), static_cast<void *>(&tty),
                             static_cast<void *>(&data), static_cast<void *>(&iterator)}) {
    host::name(output, "&out");
  }
  tty_db_create(kLock | kAuto, &db);
  host::name(db, "DB");
  tty_db_tty_register(db, 2, 15, sizeof(Entry), &tty);
  host::name(tty, "TTY");
  tty_db_item_create(tty, 7, 8, &data);
  tty_db_item_create(tty, 7, 8, &data);
  tty_db_tty_retrieve(db, 2, 15, &tty);
  tty_db_tty_unlock(db, tty);
  tty_db_iterate_start(db, 1, 17, 2, 15, &iterator);
  host::name(iterator, "ITER");
  tty_db_iterate_next(iterator, &category, &id);
  tty_db_iterate_next(iterator, &category, &id);
  tty_db_iterate_end(iterator);
  tty_db_tty_deregister(db, 2, 15);
  tty_db_get_details(db, nullptr, nullptr);
  tty_db_destroy(db);
}

void manual_life() {
  tty_db_type *db = nullptr;
  tty_db_block_type *low = nullptr;
  tty_db_block_type *high = nullptr;
  tty_db_block_type *none = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_block_details_type details;
  host::trace(false);
  tty_db_create(0, &db);
  host::name(db, "DB");
  host::trace(true);
  tty_db_block_reserve(db, 1, 10, 3, "low", 7, &low);
  host::name(low, "LOW");
  tty_db_block_reserve(db, 1, 20, 2, nullptr, 0, &high);
  host::name(high, "HIGH");
  tty_db_block_reserve(db, 1, 12, 9, nullptr, 0, &none);
  tty_db_tty_register(db, 1, 11, sizeof(Entry), &tty);
  host::name(tty, "TTY");
  tty_db_tty_register(db, 1, 11, sizeof(Entry), &tty);
  tty_db_block_details_from_tty(db, 1, 13, &details);
  tty_db_block_details_from_tag(db, "low", &details);
  tty_db_block_resize(db, low, 12, 9, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  tty_db_block_resize(db, low, 11, 10, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  host::fail_call(1, "calloc");
  tty_db_block_resize(db, low, 9, 4, 0);
  host::fail_call(1, "calloc");
  tty_db_block_resize(db, low, 30, 3, 0);
  host::end_failing();
  host::trace(false);
  tty_db_tty_register(db, 1, 32, sizeof(Entry), &tty);
  host::trace(true);
  tty_db_block_release(db, low, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  tty_db_block_release(db, low, 0);
  host::trace(false);
  tty_db_destroy(db);
}

void starved_and_failing() {
  tty_db_type *db = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_block_type *block = nullptr;
  void *data = nullptr;
  host::fail_call(1, "pthread_rwlock_init");
  tty_db_create(0, &db);
  host::end_failing();
  host::trace(false);
  tty_db_create(kLock, &db);
  host::name(db, "DB");
  tty_db_block_reserve(db, 0, 9, 1, nullptr, 0, &block);
  host::name(block, "BLOCK");
  host::trace(true);
  host::fail_call(2, "calloc");
  tty_db_block_reserve(db, 0, 0, 2, "tag", 0, &block);
  for (const char *call : {"pthread_mutex_init", "pthread_mutex_trylock"}) {
    host::fail_call(1, call);
    tty_db_tty_register(db, 0, 9, sizeof(Entry), &tty);
  }
  host::fail_call(1, "pthread_rwlock_rdlock");
  tty_db_tty_retrieve(db, 0, 9, &tty);
  host::end_failing();
  host::trace(false);
  tty_db_tty_register(db, 0, 9, sizeof(Entry), &tty);
  host::trace(true);
  host::fail_call(1, "calloc");
  tty_db_item_create(tty, 1, 8, &data);
  tty_db_tty_unlock(db, tty);
  host::fail_call(1, "pthread_mutex_destroy");
  tty_db_tty_deregister(db, 0, 9);
  host::end_failing();
  host::trace(false);
  tty_db_destroy(db);

  // An automatic block does not outlive the registration that it has been made for.
  tty_db_create(kAuto, &db);
  host::name(db, "DB");
  host::trace(true);
  host::fail_call(3, "calloc");
  tty_db_tty_register(db, 0, 10000, sizeof(Entry), &tty);
  host::end_failing();
  host::trace(false);
  tty_db_destroy(db);
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
  const Scenario scenarios[] = {{"automatic_life", automatic_life},
                                {"manual_life", manual_life},
                                {"starved_and_failing", starved_and_failing},
                                {"misuse", misuse}};
  for (const Scenario &scenario : scenarios) {
    SCOPED_TRACE(scenario.name);
    host::clear();
    host::trace(true);
    scenario.run();
    host::trace(false);
    std::ofstream(scenario.name + std::string(".actual")) << host::log_text();
    // Only the first difference: what follows is shifted.
    const std::vector<std::string> actual = host::log();
    const std::vector<std::string> expected = transcript(scenario.name);
    for (size_t line = 0; line < std::min(actual.size(), expected.size()); ++line) {
      ASSERT_EQ(actual[line], expected[line]) << scenario.name << ".txt, line " << line + 1;
    }
    EXPECT_EQ(actual.size(), expected.size());
  }
  EXPECT_EQ(host::live_allocations(), 0u);
}

}  // namespace
