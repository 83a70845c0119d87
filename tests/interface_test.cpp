// What a caller may rely on: results, outputs and counts of the operations, one table a subject.

#include <string.h>

#include <algorithm>
#include <functional>

#include "support/database.h"

namespace {

using host::result_name;
using Lines = std::vector<std::pair<uint32_t, uint32_t>>;
using Counts = std::pair<uint32_t, uint32_t>;

template <typename T>
T *marker() {
  static char byte;
  return reinterpret_cast<T *>(&byte);
}

// One call: what it returns, what it says of its arguments, and what an output holds afterwards.
struct Rejection {
  std::function<uint32_t()> call;
  const char *lines;  // the lines that it traces for its checks, each closed by a bar
  const char *result = "INVALID_ARG";
};

void expect_rejected(const std::vector<Rejection> &cases) {
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    host::clear();
    host::trace(true);
    const uint32_t rc = cases[i].call();
    host::trace(false);
    std::string lines;
    for (const std::string &entry : host::log()) {
      const size_t text = entry.find(" . ");
      if (text != std::string::npos) lines += entry.substr(entry.find(": ") + 2) + "|";
    }
    EXPECT_EQ(result_name(rc), cases[i].result);
    EXPECT_EQ(lines, cases[i].lines);
  }
}

TEST(Interface, BadArgumentsAreRejectedEachWithItsLine) {
  Database db(kLock);
  Database automatic(kAuto);
  tty_db_type *made = marker<tty_db_type>();
  tty_db_block_type *block = nullptr;
  tty_db_block_details_type details;
  tty_db_tty_type *tty = marker<tty_db_tty_type>();
  tty_db_tty_type *no_tty = nullptr;
  tty_db_iterator_type *iterator = nullptr;
  void *item = nullptr;
  uint32_t category = 1;
  uint32_t id = 1;
  tty_db_block_type *live = db.reserve(0, 0, 10);
  tty_db_tty_type *entry = db.add(0, 5);
#define CALL(...) [&] { return __VA_ARGS__; }
  expect_rejected({
      {CALL(tty_db_create(4, &made)), "Invalid options argument|"},
      {CALL(tty_db_create(0, nullptr)), "NULL handle pointer argument|"},
      {CALL(tty_db_create(7, nullptr)), "Invalid options argument|NULL handle pointer argument|"},
      {CALL(tty_db_destroy(nullptr)), "NULL handle pointer argument|"},
      {CALL(tty_db_get_details(nullptr, &id, &id)), "NULL handle pointer argument|"},
      {CALL(tty_db_block_reserve(nullptr, 6, 0, 1, nullptr, 0, nullptr)),
       "NULL DB handle|NULL Block handle|Invalid category 6|"},
      {CALL(tty_db_block_reserve(db, 0, 0, 0, nullptr, 0, &block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(db, 0, 1, 10001, nullptr, 0, &block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(db, 0, 0xFFFFFFFF, 2, nullptr, 0, &block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 0, nullptr, 0, &block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 1, nullptr, 0, &block)),
       "DB has automatic block management|", "WRONG_MODE"},
      {CALL(tty_db_block_release(nullptr, nullptr, 2)),
       "NULL DB handle|NULL Block handle|Invalid block options 0x2|"},
      {CALL(tty_db_block_release(automatic, live, 0)), "DB has automatic block management|",
       "WRONG_MODE"},
      {CALL(tty_db_block_resize(nullptr, nullptr, 1, 10001, 3)),
       "NULL DB handle|NULL Block handle|Invalid first TTY / number of TTYs|Invalid block options "
       "0x3|"},
      {CALL(tty_db_block_resize(db, live, 10001, 0, 0)), "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_resize(automatic, live, 0, 1, 0)), "DB has automatic block management|",
       "WRONG_MODE"},
      {CALL(tty_db_block_details_from_handle(nullptr, nullptr, nullptr)),
       "NULL DB handle|NULL Block handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_tty(nullptr, 6, 10001, nullptr)),
       "NULL DB handle|NULL Details pointer|Invalid category 6|Invalid first TTY|"},
      {CALL(tty_db_block_details_from_tag(nullptr, "x", nullptr)),
       "NULL DB handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_tag(automatic, nullptr, &details)),
       "DB has automatic block management|", "WRONG_MODE"},
      {CALL(tty_db_tty_register(nullptr, 6, 10001, sizeof(tty_db_tty_type) - 1, nullptr)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|Invalid entry size 55 (need "
       "56)|NULL TTY handle|"},
      {CALL(tty_db_tty_deregister(nullptr, 6, 10001)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|"},
      {CALL(tty_db_tty_retrieve(nullptr, 6, 10001, nullptr)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|NULL TTY output variable|"},
      {CALL(tty_db_tty_retrieve(db, 0, 10001, &tty)), "Invalid TTY Id 10001|"},
      {CALL(tty_db_tty_unlock(nullptr, nullptr)), "NULL DB handle|NULL TTY entry structure|"},
      {CALL(tty_db_item_create(nullptr, 1, 0, nullptr)),
       "NULL TTY entry pointer|0 size is illegal|NULL item output pointer|"},
      {CALL(tty_db_item_get(nullptr, 1, nullptr)),
       "NULL TTY entry pointer|NULL item output pointer|"},
      {CALL(tty_db_item_get(entry, 1, nullptr)), "NULL item output pointer|"},
      {CALL(tty_db_item_destroy(nullptr, 1)), "NULL TTY entry pointer|"},
      {CALL(tty_db_iterate_start(nullptr, 6, 10001, 7, 10002, nullptr)),
       "NULL DB handle|Invalid start category 6|Invalid start Id 10001|Invalid end category "
       "7|Invalid end Id 10002|NULL iterator handle output variable|"},
      {CALL(tty_db_iterate_next(nullptr, nullptr, nullptr)),
       "NULL Iterator handle|NULL category output argument|NULL TTY ID output argument|"},
      {CALL(tty_db_iterate_end(nullptr)), "NULL iterator argument|"},
  });

  // Outputs after a rejection: set to their failure values, or untouched.
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(tty, marker<tty_db_tty_type>());
  memset(&details, 0xff, sizeof(details));
  EXPECT_EQ(tty_db_block_details_from_tty(db, 6, 0, &details), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(details.block_h, nullptr);
  EXPECT_EQ(details.category, 0u);
  block = marker<tty_db_block_type>();
  EXPECT_EQ(tty_db_block_reserve(db, 6, 0, 1, nullptr, 0, &block), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(tty_db_tty_register(db, 0, 1, 0, &tty), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(tty, no_tty);
  item = &db;
  EXPECT_EQ(tty_db_item_create(entry, 1, 0, &item), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(item, nullptr);
  iterator = marker<tty_db_iterator_type>();
  EXPECT_EQ(tty_db_iterate_start(db, 6, 0, 0, 0, &iterator), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(iterator, marker<tty_db_iterator_type>());
  EXPECT_EQ(tty_db_iterate_next(nullptr, &category, &id), TTY_DB_ERR_INVALID_ARG);
  EXPECT_EQ(Counts(category, id), Counts(5, 0));
  EXPECT_EQ(db.counts(), Counts(1, 1));
}

TEST(Interface, DetailsByLineAndTag) {
  Database db(0);
  db.reserve(4, 0, 5, "same", 40);
  db.reserve(1, 100, 5, "same", 12);
  db.reserve(1, 50, 10, "same", 11);
  db.reserve(1, 70, 10, "", 13);
  db.reserve(2, 0, 1, nullptr, 20);
  tty_db_block_details_type d;
  struct {
    uint32_t category, id;
    const char *result;
    uintptr_t ctx;
  } const by_line[] = {{1, 50, "OK", 11},      {1, 59, "OK", 11},  {1, 60, "NO_BLOCK", 0},
                       {1, 49, "NO_BLOCK", 0}, {1, 104, "OK", 12}, {1, 105, "NO_BLOCK", 0},
                       {0, 0, "NO_BLOCK", 0},  {4, 4, "OK", 40}};
  for (const auto &c : by_line) {
    EXPECT_EQ(result_name(tty_db_block_details_from_tty(db, c.category, c.id, &d)), c.result)
        << c.id;
    EXPECT_EQ(d.ctx, c.ctx);
    EXPECT_EQ(d.block_h != nullptr, c.ctx != 0);
  }
  struct {
    const char *tag;
    const char *result;
    uintptr_t ctx;
  } const by_tag[] = {
      {"same", "OK", 11}, {"", "OK", 13}, {nullptr, "OK", 20}, {"Same", "NO_BLOCK", 0}};
  for (const auto &c : by_tag) {
    EXPECT_EQ(result_name(tty_db_block_details_from_tag(db, c.tag, &d)), c.result);
    EXPECT_EQ(d.ctx, c.ctx);
  }
  // The library copies the caller's tag once, and hands out that copy.
  char own_tag[] = "mine";
  tty_db_block_type *block = db.reserve(0, 0, 1, own_tag);
  own_tag[0] = 'M';
  tty_db_block_details_type first;
  EXPECT_EQ(tty_db_block_details_from_tag(db, "mine", &first), 0u);
  EXPECT_EQ(tty_db_block_details_from_handle(db, block, &d), 0u);
  EXPECT_EQ(first.tag_name, d.tag_name);
}

TEST(Interface, RetrievalAndItsOutput) {
  Database db(kLock);
  db.reserve(3, 100, 10);
  db.reserve(3, 200, 10);
  tty_db_tty_type *entry = db.add(3, 105);
  struct {
    uint32_t category, id;
    const char *result;
    tty_db_tty_type *tty;
  } const cases[] = {{3, 150, "NOT_REGISTERED", marker<tty_db_tty_type>()},
                     {3, 99, "NOT_REGISTERED", marker<tty_db_tty_type>()},
                     {3, 110, "NOT_REGISTERED", marker<tty_db_tty_type>()},
                     {3, 210, "NOT_REGISTERED", marker<tty_db_tty_type>()},
                     {0, 0, "NOT_REGISTERED", marker<tty_db_tty_type>()},
                     {3, 106, "NOT_REGISTERED", nullptr},
                     {3, 200, "NOT_REGISTERED", nullptr},
                     {3, 105, "OK", entry},
                     {3, 105, "LOCK_FAILED", entry}};  // held by this thread now
  for (const auto &c : cases) {
    host::clear();
    tty_db_tty_type *tty = marker<tty_db_tty_type>();
    EXPECT_EQ(result_name(tty_db_tty_retrieve(db, c.category, c.id, &tty)), c.result) << c.id;
    EXPECT_EQ(tty, c.tty) << c.id;
  }
  EXPECT_EQ(host::log_text(),
            "wait tty_db_lock_tty\nwait over\n"
            "message KERNEL_ERROR 3 Kernel operation failed unexpectedly: Obtain TTY lock (35)\n");
  EXPECT_TRUE(pthread_equal(entry->lock_owner, pthread_self()));
  EXPECT_EQ(tty_db_tty_unlock(db, entry), 0u);
  EXPECT_EQ(entry->lock_owner, 0xFFFFFFFFu);
  // The read lock was given back each time: a writer gets it.
  EXPECT_EQ(tty_db_tty_deregister(db, 3, 105), 0u);
}

TEST(Interface, WithoutEntryLockingNothingIsHeld) {
  Database db(kAuto);
  tty_db_tty_type *entry = db.add(0, 1);
  tty_db_tty_type *tty = nullptr;
  const long locks = host::calls("pthread_mutex_trylock") + host::calls("pthread_mutex_lock");
  EXPECT_EQ(tty_db_tty_retrieve(db, 0, 1, &tty), 0u);
  EXPECT_EQ(tty_db_tty_retrieve(db, 0, 1, &tty), 0u);
  EXPECT_EQ(tty_db_tty_unlock(db, tty), 0u);
  EXPECT_EQ(host::calls("pthread_mutex_trylock") + host::calls("pthread_mutex_lock"), locks);
  EXPECT_TRUE(pthread_equal(entry->lock_owner, pthread_self()));
}

TEST(Interface, AThreadDeregistersAnEntryThatItHolds) {
  host::clear();
  Database db(kLock | kAuto);
  tty_db_tty_type *tty = db.add(0, 1, true);
  void *item = nullptr;
  EXPECT_EQ(tty_db_item_create(tty, 1, 8, &item), 0u);
  EXPECT_EQ(tty_db_tty_deregister(db, 0, 1), 0u);
  EXPECT_EQ(db.counts(), Counts(0, 0));
  EXPECT_EQ(host::log_text().find("assert"), std::string::npos);
  db.add(0, 2, true);  // destroyed away below
}

TEST(Interface, ItemsOfAnyKeyAreZeroFilledAndAligned) {
  Database db(kAuto);
  tty_db_tty_type *tty = db.add(0, 0);
  void *data = nullptr;
  for (const uint32_t key : {0u, 0xFFFFFFFFu}) {
    EXPECT_EQ(tty_db_item_create(tty, key, 1, &data), 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % alignof(max_align_t), 0u);
    EXPECT_EQ(*static_cast<char *>(data), 0);
    EXPECT_EQ(tty_db_item_destroy(tty, key), 0u);
    EXPECT_GE(host::zeros_at_last_free(), sizeof(void *) + sizeof(uint32_t));
  }
  for (const size_t size : {SIZE_MAX, SIZE_MAX / 2 - 100}) {
    EXPECT_EQ(tty_db_item_create(tty, 2, size, &data), TTY_DB_ERR_NO_MEMORY);
    EXPECT_EQ(data, nullptr);
  }
}

TEST(Interface, IteratorsSeeTheDatabaseAsItIsAtEachAdvance) {
  Database db(0);
  tty_db_block_type *block = db.reserve(0, 0, 20);
  for (const uint32_t id : {1, 5, 9}) db.add(0, id);
  tty_db_iterator_type *iterator = nullptr;
  ASSERT_EQ(tty_db_iterate_start(db, 0, 0, 5, 10000, &iterator), 0u);
  uint32_t category = 9;
  uint32_t id = 9;
  const auto next = [&] {
    const uint32_t rc = tty_db_iterate_next(iterator, &category, &id);
    return rc == 0 ? static_cast<int>(category * 100000 + id) : -1;
  };
  EXPECT_EQ(next(), 1);
  db.add(0, 0);                                    // behind the position: not seen
  EXPECT_EQ(tty_db_tty_deregister(db, 0, 5), 0u);  // ahead: gone
  db.add(0, 2);                                    // ahead: seen
  EXPECT_EQ(next(), 2);
  EXPECT_EQ(tty_db_block_resize(db, block, 9, 100, 0), 0u);  // found by its new range
  EXPECT_EQ(next(), 9);
  db.reserve(3, 0, 1);
  db.add(3, 0);
  EXPECT_EQ(tty_db_block_release(db, block, 0), 0u);
  EXPECT_EQ(next(), 300000);
  EXPECT_EQ(next(), -1);
  db.reserve(5, 0, 1);
  db.add(5, 0);
  EXPECT_EQ(next(), -1);  // exhausted for good
  EXPECT_EQ(tty_db_iterate_end(iterator), 0u);
  EXPECT_GE(host::zeros_at_last_free(), 24u);
}

}  // namespace
