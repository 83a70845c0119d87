/**
 * @file
 * A registry of terminal lines (TTYs) that lives in the memory of one process.
 *
 * A process creates any number of databases.  A database holds lines by category (0 to 5) and id (0
 * to 10000).  The ids of a category are grouped into blocks: contiguous ranges that never overlap,
 * either reserved, resized and released by the caller (manual block management, the default) or
 * made and freed by the library as lines come and go, ten ids at a time (TTY_DB_OPT_AUTO_BLOCKS).
 *
 * Every registered line has an entry of a size that the caller chooses.  The entry begins with
 * tty_db_tty_type; the rest belongs to the caller, who also hangs keyed items on it.  An iterator
 * walks the registered lines in order of category, then id.
 *
 * @par Results
 * Every operation that can fail returns a result code: 0 is success and the only success.  A failed
 * operation changes nothing but the outputs that its description names.  Unless that says
 * otherwise, an argument check that fails gives TTY_DB_ERR_INVALID_ARG, before any lock is touched.
 *
 * @par Threads
 * Any number of threads call any operation at once.  A database has one reader-writer lock: an
 * operation that reads waits for it as long as it takes; one that writes tries ten times, 20 ms
 * apart, then gives up with TTY_DB_ERR_LOCK_FAILED.  An entry has a mutex of its own, which
 * registration and retrieval take for the caller (TTY_DB_OPT_LOCK_ENTRIES) and tty_db_tty_unlock()
 * gives back.
 *
 * @par Waits for the holder of an entry
 * A retrieval waits for the thread that holds the entry, and keeps the read lock meanwhile.  Until
 * it has the entry, every operation that writes fails, one of the holder's too.  So hold an entry
 * for a short time, and call a writer again that failed.
 * Deregistering a line waits for the thread that holds its entry, and keeps the write lock
 * meanwhile: every other operation on the database waits too, or fails to get the lock.  So while
 * it holds an entry, a thread must not call an operation that takes the database lock, unless no
 * other thread can be deregistering that line.
 *
 * @par Threads that end
 * An entry stays held when its holder ends without giving it back: from then on whoever asks for
 * it, or deregisters its line, waits for ever.  No operation is a cancellation point, so that a
 * thread may be cancelled (deferred cancellation) around any call.  While it holds an entry it
 * needs a clean-up handler that gives the entry back.
 *
 * @par fork
 * A child may create and use databases of its own.  Of a database that it has inherited it may use
 * nothing, unless at the fork no other thread was inside it and no thread held an entry of it.
 *
 * @par Fatal errors
 * A lock that cannot be released ends the process, after a system message.
 */
