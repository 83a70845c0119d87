// Creation and destruction of a database.
//
// Destruction calls src/block, a layer above.

#include <stdlib.h>
#include <string.h>

#include "db/lock.h"

namespace {

constexpr tty_db_trace_category kTrace = TTY_DB_TRACE_GLOBAL;

// Allocates a record with an empty index.  Returns NULL on failure.
tty_db_type *allocate_record() TTY_DB_UNCHECKED {
  auto *db = static_cast<tty_db_type *>(calloc(1, sizeof(tty_db_type)));
  if (db == nullptr) return nullptr;
  db->index = tty_db_map_index();
  if (db->index != nullptr) return db;
  free(db);
  return nullptr;
}

// Allocates a database and creates its lock.  On failure `*db` is NULL or has no lock; the caller
// passes it to tty_db_cleanup.  Returns 0, TTY_DB_ERR_NO_MEMORY or TTY_DB_ERR_LOCK_INIT.
uint32_t make_database(tty_db_speaker op, uint32_t options, tty_db_type **db) {
  TTY_DB_SAY("Allocating DB's global structure");
  tty_db_type *made = allocate_record();
  *db = made;
  if (made == nullptr) {
    TTY_DB_SAY("malloc(%d) of Database structure failed", sizeof(tty_db_type));
    return TTY_DB_ERR_NO_MEMORY;
  }
  TTY_DB_SAY("DB handle %X allocated", made);
  made->options = options;
  TTY_DB_SAY("DB handle = %X; initializing RW lock.", made);
  const int error = pthread_rwlock_init(&made->rwlock, nullptr);
  if (error != 0) {
    tty_db_report_kernel_error(op, "Initialize RW lock", error);
    return TTY_DB_ERR_LOCK_INIT;
  }
  return 0;
}

// Releases all blocks.
void release_blocks(tty_db_speaker op, tty_db_type *db_h) TTY_DB_REQUIRES_WRITE(db_h) {
  for (uint32_t category = TTY_CATEGORY_MIN; category <= TTY_CATEGORY_MAX; ++category) {
    TTY_DB_SAY("Looking at category %lu", category);
    tty_db_block_type *const *head = &db_h->block_lists[category];
    while (tty_db_block_type *block = *head) {
      TTY_DB_SAY("Destroying block %X", block);
      tty_db_block_release_internal(db_h, block);
      if (*head == block) break;  // not released: an assertion has reported why
    }
  }
}

// Frees a database record, or nothing for NULL, and destroys its lock if there is one.  REQUIRES:
// no other thread uses the record; no lock is held.
void tty_db_cleanup(tty_db_type *db_h, bool rwlock_initialized) TTY_DB_UNCHECKED {
  const tty_db_speaker op(kTrace);
  TTY_DB_ENTER("DB=%X: rwlock_initialized=%d", db_h, rwlock_initialized);
  if (rwlock_initialized) {
    TTY_DB_SAY("Destroying RW lock");
    if (TTY_DB_ASSERT(db_h != NULL)) {
      const int error = pthread_rwlock_destroy(&db_h->rwlock);
      if (error != 0) tty_db_trace_failed_call(op, "pthread_rwlock_destroy", error);
    }
  }
  if (db_h != nullptr) {
    TTY_DB_SAY("Freeing global structure");
    TTY_DB_ASSERT(db_h->num_ttys == 0);
    TTY_DB_ASSERT(db_h->num_blocks == 0);
    tty_db_unmap_index(db_h->index);
    explicit_bzero(db_h, sizeof(*db_h));
    free(db_h);
  }
  op.exit();
}

}  // namespace

uint32_t tty_db_create(uint32_t options, tty_db_type **db_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("options=0x%X, db_h=0x%X", options, db_h);
  TTY_DB_REQUIRE((options & ~TTY_DB_OPT_ALL) == 0, "Invalid options argument");
  TTY_DB_REQUIRE(db_h != nullptr, "NULL handle pointer argument");
  tty_db_type *db = nullptr;
  if (op.ok()) op.rc = make_database(op, options, &db);
  if (!op.ok()) {
    tty_db_cleanup(db, false);
    db = nullptr;
  }
  if (db_h != nullptr) *db_h = db;
  return op.exit();
}

uint32_t tty_db_destroy(tty_db_type *db_h) {
  tty_db_operation op(kTrace);
  TTY_DB_ENTER("db_h=%X", db_h);
  TTY_DB_REQUIRE(db_h != nullptr, "NULL handle pointer argument");
  if (const tty_db_lock lock{op, db_h, TTY_DB_WRITE}) release_blocks(op, db_h);
  if (op.ok()) tty_db_cleanup(db_h, true);
  return op.exit();
}
