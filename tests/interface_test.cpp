// Bad arguments and overwritten records: the result, the outputs, and a trace line for each or,
// from an internal routine, a failed assertion.

#include "block/lookup.h"
#include "block/release.h"
#include "frame/messages.h"
#include "item/item.h"
#include "iterate/iterator.h"
#include "support/database.h"
#include "tty/entry.h"

namespace {

using Texts = std::vector<std::string>;

// The texts of the entries of the log that begin with a mark.
Texts logged(const std::string &mark) {
  Texts texts;
  for (const std::string &entry : host::log()) {
    if (entry.rfind(mark, 0) == 0) texts.push_back(entry.substr(mark.size()));
  }
  return texts;
}

// Expects that a call returns a result, and traces these lines and the result.
#define EXPECT_RESULT(result, call, ...)           \
  do {                                             \
    host::clear();                                 \
    host::trace(true);                             \
    EXPECT_EQ(call, result);                       \
    host::trace(false);                            \
    EXPECT_EQ(logged(". "), (Texts{__VA_ARGS__})); \
    EXPECT_EQ(host::traced_result(), result);      \
  } while (false)

#define EXPECT_INVALID(...) EXPECT_RESULT(TTY_DB_ERR_INVALID_ARG, __VA_ARGS__)

// Expects that these assertions fail in a statement.
#define EXPECT_ASSERTS(statement, ...)             \
  do {                                             \
    host::clear();                                 \
    statement;                                     \
    EXPECT_EQ(logged("! "), (Texts{__VA_ARGS__})); \
  } while (false)

TEST(BadArguments, AreRejectedEachWithItsLine) {
  const size_t need = sizeof(tty_db_tty_type);
  const std::string too_small =
      "Invalid entry size " + std::to_string(need - 1) + " (need " + std::to_string(need) + ")";
  const char *no_db = "NULL DB handle";
  const char *no_block = "NULL Block handle";
  const char *category = "Invalid category 6";
  const char *range = "Invalid first TTY / number of TTYs";
  const char *id = "Invalid TTY Id 10001";
  EXPECT_INVALID(tty_db_create(7, nullptr), "Invalid options argument",
                 "NULL handle pointer argument");
  EXPECT_INVALID(tty_db_destroy(nullptr), "NULL handle pointer argument");
  EXPECT_INVALID(tty_db_get_details(nullptr, nullptr, nullptr), "NULL handle pointer argument");
  EXPECT_INVALID(tty_db_block_reserve(nullptr, 6, UINT32_MAX, 2, nullptr, 0, nullptr), no_db,
                 no_block, category, range);
  EXPECT_INVALID(tty_db_block_resize(nullptr, nullptr, 1, 0, 3), no_db, no_block, range,
                 "Invalid block options 0x3");
  EXPECT_INVALID(tty_db_block_release(nullptr, nullptr, 2), no_db, no_block,
                 "Invalid block options 0x2");
  EXPECT_INVALID(tty_db_block_details_from_handle(nullptr, nullptr, nullptr), no_db, no_block,
                 "NULL Details pointer");
  EXPECT_INVALID(tty_db_block_details_from_tty(nullptr, 6, 10001, nullptr), no_db,
                 "NULL Details pointer", category, "Invalid first TTY");
  EXPECT_INVALID(tty_db_block_details_from_tag(nullptr, "x", nullptr), no_db,
                 "NULL Details pointer");
  EXPECT_INVALID(tty_db_tty_register(nullptr, 6, 10001, need - 1, nullptr), no_db, category, id,
                 too_small, "NULL TTY handle");
  EXPECT_INVALID(tty_db_tty_deregister(nullptr, 6, 10001), no_db, category, id);
  EXPECT_INVALID(tty_db_tty_retrieve(nullptr, 6, 10001, nullptr), no_db, category, id,
                 "NULL TTY output variable");
  EXPECT_INVALID(tty_db_tty_unlock(nullptr, nullptr), no_db, "NULL TTY entry structure");
  EXPECT_INVALID(tty_db_item_create(nullptr, 1, 0, nullptr), "NULL TTY entry pointer",
                 "0 size is illegal", "NULL item output pointer");
  EXPECT_INVALID(tty_db_item_get(nullptr, 1, nullptr), "NULL TTY entry pointer",
                 "NULL item output pointer");
  EXPECT_INVALID(tty_db_item_destroy(nullptr, 1), "NULL TTY entry pointer");
  EXPECT_INVALID(tty_db_iterate_start(nullptr, 6, 10001, 7, 10002, nullptr), no_db,
                 "Invalid start category 6", "Invalid start Id 10001", "Invalid end category 7",
                 "Invalid end Id 10002", "NULL iterator handle output variable");
  EXPECT_INVALID(tty_db_iterate_next(nullptr, nullptr, nullptr), "NULL Iterator handle",
                 "NULL category output argument", "NULL TTY ID output argument");
  EXPECT_INVALID(tty_db_iterate_end(nullptr), "NULL iterator argument");
}

TEST(BadArguments, AProgramDoesNotManageTheBlocksOfAnAutomaticDatabase) {
  Database manual(0);
  Database automatic(kAuto);
  tty_db_block_type *block = manual.reserve(0, 0, 10);
  tty_db_block_details_type details;
  const char *line = "DB has automatic block management";
  EXPECT_RESULT(TTY_DB_ERR_WRONG_MODE, tty_db_block_resize(automatic, block, 0, 1, 0), line);
  EXPECT_RESULT(TTY_DB_ERR_WRONG_MODE, tty_db_block_release(automatic, block, 0), line);
  EXPECT_RESULT(TTY_DB_ERR_WRONG_MODE, tty_db_block_details_from_handle(automatic, block, &details),
                line);
}

TEST(BadArguments, AnItemThatIsTooLargeIsRefused) {
  Database db(kAuto);
  tty_db_tty_type *tty = db.add(0, 0);
  void *item = nullptr;
  const std::string wrapped = std::to_string(sizeof(tty_db_item_type) - 1);
  EXPECT_RESULT(TTY_DB_ERR_NO_MEMORY, tty_db_item_create(tty, 1, SIZE_MAX, &item),
                "malloc(" + wrapped + ") of item list structure failed");
}

TEST(Outputs, AreClearedByAFailureExceptByARetrievalWithoutABlock) {
  Database db(0);
  tty_db_block_type *const reserved = db.reserve(0, 10, 10, "tag");
  tty_db_tty_type *const line = db.add(0, 15);

  tty_db_type *created = db;
  EXPECT_EQ(tty_db_create(4, &created), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(created, nullptr);

  tty_db_block_type *block = reserved;
  EXPECT_EQ(tty_db_block_reserve(db, 6, 0, 1, nullptr, 0, &block), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(block, nullptr);
  block = reserved;
  EXPECT_EQ(tty_db_block_find_block_from_tty_id(db, 0, 9, &block), TTY_DB_ERR_NO_BLOCK);
  EXPECT_EQ(block, nullptr);
  block = reserved;
  EXPECT_EQ(tty_db_block_find_block_from_tag(db, "other", &block), TTY_DB_ERR_NO_BLOCK);
  EXPECT_EQ(block, nullptr);
  tty_db_block_details_type details = reserved->details;
  EXPECT_EQ(tty_db_block_details_from_tty(db, 6, 0, &details), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(fields(details), fields({}));

  tty_db_tty_type *tty = line;
  EXPECT_EQ(tty_db_tty_register(db, 0, 16, 0, &tty), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(tty, nullptr);
  tty = line;
  EXPECT_EQ(tty_db_tty_retrieve(db, 0, 9, &tty), TTY_DB_ERR_NOT_REGISTERED);
  EXPECT_EQ(tty, line);  // no block contains id 9
  EXPECT_EQ(tty_db_tty_retrieve(db, 0, 16, &tty), TTY_DB_ERR_NOT_REGISTERED);
  EXPECT_EQ(tty, nullptr);

  void *item = line;
  EXPECT_EQ(tty_db_item_create(line, 1, 0, &item), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(item, nullptr);
  item = line;
  EXPECT_EQ(tty_db_item_get(line, 1, &item), TTY_DB_ERR_NO_ITEM);
  EXPECT_EQ(item, nullptr);

  uint32_t category = 0;
  uint32_t id = 1;
  EXPECT_EQ(tty_db_iterate_next(nullptr, &category, &id), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(category, TTY_CATEGORY_MAX);
  EXPECT_EQ(id, 0u);
}

// What the library asserts when it is called against its rules, or when the program has written
// over a record.  Failed assertions return.
class Assertions : public testing::Test {
 protected:
  Assertions() { host::assertions_return(true); }
  ~Assertions() override {
    host::assertions_return(false);
    EXPECT_EQ(db.counts(), std::make_pair(1u, 1u));
  }
  void lock() { ASSERT_EQ(pthread_rwlock_trywrlock(&db.get()->rwlock), 0); }
  void unlock() { ASSERT_EQ(pthread_rwlock_unlock(&db.get()->rwlock), 0); }

  const char *no_db = "db_h != NULL";
  const char *no_block = "block != NULL";
  const char *no_block_handle = "block_h != NULL";
  const char *no_tty = "tty != NULL";
  const char *category = "category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX";
  Database db{kLock};
  tty_db_block_type *block = db.reserve(0, 0, 10);
  tty_db_tty_type *tty = db.add(0, 5);
  tty_db_block_type *found = nullptr;
};

TEST_F(Assertions, ReportEachBadArgument) {
  lock();
  EXPECT_ASSERTS(tty_db_block_reserve_internal(nullptr, 6, UINT32_MAX, 2, nullptr, 0, nullptr),
                 no_db, category, "first_tty + num_ttys - 1 <= TTY_PORT_MAX", no_block_handle);
  EXPECT_ASSERTS(tty_db_block_release_internal(nullptr, block), no_db);
  EXPECT_ASSERTS(tty_db_block_release_internal(db, nullptr), no_block_handle);
  EXPECT_ASSERTS(tty_db_block_check_for_overlap(nullptr, 6, 0, 1, nullptr), no_db, category);
  EXPECT_ASSERTS(tty_db_block_find_insertion_point(nullptr, 6, 10001, nullptr), no_db, category,
                 "tty_id <= TTY_PORT_MAX", "insertion_point != NULL");
  EXPECT_ASSERTS(tty_db_block_find_lowest_block(db, 0, 0, nullptr), no_block);
  EXPECT_ASSERTS(tty_db_block_find_block_from_tty_id(nullptr, 0, 0, &found), no_db);
  EXPECT_ASSERTS(tty_db_block_find_block_from_tty_id(db, 6, 0, &found), category);
  EXPECT_ASSERTS(tty_db_block_find_block_from_tty_id(db, 0, 0, nullptr), no_block);
  EXPECT_ASSERTS(tty_db_block_find_block_from_tag(nullptr, nullptr, &found), no_db);
  EXPECT_ASSERTS(tty_db_block_find_block_from_tag(db, nullptr, nullptr), no_block);
  EXPECT_ASSERTS(tty_db_tty_register_internal(nullptr, 6, 0, 0, nullptr), no_db, category,
                 "entry_size >= sizeof(tty_db_tty_type)", no_tty);
  EXPECT_ASSERTS(tty_db_tty_deregister_internal(nullptr, block, 5), no_db);
  EXPECT_ASSERTS(tty_db_tty_deregister_internal(db, nullptr, 5), no_block, no_tty);
  EXPECT_ASSERTS(tty_db_cleanup_entry(nullptr, true), no_tty);
  EXPECT_ASSERTS(tty_db_item_find_insertion_point(nullptr, 1, nullptr), no_tty,
                 "insertion_point != NULL");
  host::trace(true);  // these trace what their arguments point to
  EXPECT_ASSERTS(tty_db_block_resize_internal(nullptr, nullptr, 1, 0), no_db, no_block_handle,
                 "num_ttys > 0");
  EXPECT_ASSERTS(tty_db_iterate_next_internal(nullptr, nullptr, nullptr), "iterator_h != NULL",
                 "category != NULL", "tty_id != NULL");
  host::trace(false);
  unlock();
}

TEST_F(Assertions, ReportThatThereIsNoDatabaseToLock) {
  const tty_db_speaker speaker(TTY_DB_TRACE_TTY);
  EXPECT_ASSERTS(EXPECT_NE(tty_db_writelock(speaker, nullptr), 0u), "db != NULL");
  EXPECT_ASSERTS(EXPECT_NE(tty_db_readlock(speaker, nullptr), 0u), "db != NULL");
  EXPECT_ASSERTS(EXPECT_NE(tty_db_lock_tty(nullptr, tty), 0u), "db != NULL");
  EXPECT_ASSERTS(tty_db_unlock(speaker, nullptr), "db != NULL");
}

TEST_F(Assertions, ReportAMissingWriteLockAndTheWorkIsDone) {
  EXPECT_ASSERTS(tty_db_block_resize_internal(db, block, 0, 11),
                 "pthread_rwlock_trywrlock(&db_h->rwlock) == EDEADLK");
  EXPECT_EQ(block->details.capacity, 11u);
}

TEST_F(Assertions, ReportABlockOfAnotherDatabaseAndLeaveItAlone) {
  Database other(0);
  tty_db_block_type *foreign = other.reserve(0, 0, 10);
  other.add(0, 7);
  lock();
  EXPECT_ASSERTS(tty_db_block_release_internal(db, foreign), "(*insertion_point) == block_h");
  EXPECT_ASSERTS(tty_db_block_resize_internal(db, foreign, 20, 1),
                 "*old_insertion_point == block_h");
  EXPECT_ASSERTS(tty_db_tty_deregister_internal(db, foreign, 7),
                 "tty_db_index_of(db_h, block->details.category).entry(tty_id) == tty");
  EXPECT_EQ(tty_db_block_check_no_registered_ttys(db, foreign, 7, 9), TTY_DB_ERR_TTYS_REGISTERED);
  unlock();
  EXPECT_EQ(other.lines(), (std::vector<Position>{{0, 7}}));
}

TEST_F(Assertions, ReportOverwrittenCountsWhichDoNotFallBelowZero) {
  tty_db_type *made = nullptr;
  ASSERT_EQ(tty_db_create(0, &made), 0u);
  ASSERT_EQ(tty_db_block_reserve(made, 0, 0, 10, nullptr, 0, &found), 0u);
  found->details.num_registered = 10;
  EXPECT_ASSERTS(tty_db_tty_register(made, 0, 5, sizeof(Entry), &tty),
                 "block->details.num_registered < block->details.capacity");
  found->details.num_registered = 0;
  made->num_ttys = 0;
  EXPECT_ASSERTS(tty_db_tty_deregister(made, 0, 5), "block->details.num_registered > 0",
                 "db_h->num_ttys > 0");
  EXPECT_EQ(found->details.num_registered, 0u);
  EXPECT_EQ(made->num_ttys, 0u);
  made->num_blocks = 0;
  EXPECT_ASSERTS(tty_db_block_release(made, found, 0), "db_h->num_blocks > 0");
  EXPECT_EQ(made->num_blocks, 0u);
  made->num_blocks = 1;
  made->num_ttys = 1;
  EXPECT_ASSERTS(tty_db_destroy(made), "db_h->num_ttys == 0", "db_h->num_blocks == 0");
}

TEST(Outputs, OfTheCountsAreOptional) {
  EXPECT_EQ(tty_db_get_details(Database(0), nullptr, nullptr), 0u);
}

TEST(Iterators, YieldTheLinesThatThereAreNow) {
  Database db(kAuto);
  db.add(0, 1);
  db.add(0, 3);
  Position line;
  tty_db_iterator_type *iterator = nullptr;
  ASSERT_EQ(tty_db_iterate_start(db, 0, 0, 5, 0, &iterator), 0u);
  EXPECT_EQ(tty_db_iterate_next(iterator, &line.first, &line.second), 0u);
  EXPECT_EQ(line, Position(0, 1));
  EXPECT_EQ(tty_db_tty_deregister(db, 0, 3), 0u);
  db.add(0, 2);
  EXPECT_EQ(tty_db_iterate_next(iterator, &line.first, &line.second), 0u);
  EXPECT_EQ(line, Position(0, 2));
  EXPECT_EQ(tty_db_iterate_next_internal(iterator, &line.first, &line.second), TTY_DB_ERR_NO_MORE);
  EXPECT_EQ(line, Position(TTY_CATEGORY_MAX, 0));
  EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
}

void expect_message(const tty_db_msg_rec_type &record, const tty_db_msg_limit_type &limit,
                    const char *mnemonic, unsigned severity, uint32_t id) {
  EXPECT_STREQ(record.mnemonic, mnemonic);
  EXPECT_EQ(record.severity, severity);
  EXPECT_EQ(record.id, id);
  EXPECT_EQ(record.version, 1u);
  EXPECT_EQ(record.limit, &limit);
  EXPECT_EQ(limit.words[0], 1u);
}

TEST(Messages, HaveTheirMnemonicsSeveritiesAndIds) {
  expect_message(kel_msg_rec_tty_db_panic, kel_msg_limit_tty_db_panic, "PANIC", 2, 0x04b00003);
  expect_message(kel_msg_rec_tty_db_lock_error, kel_msg_limit_tty_db_lock_error, "LOCK_ERROR", 3,
                 0x04b00002);
  expect_message(kel_msg_rec_tty_db_lock_busy, kel_msg_limit_tty_db_lock_busy, "LOCK_BUSY", 3,
                 0x04b00001);
  expect_message(kel_msg_rec_tty_db_kernel_error, kel_msg_limit_tty_db_kernel_error, "KERNEL_ERROR",
                 3, 0x04b00000);
}

}  // namespace
