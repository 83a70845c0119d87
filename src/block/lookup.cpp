// Lookups in the block lists.  None takes a lock, allocates or changes anything.

#include "block/lookup.h"

#include <string.h>

#include "block/index.h"
#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_BLOCK;

}  // namespace

uint32_t tty_db_block_find_insertion_point(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                           tty_db_block_type ***insertion_point) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, insertion_point=%X", db_h, category, tty_id,
               insertion_point);
  TTY_DB_NEED(db_h != NULL);
  TTY_DB_NEED(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  TTY_DB_ASSERT(tty_id <= TTY_PORT_MAX);
  TTY_DB_NEED(insertion_point != NULL);
  if (insertion_point != nullptr) {
    *insertion_point = op.ok() ? tty_db_index_find_link(db_h, category, tty_id) : nullptr;
  }
  return op.exit();
}

uint32_t tty_db_block_check_for_overlap(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                        uint32_t num_ttys, const tty_db_block_type *resize_block) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, first=%lu, num=%lu, block=%X", db_h, category, first_tty,
               num_ttys, resize_block);
  TTY_DB_NEED(db_h != NULL);
  TTY_DB_NEED(category >= TTY_CATEGORY_MIN && category <= TTY_CATEGORY_MAX);
  if (op.ok()) {
    // Checks the first block that ends after the start of the range.  Earlier blocks end before the
    // range; later ones overlap only if this one does.
    const tty_db_block_type *block = *tty_db_index_find_link(db_h, category, first_tty);
    if (block == resize_block && block != nullptr) block = block->next_block;
    if (block != nullptr && block->details.first_tty < first_tty + num_ttys) {
      TTY_DB_SAY("Overlap block %X found (first=%lu, size=%lu)", block, block->details.first_tty,
                 block->details.capacity);
      op.rc = TTY_DB_ERR_OVERLAP;
    }
  }
  return op.exit();
}

uint32_t tty_db_block_find_lowest_block(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        tty_db_block_type **block) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, block=%X", db_h, category, tty_id, block);
  tty_db_trust_locked(db_h);
  TTY_DB_NEED(block != NULL);
  if (op.ok()) {
    tty_db_block_type **insertion_point = nullptr;
    op.rc = tty_db_block_find_insertion_point(db_h, category, tty_id, &insertion_point);
    *block = op.ok() ? *insertion_point : nullptr;
    if (*block != nullptr) {
      TTY_DB_ASSERT((*block)->details.category == category);
      TTY_DB_ASSERT(tty_id < (*block)->details.first_tty + (*block)->details.capacity);
    } else if (op.ok()) {
      TTY_DB_SAY("Can't find block");
      op.rc = TTY_DB_ERR_NO_BLOCK;
    }
  }
  return op.exit();
}

namespace {

// Finds the block that contains an id, with tracing and assertions.
[[gnu::cold, gnu::noinline]] uint32_t walk_to_block(const char *routine, tty_db_type *db_h,
                                                    uint32_t category, uint32_t tty_id,
                                                    tty_db_block_type **block)
    TTY_DB_REQUIRES_READ(db_h) {
  tty_db_operation op(kTrace, routine);
  TTY_DB_ENTER("DB=%X: category=%lu, tty_id=%lu, block=%X", db_h, category, tty_id, block);
  TTY_DB_NEED(block != NULL);
  if (op.ok()) op.rc = tty_db_block_find_lowest_block(db_h, category, tty_id, block);
  if (op.ok()) {
    TTY_DB_ASSERT(*block != NULL);
    TTY_DB_ASSERT((*block)->details.category == category);
    if (tty_id < (*block)->details.first_tty) {
      TTY_DB_SAY("Block is greater than TTY we're looking for");
      *block = nullptr;
      op.rc = TTY_DB_ERR_NO_BLOCK;
    }
  }
  return op.exit();
}

// Finds in the index the block that contains an id.  Returns false, with the output unchanged, if
// there is none or an argument is invalid.
bool look_up_block(const tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                   tty_db_block_type **block) TTY_DB_REQUIRES_READ(db_h) {
  if (db_h == nullptr || category > TTY_CATEGORY_MAX || block == nullptr) return false;
  tty_db_block_type *found = tty_db_index_find_block(db_h, category, tty_id);
  if (found != nullptr) *block = found;
  return found != nullptr;
}

}  // namespace

uint32_t tty_db_block_find_block_from_tty_id(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                             tty_db_block_type **block) {
  tty_db_trust_locked(db_h);
  if (!tty_db_tracing() && look_up_block(db_h, category, tty_id, block)) return 0;
  return walk_to_block(__func__, db_h, category, tty_id, block);
}

namespace {

bool same_tag(const char *one, const char *other) {
  if (one == nullptr || other == nullptr) return one == other;
  return strcmp(one, other) == 0;
}

// Returns the first block with a tag, or NULL.
tty_db_block_type *first_block_with_tag(tty_db_speaker op, const tty_db_type *db_h,
                                        const char *tag_name) TTY_DB_REQUIRES_READ(db_h) {
  for (uint32_t category = TTY_CATEGORY_MIN; category <= TTY_CATEGORY_MAX; ++category) {
    TTY_DB_SAY("Considering category %lu", category);
    tty_db_block_type *block = db_h->block_lists[category];
    for (; block != nullptr; block = block->next_block) {
      const char *tag = block->details.tag_name;
      TTY_DB_SAY("Looking at block %X with tag: %s", block, tty_db_trace_string(tag));
      if (!same_tag(tag, tag_name)) continue;
      TTY_DB_SAY("Match found");
      return block;
    }
  }
  return nullptr;
}

}  // namespace

uint32_t tty_db_block_find_block_from_tag(tty_db_type *db_h, const char *tag_name,
                                          tty_db_block_type **block) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("DB=%X: tag=%s, block=%X", db_h, tty_db_trace_string(tag_name), block);
  tty_db_trust_locked(db_h);
  TTY_DB_NEED(db_h != NULL);
  TTY_DB_NEED(block != NULL);
  if (block != nullptr) {
    *block = op.ok() ? first_block_with_tag(op, db_h, tag_name) : nullptr;
    if (op.ok() && *block == nullptr) op.rc = TTY_DB_ERR_NO_BLOCK;
  }
  return op.exit();
}
