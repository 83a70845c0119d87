// What the operations trace: each trace point once, in a life of two databases, and the check of
// formats against their arguments.
//
// tests/life.txt has the first line of every trace point, assertions aside: category, ">" for an
// entry line or ".", routine, text.  Pointers that are named here are printed by name, and $NAME
// stands for the size of a record.

#include <string.h>

#include <fstream>
#include <iterator>

#include "block/block.h"
#include "item/item.h"
#include "iterate/iterator.h"
#include "support/database.h"

namespace {

template <typename... Args>
constexpr bool fits(const char *format) {
  return tty_db_trace_fits(format, tty_db_trace_types<Args...>{});
}
static_assert(fits<>("100") && fits<int, uint32_t, size_t, bool>("%d %lu%x %X"));
static_assert(fits<const char *, char *, void *, uintptr_t>("%s%s %X%X"));
static_assert(!fits<>("%d") && !fits<int>("") && !fits<int>("%d%d") && !fits<int, int>("%d"));
static_assert(!fits<int>("%s") && !fits<const char *>("%X") && !fits<void *>("%lu"));
static_assert(!fits<double>("%d") && !fits<int>("%i") && !fits<int>("%") && !fits<int>("%l"));

void manual_blocks(Handles &w) {
  tty_db_create(0, &w.db);
  host::name(w.db, "DB");
  for (int call = 1; call <= 2; ++call) {
    host::fail_call(call, "calloc");
    tty_db_block_reserve(w.db, 1, 20, 2, nullptr, 0, &w.block);
  }
  host::fail_call(1, "strdup");
  tty_db_block_reserve(w.db, 1, 20, 2, "tag", 0, &w.block);
  tty_db_block_reserve(w.db, 1, 20, 2, "tag", 0, &w.block);
  host::name(w.block, "BLOCK");
  tty_db_block_reserve(w.db, 1, 12, 9, nullptr, 0, &w.other_block);
  tty_db_tty_register(w.db, 1, 21, sizeof(Entry), &w.tty);
  tty_db_tty_register(w.db, 1, 21, sizeof(Entry), &w.tty);
  tty_db_block_details_from_handle(w.db, w.block, &w.details);
  tty_db_block_details_from_tty(w.db, 1, 13, &w.details);
  tty_db_block_details_from_tag(w.db, "tag", &w.details);
  tty_db_block_resize(w.db, w.block, 20, 1, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  for (const uint32_t size : {2u, 3u}) {
    host::fail_call(1, "calloc");
    tty_db_block_resize(w.db, w.block, 20, size, 0);
  }
  tty_db_block_resize(w.db, w.block, 20, 4, 0);
  tty_db_block_release(w.db, w.block, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
  tty_db_destroy(w.db);
}

void automatic_blocks(Handles &w) {
  host::fail_call(1, "calloc");
  tty_db_create(0, &w.db);
  host::fail_call(1, "pthread_rwlock_init");
  tty_db_create(0, &w.db);
  tty_db_create(kLock | kAuto, &w.db);
  host::name(w.db, "DB");
  host::fail_call(3, "calloc");
  tty_db_tty_register(w.db, 2, 10000, sizeof(Entry), &w.tty);
  host::fail_call(1, "pthread_mutex_init");
  tty_db_tty_register(w.db, 2, 15, sizeof(Entry), &w.tty);
  tty_db_tty_register(w.db, 2, 15, sizeof(Entry), &w.tty);
  host::name(w.tty, "TTY");
  host::fail_call(1, "calloc");
  tty_db_item_create(w.tty, 7, 8, &w.item);
  tty_db_item_create(w.tty, 7, 8, &w.item);
  tty_db_item_create(w.tty, 7, 8, &w.item);
  tty_db_tty_retrieve(w.db, 2, 15, &w.tty);  // which this thread holds already
  tty_db_tty_unlock(w.db, w.tty);
  host::fail_call(1, "pthread_rwlock_rdlock");
  tty_db_get_details(w.db, nullptr, nullptr);
  host::fail_call(1, "calloc");
  tty_db_iterate_start(w.db, 1, 17, 2, 15, &w.iterator);
  tty_db_iterate_start(w.db, 1, 17, 2, 15, &w.iterator);
  host::name(w.iterator, "ITERATOR");
  tty_db_iterate_next(w.iterator, &w.category, &w.id);
  tty_db_iterate_end(w.iterator);
  tty_db_tty_deregister(w.db, 2, 14);
  host::fail_call(1, "pthread_mutex_destroy");
  tty_db_tty_deregister(w.db, 2, 15);
  host::fail_call(1, "pthread_rwlock_destroy");
  tty_db_destroy(w.db);
}

// Puts the sizes of this machine's records into a recorded line.
std::string with_sizes(std::string line) {
  const std::pair<const char *, size_t> sizes[] = {
      {"$block", sizeof(tty_db_block_type)},   {"$slots", 2 * sizeof(void *)},
      {"$database", sizeof(tty_db_type)},      {"$entry", sizeof(Entry)},
      {"$item", sizeof(tty_db_item_type) + 8}, {"$iterator", sizeof(tty_db_iterator_type)},
  };
  for (const auto &[name, size] : sizes) {
    const size_t at = line.find(name);
    if (at != std::string::npos) line.replace(at, strlen(name), std::to_string(size));
  }
  return line;
}

TEST(Trace, EveryTracePointOnce) {
  Handles w;
  host::clear();
  const void *const outputs[] = {&w.db, &w.tty, &w.block, &w.iterator};
  for (const void *output : outputs) host::name(output, "&out");
  host::trace_once(true);
  host::trace(true);
  manual_blocks(w);
  automatic_blocks(w);
  host::trace(false);
  host::trace_once(false);
  host::end_failing();
  EXPECT_TRUE(host::trace_is_sound());
  EXPECT_EQ(host::live_allocations(), 0u);

  std::ofstream("life.actual") << host::log_text();
  const std::vector<std::string> actual = host::log();
  std::ifstream recorded(RECORDED_LIFE);
  size_t line = 0;
  for (std::string expected; std::getline(recorded, expected); ++line) {
    ASSERT_EQ(line < actual.size() ? actual[line] : "", with_sizes(expected))
        << "line " << line + 1;
  }
  EXPECT_EQ(actual.size(), line);
}

// A new operation joins the life above, with its entry line.
TEST(Trace, TheRecordHasEveryExportedOperation) {
  std::ifstream recorded(RECORDED_LIFE);
  const std::string life(std::istreambuf_iterator<char>(recorded), {});
  std::ifstream exports(EXPORTS);
  int operations = 0;
  for (std::string word; exports >> word;) {
    if (word.rfind("tty_db_", 0) != 0) continue;
    ++operations;
    const std::string entry_line = " > " + word.substr(0, word.find(';')) + ": Entering ..";
    EXPECT_NE(life.find(entry_line), std::string::npos) << "not in life.txt: " << entry_line;
  }
  EXPECT_GT(operations, 0);
}

}  // namespace
