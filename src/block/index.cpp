// Changes to the block lists and the index.

#include "block/index.h"

void tty_db_index_link(tty_db_type *db, tty_db_block_type **link, tty_db_block_type *block) {
  block->next_block = *link;
  *link = block;
  tty_db_category_index &index = tty_db_index_of(db, block->details.category);
  index.block(block->details.first_tty) = block;
  index.firsts.insert(block->details.first_tty);
}

void tty_db_index_unlink(tty_db_type *db, tty_db_block_type **link) {
  tty_db_block_type *block = *link;
  *link = block->next_block;
  block->next_block = nullptr;
  tty_db_category_index &index = tty_db_index_of(db, block->details.category);
  index.block(block->details.first_tty) = nullptr;
  index.firsts.erase(block->details.first_tty);
}

namespace {

// Traces the counts after a change, with the source line of the caller.
void say_counts(tty_db_speaker op, const tty_db_type *db, const tty_db_block_type *block, int line)
    TTY_DB_REQUIRES_WRITE(db) {
  TTY_DB_SAY_AT(line, "Block now has %lu TTYs and DB has %lu TTYs", block->details.num_registered,
                db->num_ttys);
}

}  // namespace

void tty_db_index_put_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                           uint32_t tty_id, tty_db_tty_type *tty, int line) {
  tty_db_set_entry_in_block(op, block, tty_id, tty);
  tty_db_category_index &index = tty_db_index_of(db, block->details.category);
  index.entry(tty_id) = tty;
  index.registered.insert(tty_id);
  ++block->details.num_registered;
  ++db->num_ttys;
  say_counts(op, db, block, line);
}

void tty_db_index_take_line(tty_db_speaker op, tty_db_type *db, tty_db_block_type *block,
                            uint32_t tty_id, int line) {
  tty_db_set_entry_in_block(op, block, tty_id, nullptr);
  tty_db_category_index &index = tty_db_index_of(db, block->details.category);
  index.entry(tty_id) = nullptr;
  index.registered.erase(tty_id);
  if (tty_db_assert(op, block->details.num_registered > 0, "block->details.num_registered > 0",
                    line)) {
    --block->details.num_registered;
  }
  if (tty_db_assert(op, db->num_ttys > 0, "db_h->num_ttys > 0", line)) --db->num_ttys;
  say_counts(op, db, block, line);
}