#ifndef TTY_DB_H
#define TTY_DB_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define TTY_DB_API __attribute__((visibility("default")))
#else
#define TTY_DB_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup bounds Bounds
 * Of categories and ids, both inclusive.
 * @{
 */
#define TTY_CATEGORY_MIN 0u /**< the lowest category */
#define TTY_CATEGORY_MAX 5u /**< the highest category */
#define TTY_PORT_MAX 10000u /**< the highest id; the lowest is 0 */
/** Number of ids in a block that the library makes by itself; the block of id 10000 holds that id
 * alone. */
#define TTY_DB_AUTO_BLOCK_SIZE 10u
/**@}*/

/**
 * @defgroup options Options
 * Those of tty_db_create(), then that of tty_db_block_release() and tty_db_block_resize().
 * @{
 */
#define TTY_DB_OPT_LOCK_ENTRIES 0x1u /**< registration and retrieval hand entries over locked */
#define TTY_DB_OPT_AUTO_BLOCKS 0x2u  /**< the library makes and frees blocks by itself */
#define TTY_DB_OPT_ALL 0x3u          /**< both of them */
#define TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG 0x1u /**< refuse rather than deregister lines */
/**@}*/

/**
 * @defgroup results Result codes
 * 0 is success, and the only success.
 * @{
 */
#define TTY_DB_ERR_NO_MEMORY 0xc2580200u       /**< an allocation failed */
#define TTY_DB_ERR_INVALID_ARG 0xa2580400u     /**< a NULL pointer, or a value out of range */
#define TTY_DB_ERR_WRONG_MODE 0xa2580600u      /**< the database manages its blocks by itself */
#define TTY_DB_ERR_LOCK_FAILED 0xa2580800u     /**< a lock could not be obtained */
#define TTY_DB_ERR_LOCK_INIT 0xa2580a00u       /**< a lock could not be created */
#define TTY_DB_ERR_NO_BLOCK 0xa2580c00u        /**< no block holds the id, or carries the tag */
#define TTY_DB_ERR_OVERLAP 0xa2580e00u         /**< the range overlaps a block of its category */
#define TTY_DB_ERR_ITEM_EXISTS 0xa2581000u     /**< the entry has an item with this key */
#define TTY_DB_ERR_TTY_EXISTS 0xa2581200u      /**< the line is registered already */
#define TTY_DB_ERR_NO_MORE 0xa2581400u         /**< the iterator has no further line */
#define TTY_DB_ERR_NO_ITEM 0xa2581600u         /**< the entry has no item with this key */
#define TTY_DB_ERR_NOT_REGISTERED 0x42581800u  /**< no line is registered under the id */
#define TTY_DB_ERR_TTYS_REGISTERED 0xa2581a00u /**< the ids to be given up have lines */
/**@}*/

/**
 * @defgroup types Types
 * @{
 */
typedef struct tty_db_type tty_db_type;                   /**< a database */
typedef struct tty_db_block_type tty_db_block_type;       /**< a block */
typedef struct tty_db_iterator_type tty_db_iterator_type; /**< an iterator */
typedef struct tty_db_item_type tty_db_item_type;         /**< the node of an item */

/**
 * The head of every entry.  Declare your own record with a tty_db_tty_type as its first member,
 * give the size of that record to tty_db_tty_register(), and cast the pointer that you get. Only
 * the library writes these fields.
 */
typedef struct tty_db_tty_type {
  pthread_mutex_t lock; /**< error-checking; use tty_db_tty_unlock() to release it */
  pthread_t lock_owner; /**< who obtained the entry last; 0xFFFFFFFF: nobody; diagnostic */
  tty_db_item_type *item_list_head; /**< most recently created item first */
} tty_db_tty_type;

/** What a block is, as the details queries report it. */
typedef struct tty_db_block_details_type {
  uint32_t category;    /**< the category that its ids are of */
  uint32_t first_tty;   /**< lowest id; the highest is first_tty + capacity - 1 */
  uint32_t capacity;    /**< number of ids, at least 1 */
  const char *tag_name; /**< the block's own copy of its tag, or NULL; lives as long as the block */
  uint32_t num_registered;    /**< number of registered lines in the block */
  uintptr_t ctx;              /**< the caller's value, given at reservation; never interpreted */
  tty_db_block_type *block_h; /**< the block's handle */
} tty_db_block_details_type;

/**@}*/

/**
 * @defgroup databases Databases
 * @{
 */

/**
 * Creates an empty database.
 * Takes no lock.  The caller owns the database and ends it with tty_db_destroy().
 * @param options any of TTY_DB_OPT_LOCK_ENTRIES and TTY_DB_OPT_AUTO_BLOCKS, or 0; fixed from here
 * on
 * @param[out] db_h the handle; NULL on every failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_NO_MEMORY or TTY_DB_ERR_LOCK_INIT.
 */
TTY_DB_API uint32_t tty_db_create(uint32_t options, tty_db_type **db_h);

/**
 * Destroys a database with all its blocks, lines and items, whatever its options.
 * Takes the write lock, and waits for the holder of each entry.  On success the handle and every
 * pointer obtained through it are dead, but for iterators, which can still be ended.  No other
 * thread may be using the database, or be about to.
 * @param db_h the database
 * @return 0, TTY_DB_ERR_INVALID_ARG, or TTY_DB_ERR_LOCK_FAILED: then the database is as it was.
 */
TTY_DB_API uint32_t tty_db_destroy(tty_db_type *db_h);

/**
 * Reports how many blocks and how many registered lines a database holds, over all categories.
 * Takes the read lock.
 * @param db_h the database
 * @param[out] num_blocks how many blocks; may be NULL; untouched on failure
 * @param[out] num_ttys how many registered lines; may be NULL; untouched on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_LOCK_FAILED.
 */
TTY_DB_API uint32_t tty_db_get_details(tty_db_type *db_h, uint32_t *num_blocks, uint32_t *num_ttys);

/**@}*/

/**
 * @defgroup blocks Blocks
 * For databases with manual block management: those without TTY_DB_OPT_AUTO_BLOCKS.
 * @{
 */

/**
 * Reserves num_ttys ids of a category, from first_tty on, as a block.
 * Takes the write lock.  The database owns the block; tty_db_block_release() or tty_db_destroy()
 * ends it.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param first_tty 0 to TTY_PORT_MAX
 * @param num_ttys at least 1; the last id is at most TTY_PORT_MAX
 * @param tag_name a string to find the block by, which is copied, or NULL; tags need not be unique
 * @param ctx any value, handed back in the block's details
 * @param[out] block_h the handle of the block; NULL on every failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED,
 *   TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_reserve(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                         uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                                         tty_db_block_type **block_h);

/**
 * Releases a block, and deregisters the lines that are registered in it.
 * Takes the write lock, and waits for the holder of each entry that it deregisters.
 * @param db_h the database
 * @param block_h a live block of this database; taken on trust, but for NULL
 * @param options 0, or TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG to be refused if the block has lines
 * @return 0: the handle is dead, if it is one of this database (of any other, 0 tells nothing);
 *   TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED or
 *   TTY_DB_ERR_TTYS_REGISTERED: the block is as it was.
 */
TTY_DB_API uint32_t tty_db_block_release(tty_db_type *db_h, tty_db_block_type *block_h,
                                         uint32_t options);

/**
 * Gives a block a new range of ids in its category: grows it, shrinks it at either end, or moves
 * it. Lines whose ids lie in both ranges stay registered, entries untouched; lines at other ids of
 * the old range are deregistered.  Handle, tag and ctx stay. Takes the write lock, and waits for
 * the holder of each entry that it deregisters.  Only a block that grows can fail for want of
 * memory.
 * @param db_h the database
 * @param block_h a live block of this database; taken on trust, but for NULL
 * @param first_tty 0 to TTY_PORT_MAX
 * @param num_ttys at least 1; the last id is at most TTY_PORT_MAX
 * @param options 0, or TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG to be refused if a line would be dropped
 * @return 0, or, with nothing changed, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE,
 *   TTY_DB_ERR_LOCK_FAILED, TTY_DB_ERR_TTYS_REGISTERED, TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_resize(tty_db_type *db_h, tty_db_block_type *block_h,
                                        uint32_t first_tty, uint32_t num_ttys, uint32_t options);

/**
 * Reports the details of a block, given by its handle (a live block of this database; taken on
 * trust, but for NULL).
 * The copy's tag_name is the block's own string: do not free it, nor use it after the block's end.
 * Takes the read lock.
 * @param db_h the database
 * @param block_h the block
 * @param[out] details a copy of the block's details as they are now; all zeros on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE or TTY_DB_ERR_LOCK_FAILED.
 */
TTY_DB_API uint32_t tty_db_block_details_from_handle(tty_db_type *db_h, tty_db_block_type *block_h,
                                                     tty_db_block_details_type *details);

/**
 * As tty_db_block_details_from_handle(), for the block that holds an id, registered or not.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] details a copy of the block's details as they are now; all zeros on failure
 * @return TTY_DB_ERR_NO_BLOCK too, where no block holds the id.
 */
TTY_DB_API uint32_t tty_db_block_details_from_tty(tty_db_type *db_h, uint32_t category,
                                                  uint32_t tty_id,
                                                  tty_db_block_details_type *details);

/**
 * As tty_db_block_details_from_handle(), for the first block, by category, then id, that carries a
 * tag.
 * @param db_h the database
 * @param tag_name compared byte for byte; NULL finds the first block without a tag
 * @param[out] details a copy of the block's details as they are now; all zeros on failure
 * @return TTY_DB_ERR_NO_BLOCK too, where no block carries the tag.
 */
TTY_DB_API uint32_t tty_db_block_details_from_tag(tty_db_type *db_h, const char *tag_name,
                                                  tty_db_block_details_type *details);

/**@}*/

/**
 * @defgroup lines Lines
 * @{
 */

/**
 * Registers a line and hands out its new entry.  The database must have a block that covers the id;
 * with TTY_DB_OPT_AUTO_BLOCKS the library makes one where there is none.
 * Takes the write lock.  With TTY_DB_OPT_LOCK_ENTRIES the calling thread holds the entry on return
 * and gives it back with tty_db_tty_unlock().  The database owns the entry, until it is
 * deregistered.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param entry_size size of the caller's record in bytes, at least sizeof(tty_db_tty_type)
 * @param[out] tty the entry, zero-filled behind its head; NULL on every failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_LOCK_FAILED, TTY_DB_ERR_NO_BLOCK (manual block
 *   management), TTY_DB_ERR_TTY_EXISTS, TTY_DB_ERR_NO_MEMORY, TTY_DB_ERR_LOCK_INIT, or
 *   TTY_DB_ERR_OVERLAP (a block that tty_db_block_reserve_internal() has put in the way).
 */
TTY_DB_API uint32_t tty_db_tty_register(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        size_t entry_size, tty_db_tty_type **tty);

/**
 * Deregisters a line: frees its items and its entry, and with TTY_DB_OPT_AUTO_BLOCKS the block that
 * it leaves empty.
 * Takes the write lock, and waits until the thread that holds the entry gives it back.  A thread
 * may deregister a line whose entry it holds itself: its hold ends with the entry.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_LOCK_FAILED, TTY_DB_ERR_NO_BLOCK where no block
 *   holds the id, or TTY_DB_ERR_NOT_REGISTERED where a block does.
 */
TTY_DB_API uint32_t tty_db_tty_deregister(tty_db_type *db_h, uint32_t category, uint32_t tty_id);

/**
 * Hands out the entry of a registered line.
 * Takes the read lock.  With TTY_DB_OPT_LOCK_ENTRIES it waits for the entry's holder, with the read
 * lock kept, so that every writer fails meanwhile.  On return the calling thread holds the entry:
 * it gives it back with exactly one tty_db_tty_unlock(), and may not use it afterwards.  Without
 * that option nothing keeps another thread from deregistering the line.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] tty the entry.  After a failure do not use it: NULL where a block holds the id and no
 *   line is registered there, the entry where its lock could not be had, else untouched.
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_NOT_REGISTERED, or TTY_DB_ERR_LOCK_FAILED, also
 *   where the calling thread holds the entry already.
 */
TTY_DB_API uint32_t tty_db_tty_retrieve(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        tty_db_tty_type **tty);

/**
 * Gives back an entry that registration or retrieval handed out.
 * Takes no database lock, so that it never waits.  Without TTY_DB_OPT_LOCK_ENTRIES it does nothing.
 * @param db_h the database
 * @param tty the entry, held by the calling thread; from another thread the process ends
 * @return 0 or TTY_DB_ERR_INVALID_ARG.
 */
TTY_DB_API uint32_t tty_db_tty_unlock(tty_db_type *db_h, tty_db_tty_type *tty);

/**@}*/

/**
 * @defgroup items Items
 * The caller holds the entry; the library takes no lock.
 * @{
 */

/**
 * Hangs a new item on an entry.
 * The database owns the data, until the item is destroyed or the line deregistered: never free it.
 * @param tty the entry
 * @param item_key any value that no other item of the entry has
 * @param size bytes of data, at least 1
 * @param[out] new_item the data, zero-filled and aligned as malloc does; NULL on every failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_ITEM_EXISTS or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_item_create(tty_db_tty_type *tty, uint32_t item_key, size_t size,
                                       void **new_item);

/**
 * Finds an item of an entry by its key.
 * @param tty the entry
 * @param item_key the item's key
 * @param[out] item the data; NULL on every failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_get(tty_db_tty_type *tty, uint32_t item_key, void **item);

/**
 * Frees an item of an entry with its data.
 * @param tty the entry
 * @param item_key the item's key
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_destroy(tty_db_tty_type *tty, uint32_t item_key);

/**@}*/

/**
 * @defgroup iterators Iterators
 * Each is advanced by one thread at a time.
 * @{
 */

/**
 * Makes an iterator over the registered lines from a start to an end position, both inclusive.
 * Takes no lock.  The iterator keeps a position, no lock and no line: the database may change
 * between advances, and each advance sees it as it is then.  A start behind the end gives an
 * iterator without lines.  The caller owns the iterator and ends it with tty_db_iterate_end(); it
 * must not advance it after the database is destroyed.
 * @param db_h the database
 * @param start_category 0 to TTY_CATEGORY_MAX
 * @param start_id 0 to TTY_PORT_MAX
 * @param end_category 0 to TTY_CATEGORY_MAX
 * @param end_id 0 to TTY_PORT_MAX
 * @param[out] iterator_h the iterator; untouched on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_iterate_start(tty_db_type *db_h, uint32_t start_category,
                                         uint32_t start_id, uint32_t end_category, uint32_t end_id,
                                         tty_db_iterator_type **iterator_h);

/**
 * Advances an iterator to the next registered line.
 * Takes the read lock.
 * @param iterator_h the iterator
 * @param[out] category the line's category; TTY_CATEGORY_MAX on every failure
 * @param[out] tty_id the line's id; 0 on every failure
 * @return 0, TTY_DB_ERR_NO_MORE, from then on every time, TTY_DB_ERR_INVALID_ARG, or
 *   TTY_DB_ERR_LOCK_FAILED: then the iterator is where it was.
 */
TTY_DB_API uint32_t tty_db_iterate_next(tty_db_iterator_type *iterator_h, uint32_t *category,
                                        uint32_t *tty_id);

/**
 * Ends an iterator and frees it.  Takes no lock.
 * @param iterator_h the iterator
 * @return 0 or TTY_DB_ERR_INVALID_ARG.
 */
TTY_DB_API uint32_t tty_db_iterate_end(tty_db_iterator_type *iterator_h);

/**@}*/

/**
 * @defgroup internal Building blocks
 * The routines behind the operations, for code that is part of the library's own machinery.  They
 * take no database lock and check no arguments: they assert what they require.  Should the report
 * of a failed assertion return, a routine that cannot go on leaves with TTY_DB_ERR_INVALID_ARG, its
 * outputs as after any other failure, and nothing changed.  REQUIRES: arguments in the ranges that
 * the operations demand, and the database's write lock held by the calling thread, or for the
 * lookups and the walk either lock, unless a description says otherwise.
 * @{
 */

/**
 * As tty_db_block_reserve(), in a database of either mode.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param first_tty 0 to TTY_PORT_MAX
 * @param num_ttys at least 1; the last id is at most TTY_PORT_MAX
 * @param tag_name a string, or NULL
 * @param ctx any value
 * @param[out] block_h the block; NULL on every failure
 * @return 0, TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_reserve_internal(tty_db_type *db_h, uint32_t category,
                                                  uint32_t first_tty, uint32_t num_ttys,
                                                  const char *tag_name, uintptr_t ctx,
                                                  tty_db_block_type **block_h);

/**
 * As tty_db_block_release() without options, in a database of either mode.  Cannot fail.
 * @param db_h the database
 * @param block_h the block
 */
TTY_DB_API void tty_db_block_release_internal(tty_db_type *db_h, tty_db_block_type *block_h);

/**
 * As tty_db_block_resize() without options.  REQUIRES: a database with manual block management.
 * @param db_h the database
 * @param block_h the block
 * @param first_tty 0 to TTY_PORT_MAX
 * @param num_ttys at least 1; the last id is at most TTY_PORT_MAX
 * @return 0, TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_resize_internal(tty_db_type *db_h, tty_db_block_type *block_h,
                                                 uint32_t first_tty, uint32_t num_ttys);

/**
 * Finds the block that holds an id or, failing that, the next one above it in the category.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_lowest_block(tty_db_type *db_h, uint32_t category,
                                                   uint32_t tty_id, tty_db_block_type **block);

/**
 * Finds the block that holds an id.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_block_from_tty_id(tty_db_type *db_h, uint32_t category,
                                                        uint32_t tty_id, tty_db_block_type **block);

/**
 * Finds the first block, by category, then id, with a tag, or for NULL the first without one.
 * @param db_h the database
 * @param tag_name a string, or NULL
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_block_from_tag(tty_db_type *db_h, const char *tag_name,
                                                     tty_db_block_type **block);

/**
 * As tty_db_tty_register().
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param entry_size at least sizeof(tty_db_tty_type)
 * @param[out] tty the entry; NULL on every failure
 * @return as tty_db_tty_register().
 */
TTY_DB_API uint32_t tty_db_tty_register_internal(tty_db_type *db_h, uint32_t category,
                                                 uint32_t tty_id, size_t entry_size,
                                                 tty_db_tty_type **tty);

/**
 * Deregisters the line that is registered at an id of a block.  The block dies with its last line
 * in a database that manages its blocks by itself, unless the block is under release already.
 * @param db_h the database
 * @param block a block of this database
 * @param tty_id 0 to TTY_PORT_MAX
 */
TTY_DB_API void tty_db_tty_deregister_internal(tty_db_type *db_h, tty_db_block_type *block,
                                               uint32_t tty_id);

/**
 * Finds the link (the list head, or a node's link to the next) that holds the item with a key.
 * REQUIRES: the entry held; no database lock is needed.
 * @param tty the entry
 * @param item_key the item's key
 * @param[out] insertion_point the link; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_find_insertion_point(tty_db_tty_type *tty, uint32_t item_key,
                                                     tty_db_item_type ***insertion_point);

/**
 * As tty_db_iterate_next().
 * @param iterator_h the iterator
 * @param[out] category the line's category; TTY_CATEGORY_MAX on every failure
 * @param[out] tty_id the line's id; 0 on every failure
 * @return 0 or TTY_DB_ERR_NO_MORE.
 */
TTY_DB_API uint32_t tty_db_iterate_next_internal(tty_db_iterator_type *iterator_h,
                                                 uint32_t *category, uint32_t *tty_id);

/**@}*/

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_DB_H */
