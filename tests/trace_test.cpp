// What the operations trace: each trace point once, in a life of two databases, and the check of
// formats against their arguments.
//
// tests/life.txt has the first line of every trace point, assertions aside, after the category and
// the routine: ">" for an entry line or ".", and the text.  Pointers that are named here are
// printed by name, and SIZE stands for the size of a record, which differs between machines.

#include <fstream>
#include <regex>

#include "block/block.h"
#include "item/item.h"
#include "iterate/iterator.h"
#include "support/database.h"

namespace {

template <typename... Args>
constexpr bool fits(const char *format) {
  return tty_db_trace_fits(format, tty_db_trace_types<Args...>{});
}
static_assert(fits<>("100"));
static_assert(fits<int, const char *, void *>("%d %s%X"));
static_assert(!fits<int>("%d%d"));
static_assert(!fits<int>("%s") && !fits<const char *>("%X"));

// Two databases, one after the other.
class Trace : public testing::Test {
 protected:
  void manual_blocks() {
    tty_db_create(0, &db);
    host::name(db, "DB");
    for (int call = 1; call <= 2; ++call) {
      host::fail_call("calloc", call);
      tty_db_block_reserve(db, 1, 20, 2, nullptr, 0, &block);
    }
    host::fail_call("strdup");
    tty_db_block_reserve(db, 1, 20, 2, "tag", 0, &block);
    tty_db_block_reserve(db, 1, 20, 2, "tag", 0, &block);
    host::name(block, "BLOCK");
    tty_db_block_reserve(db, 1, 12, 9, nullptr, 0, &other_block);
    tty_db_tty_register(db, 1, 21, sizeof(Entry), &tty);
    tty_db_tty_register(db, 1, 21, sizeof(Entry), &tty);
    tty_db_block_details_from_handle(db, block, &details);
    tty_db_block_details_from_tty(db, 1, 13, &details);
    tty_db_block_details_from_tag(db, "tag", &details);
    tty_db_block_resize(db, block, 20, 1, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
    for (const uint32_t size : {2u, 3u}) {
      host::fail_call("calloc");
      tty_db_block_resize(db, block, 20, size, 0);
    }
    tty_db_block_resize(db, block, 20, 4, 0);
    tty_db_block_release(db, block, TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG);
    tty_db_destroy(db);
  }

  void automatic_blocks() {
    host::fail_call("calloc");
    tty_db_create(0, &db);
    host::fail_call("pthread_rwlock_init");
    tty_db_create(0, &db);
    tty_db_create(kLock | kAuto, &db);
    host::name(db, "DB");
    host::fail_call("calloc", 3);
    tty_db_tty_register(db, 2, 10000, sizeof(Entry), &tty);
    host::fail_call("pthread_mutex_init");
    tty_db_tty_register(db, 2, 15, sizeof(Entry), &tty);
    tty_db_tty_register(db, 2, 15, sizeof(Entry), &tty);
    host::name(tty, "TTY");
    host::fail_call("calloc");
    tty_db_item_create(tty, 7, 8, &item);
    tty_db_item_create(tty, 7, 8, &item);
    tty_db_item_create(tty, 7, 8, &item);
    tty_db_tty_retrieve(db, 2, 15, &tty);  // this thread holds it already
    tty_db_tty_unlock(db, tty);
    host::fail_call("pthread_rwlock_rdlock");
    tty_db_get_details(db, nullptr, nullptr);
    host::fail_call("calloc");
    tty_db_iterate_start(db, 1, 17, 2, 15, &iterator);
    tty_db_iterate_start(db, 1, 17, 2, 15, &iterator);
    host::name(iterator, "ITERATOR");
    tty_db_iterate_next(iterator, &category, &id);
    tty_db_iterate_end(iterator);
    tty_db_tty_deregister(db, 2, 14);
    host::fail_call("pthread_mutex_destroy");
    tty_db_tty_deregister(db, 2, 15);
    host::fail_call("pthread_rwlock_destroy");
    tty_db_destroy(db);
  }

  tty_db_type *db = nullptr;
  tty_db_block_type *block = nullptr;
  tty_db_block_type *other_block = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_iterator_type *iterator = nullptr;
  void *item = nullptr;
  tty_db_block_details_type details = {};
  uint32_t category = 0;
  uint32_t id = 0;
};

TEST_F(Trace, EveryTracePointOnce) {
  host::clear();
  host::name(&db, "&out");
  host::name(&block, "&out");
  host::name(&tty, "&out");
  host::name(&iterator, "&out");
  host::trace_once(true);
  host::trace(true);
  manual_blocks();
  automatic_blocks();
  host::trace(false);
  host::trace_once(false);
  host::end_failing();
  EXPECT_TRUE(host::trace_is_sound());
  EXPECT_EQ(host::live_allocations(), 0u);

  const std::regex size("(malloc\\(|entry_size=)[0-9]+");
  const std::string life = std::regex_replace(host::log_text(), size, "$1SIZE");
  std::ofstream("life.actual") << life;
  std::ifstream recorded(RECORDED_LIFE);
  EXPECT_EQ(life, std::string(std::istreambuf_iterator<char>(recorded), {}));
}

}  // namespace
