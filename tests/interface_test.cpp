// What a caller may rely on where it gives bad arguments: results, outputs, and a line for each
// check.

#include <string.h>

#include <functional>

#include "support/database.h"

namespace {

// One call, the lines that it traces for its checks, each closed by a bar, and its result.
struct Rejection {
  std::function<uint32_t()> call;
  const char *lines;
  const char *result = "INVALID_ARG";
};

void expect_rejected(const Rejection &rejection) {
  SCOPED_TRACE(rejection.lines);
  host::clear();
  host::trace(true);
  const uint32_t rc = rejection.call();
  host::trace(false);
  std::string lines;
  for (const std::string &entry : host::log()) {
    if (entry.find(" . ") != std::string::npos) lines += entry.substr(entry.find(": ") + 2) + "|";
  }
  EXPECT_EQ(host::result_name(rc), rejection.result);
  EXPECT_EQ(lines, rejection.lines);
}

TEST(Interface, BadArgumentsAreRejectedEachWithItsLine) {
  Database db(kLock);
  Database automatic(kAuto);
  tty_db_block_type *live = db.reserve(0, 0, 10);
  tty_db_tty_type *entry = db.add(0, 5);
  Handles w;
#define CALL(...) [&] { return __VA_ARGS__; }
  const Rejection rejections[] = {
      {CALL(tty_db_create(4, &w.db)), "Invalid options argument|"},
      {CALL(tty_db_create(7, nullptr)), "Invalid options argument|NULL handle pointer argument|"},
      {CALL(tty_db_destroy(nullptr)), "NULL handle pointer argument|"},
      {CALL(tty_db_get_details(nullptr, &w.id, &w.id)), "NULL handle pointer argument|"},
      {CALL(tty_db_block_reserve(nullptr, 6, 0, 1, nullptr, 0, nullptr)),
       "NULL DB handle|NULL Block handle|Invalid category 6|"},
      {CALL(tty_db_block_reserve(db, 0, 0, 0, nullptr, 0, &w.block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(db, 0, 0xFFFFFFFF, 2, nullptr, 0, &w.block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 0, nullptr, 0, &w.block)),
       "Invalid first TTY / number of TTYs|"},
      {CALL(tty_db_block_reserve(automatic, 0, 0, 1, nullptr, 0, &w.block)),
       "DB has automatic block management|", "WRONG_MODE"},
      {CALL(tty_db_block_release(nullptr, nullptr, 2)),
       "NULL DB handle|NULL Block handle|Invalid block options 0x2|"},
      {CALL(tty_db_block_release(automatic, live, 0)), "DB has automatic block management|",
       "WRONG_MODE"},
      {CALL(tty_db_block_resize(nullptr, nullptr, 1, 10001, 3)),
       "NULL DB handle|NULL Block handle|Invalid first TTY / number of TTYs|Invalid block options "
       "0x3|"},
      {CALL(tty_db_block_resize(automatic, live, 0, 1, 0)), "DB has automatic block management|",
       "WRONG_MODE"},
      {CALL(tty_db_block_details_from_handle(nullptr, nullptr, nullptr)),
       "NULL DB handle|NULL Block handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_tty(nullptr, 6, 10001, nullptr)),
       "NULL DB handle|NULL Details pointer|Invalid category 6|Invalid first TTY|"},
      {CALL(tty_db_block_details_from_tag(nullptr, "x", nullptr)),
       "NULL DB handle|NULL Details pointer|"},
      {CALL(tty_db_block_details_from_tag(automatic, nullptr, &w.details)),
       "DB has automatic block management|", "WRONG_MODE"},
      {CALL(tty_db_tty_register(nullptr, 6, 10001, sizeof(tty_db_tty_type) - 1, nullptr)),
       "NULL DB handle|Invalid category 6|Invalid TTY Id 10001|Invalid entry size 55 (need "
       "56)|NULL TTY handle|"},
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
       "malloc(15) of item list structure failed|", "NO_MEMORY"},
      {CALL(tty_db_item_create(entry, 1, SIZE_MAX / 2 - 100, &w.item)),
       "malloc(9223372036854775723) of item list structure failed|", "NO_MEMORY"},
      {CALL(tty_db_iterate_start(nullptr, 6, 10001, 7, 10002, nullptr)),
       "NULL DB handle|Invalid start category 6|Invalid start Id 10001|Invalid end category "
       "7|Invalid end Id 10002|NULL iterator handle output variable|"},
      {CALL(tty_db_iterate_next(nullptr, nullptr, nullptr)),
       "NULL Iterator handle|NULL category output argument|NULL TTY ID output argument|"},
      {CALL(tty_db_iterate_end(nullptr)), "NULL iterator argument|"},
  };
  for (const Rejection &rejection : rejections) expect_rejected(rejection);

  // Outputs afterwards: set to their failure values, or untouched.
  memset(static_cast<void *>(&w), 0xff, sizeof(w));
  const Handles untouched = w;
  tty_db_create(4, &w.db);
  tty_db_block_reserve(db, 6, 0, 1, nullptr, 0, &w.block);
  tty_db_block_details_from_tty(db, 6, 0, &w.details);
  tty_db_tty_register(db, 0, 1, 0, &w.tty);
  tty_db_item_create(entry, 1, 0, &w.item);
  tty_db_iterate_next(nullptr, &w.category, &w.id);
  Handles expected = {};
  expected.category = TTY_CATEGORY_MAX;
  expected.other_block = untouched.other_block;
  expected.iterator = untouched.iterator;
  tty_db_iterate_start(db, 6, 0, 0, 0, &w.iterator);
  EXPECT_EQ(memcmp(&w, &expected, sizeof(w)), 0);
  w.tty = untouched.tty;
  tty_db_tty_retrieve(db, 0, 10001, &w.tty);
  EXPECT_EQ(w.tty, untouched.tty);
  w.id = untouched.id;
  tty_db_get_details(nullptr, &w.id, &w.category);
  EXPECT_EQ(w.id, untouched.id);
  EXPECT_EQ(db.counts(), std::make_pair(1u, 1u));
}

}  // namespace
