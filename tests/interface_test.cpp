// What a caller may rely on where it gives bad arguments: results, outputs, and a line for each
// check, or from an internal routine an assertion for each precondition.

#include <functional>

#include "block/lookup.h"
#include "block/release.h"
#include "frame/messages.h"
#include "item/item.h"
#include "support/database.h"
#include "tty/entry.h"

namespace {

// One call, what it says of its arguments, each text closed by a bar, and its result.
struct Rejection {
  std::function<uint32_t()> call;
  std::string said;
  const char *result = "INVALID_ARG";
};
#define CALL(...) [&] { return __VA_ARGS__; }
#define VOID_CALL(...) [&] { return __VA_ARGS__, 0u; }

const std::string kNoSlot =
    "TTY_DB_TTY_ID_TO_BLOCK_INDEX(block, tty_id) < block->details.capacity|";
const std::string kAutomatic = "DB has automatic block management|";
const std::string kNoRange = "Invalid first TTY / number of TTYs|";
constexpr const char *kLines = " . ";
constexpr const char *kAssertions = "assert ";

// Makes the calls, with tracing open and shut, and compares the texts of the log's entries that
// have `mark` in them: lines are traced only where tracing is open.
void expect_rejected(const std::vector<Rejection> &rejections, const char *mark,
                     std::initializer_list<bool> modes = {true, false}) {
  for (const Rejection &rejection : rejections) {
    SCOPED_TRACE(rejection.said);
    for (const bool traced : modes) {
      host::clear();
      host::trace(traced);
      const uint32_t rc = rejection.call();
      host::trace(false);
      std::string said;
      for (const std::string &entry : host::log()) {
        if (entry.find(mark) != std::string::npos) said += entry.substr(entry.find(": ") + 2) + "|";
      }
      EXPECT_EQ(host::result_name(rc), rejection.result);
      EXPECT_EQ(said, traced || mark == kAssertions ? rejection.said : "");
    }
  }
}

TEST(Interface, BadArgumentsAreRejectedEachWithItsLine) {
  Database db(kLock);
  Database automatic(kAuto);
  tty_db_block_type *live = db.reserve(0, 0, 10);
  tty_db_tty_type *entry = db.add(0, 5);
  const size_t head = sizeof(tty_db_tty_type);
  const size_t node = sizeof(tty_db_item_type);
  const size_t too_much = sizeof(size_t) == 8 ? SIZE_MAX / 2 - 100 : SIZE_MAX - 100;
  Handles w;
  const std::vector<Rejection> bad_arguments = {
      {CALL(tty_db_create(4, &w.db)), "Invalid options argument|"},
      {CALL(tty_db_create(7, nullptr)), "Invalid options argument|NULL handle pointer argument|"},
      {CALL(tty_db_destroy(nullptr)), "NULL handle pointer argument|"},
      {CALL(tty_db_get_details(nullptr, &w.id, &w.id)), "NULL handle pointer argument|"},
      {CALL(tty_db_block_reserve(nullptr, 6, 0, 1, nullptr, 0, nullptr)),
       "NULL DB handle|NULL Block handle|Invalid category 6|"},
      {CALL(tty_db_block_reserve(db, 0, 0, 0, nullptr, 0, &w.block)), kNoRange},
      {CALL(tty_db_block_reserve(db, 0, 0xFFFFFFFF, 2, nullptr, 0, &w.block)), kNoRange},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 0, nullptr, 0, &w.block)), kNoRange},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 1, nullptr, 0, &w.block)), kAutomatic,
       "WRONG_MODE"},
      {CALL(tty_db_block_release(nullptr, nullptr, 2)),
       "NULL DB handle|NULL Block handle|Invalid block options 0x2|"},
      {CALL(tty_db_block_release(automatic, live, 0)), kAutomatic, "WRONG_MODE"},
      {CALL(tty_db_block_resize(nullptr, nullptr, 1, 10001, 3)),
       "NULL DB handle|NULL Block handle|Invalid first TTY / number of TTYs|"
       "Invalid block options 0x3|"},
      {CALL(tty_db_block_resize(automatic, live, 0, 1, 0)), kAutomatic, "WRONG_MODE"},
      {CALL(tty_db_block_details_from_handle(nullptr, nullptr, nullptr)),
       "NULL DB handle|NULL Block handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_handle(automatic, live, &w.details)), kAutomatic,
       "WRONG_MODE"},
      {CALL(tty_db_block_details_from_tty(nullptr, 6, 10001, nullptr)),
       "NULL DB handle|NULL Details pointer|Invalid category 6|Invalid first TTY|"},
      {CALL(tty_db_block_details_from_tag(nullptr, "x", nullptr)),
       "NULL DB handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_tag(automatic, nullptr, &w.details)), kAutomatic,
       "WRONG_MODE"},
      {CALL(tty_db_tty_register(nullptr, 6, 10001, head - 1, nullptr)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|Invalid entry size " +
           std::to_string(head - 1) + " (need " + std::to_string(head) + ")|NULL TTY handle|"},
      {CALL(tty_db_tty_deregister(nullptr, 6, 10001)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|"},
      {CALL(tty_db_tty_retrieve(nullptr, 6, 10001, nullptr)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|NULL TTY output variable|"},
      {CALL(tty_db_tty_unlock(nullptr, nullptr)), "NULL DB handle|NULL TTY entry structure|"},
      {CALL(tty_db_item_create(nullptr, 1, 0, nullptr)),
       "NULL TTY entry pointer|0 size is illegal|NULL item output pointer|"},
      {CALL(tty_db_item_get(nullptr, 1, nullptr)),
       "NULL TTY entry pointer|NULL item output pointer|"},
      {CALL(tty_db_item_get(entry, 1, nullptr)), "NULL item output pointer|"},
      {CALL(tty_db_item_destroy(nullptr, 1)), "NULL TTY entry pointer|"},
      {CALL(tty_db_item_create(entry, 1, SIZE_MAX, &w.item)),
       "malloc(" + std::to_string(node - 1) + ") of item list structure failed|", "NO_MEMORY"},
      {CALL(tty_db_item_create(entry, 1, too_much, &w.item)),
       "malloc(" + std::to_string(too_much + node) + ") of item list structure failed|",
       "NO_MEMORY"},
      {CALL(tty_db_iterate_start(nullptr, 6, 10001, 7, 10002, nullptr)),
       "NULL DB handle|Invalid start category 6|Invalid start Id 10001|"
       "Invalid end category 7|Invalid end Id 10002|NULL iterator handle output variable|"},
      {CALL(tty_db_iterate_next(nullptr, nullptr, nullptr)),
       "NULL Iterator handle|NULL category output argument|NULL TTY ID output argument|"},
      {CALL(tty_db_iterate_end(nullptr)), "NULL iterator argument|"},
  };
  expect_rejected(bad_arguments, kLines);
  EXPECT_EQ(db.counts(), std::make_pair(1u, 1u));
}

// Each precondition by itself, and all of a routine's at once.
TEST(Interface, InternalRoutinesAssertWhatTheyRequireAndLeaveUnharmed) {
  const std::string unlocked = "pthread_rwlock_trywrlock(&db_h->rwlock) == EDEADLK|";
  const std::string invalid = "category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX";
  const std::string category = invalid + "|";
  const std::string past_end = "first_tty + num_ttys - 1 <= TTY_PORT_MAX|";
  const tty_db_speaker speaker(TTY_DB_TRACE_TTY);
  Database db(kLock);
  Database other(0);
  Database automatic(kAuto);
  tty_db_block_type *block = db.reserve(0, 0, 10);
  tty_db_block_type *foreign = other.reserve(0, 0, 10);
  tty_db_block_type slotless = {};
  slotless.details.capacity = 1;
  tty_db_block_type *out = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_item_type **link = nullptr;
  uint32_t id = 0;
  tty_db_iterator_type *iterator = nullptr;
  ASSERT_EQ(tty_db_iterate_start(db, 0, 0, 0, 0, &iterator), 0u);
  const auto reserve = [&](tty_db_type *in, uint32_t of, uint32_t first, uint32_t count) {
    return tty_db_block_reserve_internal(in, of, first, count, nullptr, 0, &out);
  };
  const auto add = [&](tty_db_type *in, uint32_t of, size_t size, tty_db_tty_type **entry) {
    return tty_db_tty_register_internal(in, of, 10001, size, entry);
  };
  host::assertions_return(true);
  // Without the lock the work is done all the same, and the lock is not left taken.
  expect_rejected({{CALL(tty_db_block_resize_internal(db, block, 0, 11)), unlocked, "OK"}},
                  kAssertions);
  for (tty_db_type *locked : {db.get(), automatic.get()}) {
    ASSERT_EQ(pthread_rwlock_trywrlock(&locked->rwlock), 0);
  }
  const std::vector<Rejection> preconditions = {
      {CALL(reserve(nullptr, 1, 0, 1)), "db_h != NULL|"},
      {CALL(reserve(db, 6, 0, 1)), category},
      {CALL(reserve(db, 1, 9999, 3)), past_end},
      {CALL(reserve(db, 1, 0xFFFFFFFF, 2)), past_end},
      {CALL(reserve(db, 1, 5, 0)), "num_ttys > 0|"},
      {CALL(tty_db_block_reserve_internal(db, 1, 0, 1, nullptr, 0, nullptr)), "block_h != NULL|"},
      {CALL(tty_db_block_resize_internal(nullptr, block, 0, 1)), "db_h != NULL|"},
      {CALL(tty_db_block_resize_internal(db, nullptr, 0, 1)), "block_h != NULL|"},
      {CALL(tty_db_block_resize_internal(db, block, 9999, 3)), past_end},
      {CALL(tty_db_block_resize_internal(db, block, 5, 0)), "num_ttys > 0|"},
      {CALL(tty_db_block_resize_internal(db, foreign, 20, 1)), "*old_insertion_point == block_h|"},
      {VOID_CALL(tty_db_block_release_internal(db, foreign)), "(*insertion_point) == block_h|",
       "OK"},
      {VOID_CALL(tty_db_block_release_internal(nullptr, block)), "db_h != NULL|", "OK"},
      {VOID_CALL(tty_db_block_release_internal(db, nullptr)), "block_h != NULL|", "OK"},
      {CALL(tty_db_block_check_for_overlap(nullptr, 0, 0, 1, nullptr)), "db_h != NULL|"},
      {CALL(tty_db_block_check_for_overlap(db, 6, 0, 1, nullptr)), category},
      {CALL(tty_db_block_find_lowest_block(nullptr, 0, 0, &out)), "db_h != NULL|"},
      {CALL(tty_db_block_find_lowest_block(db, 6, 0, &out)), category},
      {CALL(tty_db_block_find_lowest_block(db, 0, 0, nullptr)), "block != NULL|"},
      {CALL(tty_db_block_find_block_from_tty_id(db, 0, 0, nullptr)), "block != NULL|"},
      {CALL(tty_db_block_find_block_from_tty_id(nullptr, 0, 0, &out)), "db_h != NULL|"},
      {CALL(tty_db_block_find_block_from_tty_id(db, 6, 0, &out)), category},
      {CALL(tty_db_block_find_block_from_tty_id(db, 0, UINT32_MAX, &out)),
       "tty_id <= TTY_PORT_MAX|", "NO_BLOCK"},
      {CALL(tty_db_block_find_block_from_tag(nullptr, nullptr, &out)), "db_h != NULL|"},
      {CALL(tty_db_block_find_block_from_tag(db, nullptr, nullptr)), "block != NULL|"},
      {CALL(add(nullptr, 0, sizeof(Entry), &tty)), "db_h != NULL|"},
      {CALL(add(db, 6, sizeof(Entry), &tty)), category},
      {CALL(add(db, 0, sizeof(tty_db_tty_type) - 1, &tty)),
       "entry_size >= sizeof(tty_db_tty_type)|"},
      {CALL(add(db, 0, sizeof(Entry), nullptr)), "tty != NULL|"},
      {CALL(add(automatic, 0, sizeof(Entry), &tty)), "tty_id <= TTY_PORT_MAX|" + past_end},
      {VOID_CALL(tty_db_tty_deregister_internal(db, block, 3)), "tty != NULL|", "OK"},
      {VOID_CALL(tty_db_tty_deregister_internal(db, block, 11)), kNoSlot + "tty != NULL|", "OK"},
      {VOID_CALL(tty_db_tty_deregister_internal(db, nullptr, 3)), "block != NULL|tty != NULL|",
       "OK"},
      {VOID_CALL(tty_db_tty_deregister_internal(db, &slotless, 0)), "tty != NULL|", "OK"},
      {CALL(tty_db_writelock(speaker, nullptr)), "db != NULL|"},
      {CALL(tty_db_readlock(speaker, nullptr)), "db != NULL|"},
      {VOID_CALL(tty_db_unlock(speaker, nullptr)), "db != NULL|", "OK"},
      {CALL(tty_db_lock_tty(nullptr, tty)), "db != NULL|"},
      {VOID_CALL(tty_db_cleanup_entry(nullptr, true)), "tty != NULL|", "OK"},
      {CALL(tty_db_item_find_insertion_point(nullptr, 1, &link)), "tty != NULL|"},
      {CALL(tty_db_item_find_insertion_point(reinterpret_cast<tty_db_tty_type *>(block), 1,
                                             nullptr)),
       "insertion_point != NULL|"},
      {CALL(tty_db_iterate_next_internal(nullptr, &id, &id)), "iterator_h != NULL|"},
      {CALL(tty_db_iterate_next_internal(iterator, nullptr, &id)), "category != NULL|"},
      {CALL(tty_db_iterate_next_internal(iterator, &id, nullptr)), "tty_id != NULL|"},
  };
  expect_rejected(preconditions, kAssertions);
  // Asserted by the routine itself, ahead of those that it calls.
  host::clear();
  EXPECT_EQ(reserve(db, 6, 0, 1), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(host::log_text(), "assert tty_db_block_reserve_internal: " + invalid + "\n");
  host::fail_call(2, "calloc");
  EXPECT_EQ(reserve(db, 1, 0, 1), TTY_DB_ERR_NO_MEMORY);
  EXPECT_EQ(out, nullptr);
  ASSERT_EQ(pthread_rwlock_trywrlock(&other.get()->rwlock), 0);
  other.get()->num_blocks = 0;  // it holds one: its release must not count below zero
  host::clear();
  tty_db_block_release_internal(other, foreign);
  EXPECT_EQ(host::log_text(), "assert tty_db_block_release_internal: db_h->num_blocks > 0\n");
  for (tty_db_type *locked : {db.get(), automatic.get(), other.get()}) {
    EXPECT_EQ(pthread_rwlock_unlock(&locked->rwlock), 0);
  }
  host::assertions_return(false);
  EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
  EXPECT_EQ(db.counts(), std::make_pair(1u, 0u));
  EXPECT_EQ(other.counts(), std::make_pair(0u, 0u));
}

// A block of another database: its own slots tell whether it has lines, traced or not, and neither
// database is changed.
TEST(Interface, ABlockOfAnotherDatabaseChangesNothing) {
  Database db(0);
  Database other(0);
  tty_db_block_type *block = db.reserve(0, 0, 10);
  tty_db_block_type *foreign = other.reserve(0, 0, 10);
  db.add(0, 5);
  other.add(0, 7);
  host::assertions_return(true);
  for (const bool traced : {false, true}) {
    host::trace(traced);
    EXPECT_EQ(tty_db_block_resize(db, foreign, 0, 7, 1), TTY_DB_ERR_TTYS_REGISTERED);
    EXPECT_EQ(tty_db_block_resize(db, block, 0, 5, 1), TTY_DB_ERR_TTYS_REGISTERED);
    EXPECT_EQ(tty_db_block_resize(db, foreign, 20, 10, 0), TTY_DB_ERR_INVALID_ARG);
    EXPECT_EQ(tty_db_block_release(db, foreign, 0), 0u);
    host::clear();
    ASSERT_EQ(pthread_rwlock_trywrlock(&db.get()->rwlock), 0);
    tty_db_tty_deregister_internal(db, foreign, 7);
    ASSERT_EQ(pthread_rwlock_unlock(&db.get()->rwlock), 0);
    EXPECT_EQ(host::num_assertions(), 1);
  }
  host::trace(false);
  host::assertions_return(false);
  EXPECT_EQ(db.lines(), (std::vector<std::pair<uint32_t, uint32_t>>{{0, 5}}));
  EXPECT_EQ(other.lines(), (std::vector<std::pair<uint32_t, uint32_t>>{{0, 7}}));
}

// A routine that leaves because of an assertion has traced its entry line, if that could be
// printed.
TEST(Interface, RoutinesThatLeaveHaveTracedTheirEntryLine) {
  Database db(0);
  tty_db_block_type *block = db.reserve(0, 0, 10);
  tty_db_iterator_type *iterator = nullptr;
  uint32_t id = 0;
  ASSERT_EQ(tty_db_iterate_start(db, 0, 0, 0, 0, &iterator), 0u);
  host::clear();
  host::assertions_return(true);
  host::trace(true);
  EXPECT_EQ(tty_db_block_resize_internal(nullptr, block, 20, 1), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(tty_db_iterate_next_internal(iterator, nullptr, &id), TTY_DB_ERR_INVALID_ARG);
  host::trace(false);
  host::assertions_return(false);
  EXPECT_EQ(host::log_text(),
            "assert tty_db_block_resize_internal: db_h != NULL\n"
            "block > tty_db_block_resize_internal: Entering ..DB=0: block=.., first=20, num=1, "
            "old_first=0, old_num=10\n"
            "assert tty_db_iterate_next_internal: category != NULL\n"
            "iteration > tty_db_iterate_next_internal: Entering ..iterator=..; next: category=0, "
            "id=0; end: category=0, id=0\n");
  EXPECT_TRUE(host::trace_is_sound());
  EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
}

// What a caller has written over is reported where it is met, and counts do not fall below zero.
TEST(Interface, AssertionsTellOfDamagedRecords) {
  const std::string found = "(*block)->details.category == category|";
  const std::string last = "(first_tty > last_tty) || last_tty <= TTY_PORT_MAX|";
  Database db(0);
  tty_db_block_type *block = db.reserve(1, 0, 10);
  tty_db_block_details_type &damaged = block->details;
  auto *loose = static_cast<tty_db_block_type *>(calloc(1, sizeof(*block)));
  db.add(1, 5);
  loose->next_block = block;
  Handles w;
  ASSERT_EQ(tty_db_iterate_start(db, 1, 0, 1, 9, &w.iterator), 0u);
  host::assertions_return(true);
  ASSERT_EQ(pthread_rwlock_trywrlock(&db.get()->rwlock), 0);
  const auto check = [&](uint32_t first, uint32_t end) {
    return tty_db_block_check_no_registered_ttys(db, block, first, end);
  };
  const std::vector<Rejection> ranges = {
      {CALL(check(10000, 10001)), last + kNoSlot + kNoSlot, "OK"},
      {CALL(check(10001, 10001)),
       "(first_tty > last_tty) || first_tty <= TTY_PORT_MAX|" + last + kNoSlot, "OK"},
      {CALL(check(10002, 10001)), "", "OK"},
      {VOID_CALL(tty_db_block_cleanup(db, loose)), "block->next_block == NULL|", "OK"}};
  expect_rejected(ranges, kAssertions, {true});
  ASSERT_EQ(pthread_rwlock_unlock(&db.get()->rwlock), 0);
  damaged.category = 2;
  expect_rejected({{CALL(tty_db_block_details_from_tty(db, 1, 5, &w.details)),
                    found + found + "block->details.category == category|", "OK"},
                   {CALL(tty_db_tty_register(db, 1, 5, sizeof(Entry), &w.tty)),
                    found + found + "block->details.category == category|", "TTY_EXISTS"},
                   {CALL(tty_db_iterate_next(w.iterator, &w.category, &w.id)),
                    found + "block->details.category == iterator_h->next_category|", "OK"}},
                  kAssertions, {true});
  damaged.category = 1;
  const std::vector<Rejection> counts = {
      {CALL(damaged.first_tty = 6, tty_db_block_details_from_tty(db, 1, 5, &w.details)),
       "tty_id >= block->details.first_tty|", "OK"},
      {CALL(damaged.first_tty = 0, damaged.num_registered = 10,
            tty_db_tty_register(db, 1, 6, sizeof(Entry), &w.tty)),
       "block->details.num_registered < block->details.capacity|", "OK"},
      {CALL(damaged.num_registered = db.get()->num_ttys = 1, tty_db_tty_deregister(db, 1, 6)), "",
       "OK"},
      {CALL(tty_db_tty_deregister(db, 1, 5)),
       "block->details.num_registered > 0|db_h->num_ttys > 0|", "OK"},
      {CALL(free(block->ttys), block->ttys = nullptr, tty_db_block_resize(db, block, 20, 5, 0)),
       "(block_h->ttys) != NULL|", "OK"},
      {CALL(tty_db_create(0, &w.db), w.db->num_ttys = 1, tty_db_destroy(w.db)),
       "db_h->num_ttys == 0|", "OK"},
      {CALL(tty_db_create(0, &w.db), w.db->num_blocks = 1, tty_db_destroy(w.db)),
       "db_h->num_blocks == 0|", "OK"},
      {CALL(tty_db_create(0, &w.db), tty_db_block_reserve(w.db, 0, 0, 1, nullptr, 0, &w.block),
            w.block->details.first_tty = 1, tty_db_destroy(w.db), free(w.block->ttys),
            free(w.block), 0u),
       "(*insertion_point) == block_h|db_h->num_blocks == 0|", "OK"},
  };
  expect_rejected(counts, kAssertions, {false});
  host::assertions_return(false);
  EXPECT_EQ(db.counts(), std::make_pair(1u, 0u));
  EXPECT_EQ(damaged.num_registered, 0u);
  EXPECT_EQ(tty_db_iterate_end(w.iterator), 0u);
}

// A pointer that no call can have set.
template <typename T>
T *stale() {
  static char any;
  return reinterpret_cast<T *>(&any);
}

TEST(Interface, OutputsAfterAFailureAreSetOrUntouched) {
  Database db(kLock);
  db.reserve(0, 10, 10, "tag");
  tty_db_tty_type *entry = nullptr;
  ASSERT_EQ(tty_db_tty_register(db, 0, 15, sizeof(tty_db_tty_type), &entry), 0u);
  auto *made = stale<tty_db_type>();
  EXPECT_EQ(tty_db_create(4, &made), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(made, nullptr);

  using Search = std::function<uint32_t(tty_db_block_type **)>;
  const Search searches[] = {
      [&](auto **out) { return tty_db_block_reserve(db, 6, 0, 1, nullptr, 0, out); },
      [&](auto **out) { return tty_db_block_find_lowest_block(db, 0, 20, out); },
      [&](auto **out) { return tty_db_block_find_block_from_tty_id(db, 0, 9, out); },
      [&](auto **out) { return tty_db_block_find_block_from_tty_id(db, 0, 20, out); },
      [&](auto **out) { return tty_db_block_find_block_from_tag(db, "other", out); },
      [&](auto **out) { return tty_db_block_find_block_from_tag(db, nullptr, out); },
  };
  for (const bool traced : {false, true}) {
    host::trace(traced);
    for (const Search &search : searches) {
      auto *block = stale<tty_db_block_type>();
      EXPECT_NE(search(&block), 0u);
      EXPECT_EQ(block, nullptr);
    }
  }
  host::trace(false);

  tty_db_block_details_type details = {6, 6, 6, "", 6, 6, stale<tty_db_block_type>()};
  EXPECT_EQ(tty_db_block_details_from_tty(db, 6, 0, &details), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(fields(details), fields({}));
  for (const uint32_t size : {0u, 64u}) {
    auto *tty = stale<tty_db_tty_type>();
    EXPECT_NE(tty_db_tty_register(db, 0, 15, size, &tty), 0u);
    EXPECT_EQ(tty, nullptr);
    auto *item = stale<void>();
    EXPECT_NE(size == 0 ? tty_db_item_create(entry, 1, 0, &item) : tty_db_item_get(entry, 1, &item),
              0u);
    EXPECT_EQ(item, nullptr);
  }
  auto **link = stale<tty_db_item_type *>();
  EXPECT_EQ(tty_db_item_find_insertion_point(entry, 1, &link), TTY_DB_ERR_NO_ITEM);
  EXPECT_EQ(link, nullptr);
  uint32_t category = 9;
  uint32_t id = 9;
  EXPECT_EQ(tty_db_iterate_next(nullptr, &category, &id), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(std::make_pair(category, id), std::make_pair(TTY_CATEGORY_MAX, 0u));

  tty_db_iterator_type *exhausted = nullptr;
  ASSERT_EQ(tty_db_iterate_start(db, 0, 0, 0, 9, &exhausted), 0u);
  EXPECT_EQ(tty_db_iterate_next_internal(exhausted, &category, &id), TTY_DB_ERR_NO_MORE);
  EXPECT_EQ(std::make_pair(category, id), std::make_pair(TTY_CATEGORY_MAX, 0u));
  EXPECT_EQ(tty_db_iterate_end(exhausted), 0u);

  auto *iterator = stale<tty_db_iterator_type>();
  EXPECT_EQ(tty_db_iterate_start(db, 6, 0, 0, 0, &iterator), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(iterator, stale<tty_db_iterator_type>());
  auto *tty = stale<tty_db_tty_type>();
  EXPECT_EQ(tty_db_tty_retrieve(db, 0, 10001, &tty), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(tty, stale<tty_db_tty_type>());
  EXPECT_EQ(tty_db_get_details(nullptr, &id, &id), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(id, 0u);
}

TEST(Interface, MessageRecordsHaveTheirValues) {
  const struct {
    const tty_db_msg_rec_type &record;
    const tty_db_msg_limit_type &limit;
    const char *mnemonic;
    uint16_t severity;
    uint32_t id;
  } cases[] = {
      {kel_msg_rec_tty_db_panic, kel_msg_limit_tty_db_panic, "PANIC", 2, 0x04b00003},
      {kel_msg_rec_tty_db_lock_error, kel_msg_limit_tty_db_lock_error, "LOCK_ERROR", 3, 0x04b00002},
      {kel_msg_rec_tty_db_lock_busy, kel_msg_limit_tty_db_lock_busy, "LOCK_BUSY", 3, 0x04b00001},
      {kel_msg_rec_tty_db_kernel_error, kel_msg_limit_tty_db_kernel_error, "KERNEL_ERROR", 3,
       0x04b00000},
  };
  for (const auto &c : cases) {
    EXPECT_STREQ(c.record.mnemonic, c.mnemonic);
    EXPECT_EQ(c.record.limit, &c.limit);
    EXPECT_EQ(std::make_tuple(c.record.severity, c.record.id, c.record.version, c.limit.words[0]),
              std::make_tuple(c.severity, c.id, uint16_t{1}, 1u));
    EXPECT_EQ(std::string(c.record.facility) + " " + c.record.group, "TTY_DB MGBL");
  }
}

}  // namespace
