/**
 * @file
 * Databases of terminal lines (TTYs) in the memory of one process.
 *
 * A process can create any number of databases.  In a database, a line has a category (0 to 5) and
 * an id (0 to 10000); the library touches no device.  The ids of a category are grouped into
 * blocks: contiguous ranges that never overlap.  With manual block management, the default, the
 * caller reserves, resizes and releases blocks.  With TTY_DB_OPT_AUTO_BLOCKS the library creates
 * and frees blocks of ten ids as needed.
 *
 * Every registered line has an entry.  It begins with a tty_db_tty_type; the rest belongs to the
 * caller, who chooses its size and can attach items to it, each under a key.  An iterator walks the
 * registered lines in order of category, then id.
 *
 * @par Results
 * Every operation that can fail returns a result code; 0 is success.  A failed operation changes
 * nothing but the outputs that its description names.  Arguments are checked before any lock is
 * taken; unless described otherwise, an invalid argument gives TTY_DB_ERR_INVALID_ARG.
 *
 * @par Threads
 * Any number of threads may use a database at once.  It has a reader-writer lock, the database
 * lock.  An operation that reads waits for it without limit; one that writes tries ten times, 20 ms
 * apart, then fails with TTY_DB_ERR_LOCK_FAILED.  An entry has a mutex, the entry lock.  With
 * TTY_DB_OPT_LOCK_ENTRIES, registration and retrieval take it for the caller, who releases it with
 * tty_db_tty_unlock().
 *
 * @par Waiting for the holder of an entry
 * A retrieval waits for the thread that holds the entry, and keeps the read lock meanwhile.  Until
 * it has the entry, no thread can take the write lock, the holder included.  Hold an entry only
 * briefly, and unlock it before retrying a write.
 * Deregistering a line waits for the thread that holds its entry, and keeps the write lock
 * meanwhile: an operation that reads waits for it, one that writes fails.  So a holder may call an
 * operation that reads, or deregister lines of another database, only if no other thread can
 * deregister the line that it holds, and threads that retrieve several entries do so in the same
 * order.  Otherwise threads can wait for each other forever.  A holder may deregister its own line.
 *
 * @par Threads that end
 * If a thread ends while it holds an entry, the entry stays held: retrieving it or deregistering
 * its line waits forever.  No operation is a cancellation point, so a thread may be cancelled
 * (deferred cancellation) around any call.  While it holds an entry, it needs a clean-up handler
 * that unlocks the entry.
 *
 * @par Signals
 * A signal handler must not call any operation.  No operation returns early because of a signal.
 *
 * @par fork
 * A child may create and use databases of its own.  It must not use an inherited database unless,
 * at the fork, no other thread was in a call on it and no thread held one of its entries.
 *
 * @par Fatal errors
 * A lock that cannot be released aborts the process; so does a failed assertion by default.
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
 * @defgroup version Version
 * The version of the library that this header belongs to.
 * @{
 */
#define TTY_DB_VERSION_MAJOR 1 /**< changes with the binary interface */
#define TTY_DB_VERSION_MINOR 0 /**< changes with additions */
#define TTY_DB_VERSION_PATCH 0 /**< changes with corrections */
/** The version as one number: 10203 is 1.2.3.  `#if TTY_DB_VERSION >= 10200` requires 1.2. */
#define TTY_DB_VERSION \
  (TTY_DB_VERSION_MAJOR * 10000 + TTY_DB_VERSION_MINOR * 100 + TTY_DB_VERSION_PATCH)
/**@}*/

/**
 * @defgroup bounds Bounds
 * The limits of categories and ids, inclusive.
 * @{
 */
#define TTY_CATEGORY_MIN 0u /**< the lowest category */
#define TTY_CATEGORY_MAX 5u /**< the highest category */
#define TTY_PORT_MAX 10000u /**< the highest id; the lowest is 0 */
/** Number of ids in an automatic block; the block of id 10000 contains only that id. */
#define TTY_DB_AUTO_BLOCK_SIZE 10u
/**@}*/

/**
 * @defgroup options Options
 * `TTY_DB_OPT_*` are for tty_db_create(), `TTY_DB_BLOCK_OPT_*` for tty_db_block_release() and
 * tty_db_block_resize().
 * @{
 */
#define TTY_DB_OPT_LOCK_ENTRIES 0x1u            /**< registration and retrieval lock the entry */
#define TTY_DB_OPT_AUTO_BLOCKS 0x2u             /**< the library creates and frees blocks */
#define TTY_DB_OPT_ALL 0x3u                     /**< both options: start with these */
#define TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG 0x1u /**< fail rather than deregister lines */
/**@}*/

/**
 * @defgroup results Result codes
 * qerr_strerror() of libttyplatform returns the text of a code; in C++, std::error_code::message()
 * does.
 * @{
 */
#define TTY_DB_ERR_NO_MEMORY 0xc2580200u       /**< out of memory */
#define TTY_DB_ERR_INVALID_ARG 0xa2580400u     /**< invalid argument: NULL, or out of range */
#define TTY_DB_ERR_WRONG_MODE 0xa2580600u      /**< the database manages its blocks by itself */
#define TTY_DB_ERR_LOCK_FAILED 0xa2580800u     /**< a lock could not be obtained */
#define TTY_DB_ERR_LOCK_INIT 0xa2580a00u       /**< a lock could not be created */
#define TTY_DB_ERR_NO_BLOCK 0xa2580c00u        /**< no such block, by id or by tag */
#define TTY_DB_ERR_OVERLAP 0xa2580e00u         /**< the range overlaps another block */
#define TTY_DB_ERR_ITEM_EXISTS 0xa2581000u     /**< the item exists already */
#define TTY_DB_ERR_TTY_EXISTS 0xa2581200u      /**< the TTY is registered already */
#define TTY_DB_ERR_NO_MORE 0xa2581400u         /**< no more TTYs: the iterator is at its end */
#define TTY_DB_ERR_NO_ITEM 0xa2581600u         /**< no such item */
#define TTY_DB_ERR_NOT_REGISTERED 0x42581800u  /**< the TTY is not registered */
#define TTY_DB_ERR_TTYS_REGISTERED 0xa2581a00u /**< TTYs are still registered in the block */
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
 * pass its size to tty_db_tty_register(), and cast the pointer that you get.  Only the library
 * writes these fields.
 */
typedef struct tty_db_tty_type {
  pthread_mutex_t lock; /**< the entry lock; release it with tty_db_tty_unlock() */
  pthread_t lock_owner; /**< who obtained it last, or 0xFFFFFFFF once unlocked; diagnostic */
  tty_db_item_type *item_list_head; /**< the newest item */
} tty_db_tty_type;

/** The details of a block. */
typedef struct tty_db_block_details_type {
  uint32_t category;          /**< category of its ids */
  uint32_t first_tty;         /**< lowest id; the highest is first_tty + capacity - 1 */
  uint32_t capacity;          /**< number of ids, at least 1 */
  const char *tag_name;       /**< the tag, or NULL; owned by the block, freed with it */
  uint32_t num_registered;    /**< number of registered lines in the block */
  uintptr_t ctx;              /**< the caller's value from the reservation */
  tty_db_block_type *block_h; /**< the block's handle */
} tty_db_block_details_type;

/**@}*/

/**
 * @defgroup databases Databases
 * @{
 */

/**
 * Creates an empty database.
 * Takes no lock.  The caller owns the database and destroys it with tty_db_destroy().
 * @param options any of TTY_DB_OPT_LOCK_ENTRIES and TTY_DB_OPT_AUTO_BLOCKS, or 0; cannot be changed
 * @param[out] db_h the database; NULL on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_NO_MEMORY or TTY_DB_ERR_LOCK_INIT.
 */
TTY_DB_API uint32_t tty_db_create(uint32_t options, tty_db_type **db_h);

/**
 * Destroys a database with all its blocks, lines and items.
 * Takes the write lock, and waits for the holder of each entry.  During the call other threads may
 * only use and unlock the entries that they hold.  On success every pointer into the database is
 * invalid.  Its iterators must still be ended.
 * @param db_h the database
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_LOCK_FAILED.
 */
TTY_DB_API uint32_t tty_db_destroy(tty_db_type *db_h);

/**
 * Counts the blocks and the registered lines of a database.
 * Takes the read lock.
 * @param db_h the database
 * @param[out] num_blocks number of blocks; may be NULL; unchanged on failure
 * @param[out] num_ttys number of registered lines; may be NULL; unchanged on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_LOCK_FAILED.
 */
TTY_DB_API uint32_t tty_db_get_details(tty_db_type *db_h, uint32_t *num_blocks, uint32_t *num_ttys);

/**@}*/

/**
 * @defgroup blocks Blocks
 * For databases with manual block management.
 * @{
 */

/**
 * Reserves a block: a range of ids of a category.
 * Takes the write lock.  The database owns the block; tty_db_block_release() or tty_db_destroy()
 * frees it.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param first_tty the lowest id, 0 to TTY_PORT_MAX
 * @param num_ttys the number of ids, at least 1; the highest id is at most TTY_PORT_MAX
 * @param tag_name a string to find the block by, or NULL; copied; need not be unique
 * @param ctx any value; kept in the block's details
 * @param[out] block_h the block; NULL on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED,
 *   TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_reserve(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                         uint32_t num_ttys, const char *tag_name, uintptr_t ctx,
                                         tty_db_block_type **block_h);

/**
 * Releases a block and deregisters its lines.
 * Takes the write lock, and waits for the holder of each entry.  Frees the block on success.
 * @param db_h the database
 * @param block_h a block of this database; only NULL is detected
 * @param options 0, or TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG to fail if the block has lines
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED or
 *   TTY_DB_ERR_TTYS_REGISTERED.
 */
TTY_DB_API uint32_t tty_db_block_release(tty_db_type *db_h, tty_db_block_type *block_h,
                                         uint32_t options);

/**
 * Gives a block a new range of ids in its category: grows, shrinks or moves it.
 * Deregisters the lines whose ids are not in the new range.  The other lines stay registered, and
 * pointers to their entries stay valid, and holders still hold them.  The handle, the tag and ctx
 * stay.  Takes the write lock, and waits for the holder of each entry that it deregisters.
 * @param db_h the database
 * @param block_h a block of this database; only NULL is detected
 * @param first_tty the lowest id, 0 to TTY_PORT_MAX
 * @param num_ttys the number of ids, at least 1; the highest id is at most TTY_PORT_MAX
 * @param options 0, or TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG to fail if a line would be deregistered
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED,
 *   TTY_DB_ERR_TTYS_REGISTERED, TTY_DB_ERR_OVERLAP or, only if the block grows,
 *   TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_resize(tty_db_type *db_h, tty_db_block_type *block_h,
                                        uint32_t first_tty, uint32_t num_ttys, uint32_t options);

/**
 * Copies the details of a block.
 * Takes the read lock.
 * @param db_h the database
 * @param block_h a block of this database; only NULL is detected
 * @param[out] details a copy of the details; all zeros on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE or TTY_DB_ERR_LOCK_FAILED.
 */
TTY_DB_API uint32_t tty_db_block_details_from_handle(tty_db_type *db_h, tty_db_block_type *block_h,
                                                     tty_db_block_details_type *details);

/**
 * Copies the details of the block that contains an id, whether a line is registered there or not.
 * Takes the read lock.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] details a copy of the details; all zeros on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED or
 *   TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_details_from_tty(tty_db_type *db_h, uint32_t category,
                                                  uint32_t tty_id,
                                                  tty_db_block_details_type *details);

/**
 * Copies the details of the first block, by category, then id, that has a tag.
 * Takes the read lock.
 * @param db_h the database
 * @param tag_name the tag, compared byte by byte; NULL finds the first block without a tag
 * @param[out] details a copy of the details; all zeros on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_WRONG_MODE, TTY_DB_ERR_LOCK_FAILED or
 *   TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_details_from_tag(tty_db_type *db_h, const char *tag_name,
                                                  tty_db_block_details_type *details);

/**@}*/

/**
 * @defgroup lines Lines
 * @{
 */

/**
 * Registers a line and creates its entry.
 * A block must contain the id; with TTY_DB_OPT_AUTO_BLOCKS the library creates one if necessary.
 * Takes the write lock.  With TTY_DB_OPT_LOCK_ENTRIES the calling thread holds the entry on return,
 * and must unlock it with tty_db_tty_unlock().  The database owns the entry; deregistration frees
 * it.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param entry_size size of the caller's record in bytes, at least sizeof(tty_db_tty_type)
 * @param[out] tty the entry, filled with zeros after its head; NULL on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_LOCK_FAILED, TTY_DB_ERR_NO_BLOCK (manual block
 *   management), TTY_DB_ERR_TTY_EXISTS, TTY_DB_ERR_NO_MEMORY or TTY_DB_ERR_LOCK_INIT.
 */
TTY_DB_API uint32_t tty_db_tty_register(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        size_t entry_size, tty_db_tty_type **tty);

/**
 * Deregisters a line and frees its entry and items.
 * With TTY_DB_OPT_AUTO_BLOCKS also frees the block if it is now empty.  Takes the write lock, and
 * waits for the holder of the entry.  The holder itself may deregister the line, and must not
 * unlock the entry afterwards.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_LOCK_FAILED, TTY_DB_ERR_NO_BLOCK if no block
 *   contains the id, or TTY_DB_ERR_NOT_REGISTERED if a block does but the line is not registered.
 */
TTY_DB_API uint32_t tty_db_tty_deregister(tty_db_type *db_h, uint32_t category, uint32_t tty_id);

/**
 * Gets the entry of a registered line.
 * Takes the read lock.  With TTY_DB_OPT_LOCK_ENTRIES it waits for the holder of the entry, without
 * limit; on success the calling thread holds the entry, must unlock it once with
 * tty_db_tty_unlock(), and must not use it afterwards.  Without that option another thread can
 * deregister the line at any time.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] tty the entry.  Do not use it after a failure: it is NULL if a block contains the id
 *   but no line is registered there, the entry if its lock could not be taken, else unchanged.
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_NOT_REGISTERED, or TTY_DB_ERR_LOCK_FAILED, also
 *   if the calling thread already holds the entry.
 */
TTY_DB_API uint32_t tty_db_tty_retrieve(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                        tty_db_tty_type **tty);

/**
 * Unlocks an entry that registration or retrieval locked.
 * Takes no lock and never waits.  Without TTY_DB_OPT_LOCK_ENTRIES it does nothing.
 * @param db_h the database
 * @param tty the entry; if the calling thread does not hold it, the process aborts
 * @return 0 or TTY_DB_ERR_INVALID_ARG.
 */
TTY_DB_API uint32_t tty_db_tty_unlock(tty_db_type *db_h, tty_db_tty_type *tty);

/**@}*/

/**
 * @defgroup items Items
 * The library takes no lock: the caller must hold the entry.  Without TTY_DB_OPT_LOCK_ENTRIES, no
 * other thread may use the entry or deregister the line meanwhile.
 * @{
 */

/**
 * Attaches a new item to an entry.
 * The database owns the data; destroying the item or deregistering the line frees it.
 * @param tty the entry
 * @param item_key any value that no other item of the entry has
 * @param size size of the data in bytes, at least 1
 * @param[out] new_item the data, filled with zeros and aligned as by malloc; NULL on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_ITEM_EXISTS or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_item_create(tty_db_tty_type *tty, uint32_t item_key, size_t size,
                                       void **new_item);

/**
 * Finds an item of an entry by its key.
 * @param tty the entry
 * @param item_key the item's key
 * @param[out] item the data; NULL on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_get(tty_db_tty_type *tty, uint32_t item_key, void **item);

/**
 * Frees an item of an entry and its data.
 * @param tty the entry
 * @param item_key the item's key
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_destroy(tty_db_tty_type *tty, uint32_t item_key);

/**@}*/

/**
 * @defgroup iterators Iterators
 * Only one thread at a time may use an iterator.
 * @{
 */

/**
 * Creates an iterator over the registered lines from a start to an end position, both inclusive.
 * Takes no lock.  The iterator is only a position: it holds no lock, and each advance sees the
 * database as it is then.  If the start is after the end, the iterator finds no lines.  The caller
 * owns the iterator and frees it with tty_db_iterate_end().  Once the database is destroyed, the
 * iterator must not be advanced.
 * @param db_h the database
 * @param start_category 0 to TTY_CATEGORY_MAX
 * @param start_id 0 to TTY_PORT_MAX
 * @param end_category 0 to TTY_CATEGORY_MAX
 * @param end_id 0 to TTY_PORT_MAX
 * @param[out] iterator_h the iterator; unchanged on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_iterate_start(tty_db_type *db_h, uint32_t start_category,
                                         uint32_t start_id, uint32_t end_category, uint32_t end_id,
                                         tty_db_iterator_type **iterator_h);

/**
 * Advances an iterator to the next registered line.
 * Takes the read lock.
 * @param iterator_h the iterator
 * @param[out] category the line's category; TTY_CATEGORY_MAX on failure
 * @param[out] tty_id the line's id; 0 on failure
 * @return 0, TTY_DB_ERR_INVALID_ARG, TTY_DB_ERR_LOCK_FAILED (the iterator stays where it is), or
 *   TTY_DB_ERR_NO_MORE (then every further call gives it too).
 */
TTY_DB_API uint32_t tty_db_iterate_next(tty_db_iterator_type *iterator_h, uint32_t *category,
                                        uint32_t *tty_id);

/**
 * Frees an iterator.  Takes no lock.
 * @param iterator_h the iterator
 * @return 0 or TTY_DB_ERR_INVALID_ARG.
 */
TTY_DB_API uint32_t tty_db_iterate_end(tty_db_iterator_type *iterator_h);

/**@}*/

/**
 * @defgroup internal Internals
 * The routines that the operations call.  They are exported, but a program must not call them: most
 * require the database lock, which a program cannot take.
 * REQUIRES, unless described otherwise: arguments as for the operations, and the write lock; for
 * the lookups and the iterator the read lock is enough.
 * Most requirements are asserted.  If the report of a failed assertion returns and the routine
 * cannot go on, it changes nothing, sets its outputs as for any failure, and returns
 * TTY_DB_ERR_INVALID_ARG.
 * @{
 */

/**
 * Does the work of tty_db_block_reserve(), with manual and automatic block management.
 * @return 0, TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_reserve_internal(tty_db_type *db_h, uint32_t category,
                                                  uint32_t first_tty, uint32_t num_ttys,
                                                  const char *tag_name, uintptr_t ctx,
                                                  tty_db_block_type **block_h);

/**
 * Does the work of tty_db_block_release() without options, with manual and automatic block
 * management.
 */
TTY_DB_API void tty_db_block_release_internal(tty_db_type *db_h, tty_db_block_type *block_h);

/**
 * Does the work of tty_db_block_resize() without options.  REQUIRES: manual block management.
 * @return 0, TTY_DB_ERR_OVERLAP or TTY_DB_ERR_NO_MEMORY.
 */
TTY_DB_API uint32_t tty_db_block_resize_internal(tty_db_type *db_h, tty_db_block_type *block_h,
                                                 uint32_t first_tty, uint32_t num_ttys);

/**
 * Finds the block that contains an id or, if there is none, the next block of the category.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_lowest_block(tty_db_type *db_h, uint32_t category,
                                                   uint32_t tty_id, tty_db_block_type **block);

/**
 * Finds the block that contains an id.
 * @param db_h the database
 * @param category 0 to TTY_CATEGORY_MAX
 * @param tty_id 0 to TTY_PORT_MAX
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_block_from_tty_id(tty_db_type *db_h, uint32_t category,
                                                        uint32_t tty_id, tty_db_block_type **block);

/**
 * Finds the first block, by category, then id, that has a tag.
 * @param db_h the database
 * @param tag_name the tag; NULL finds the first block without a tag
 * @param[out] block the block; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_BLOCK.
 */
TTY_DB_API uint32_t tty_db_block_find_block_from_tag(tty_db_type *db_h, const char *tag_name,
                                                     tty_db_block_type **block);

/**
 * Does the work of tty_db_tty_register().
 * @return as tty_db_tty_register().
 */
TTY_DB_API uint32_t tty_db_tty_register_internal(tty_db_type *db_h, uint32_t category,
                                                 uint32_t tty_id, size_t entry_size,
                                                 tty_db_tty_type **tty);

/**
 * Deregisters a line of a block.
 * With automatic block management also releases the block if it is now empty, unless that is
 * already under way.
 * @param db_h the database
 * @param block a block of this database
 * @param tty_id the id of the line
 */
TTY_DB_API void tty_db_tty_deregister_internal(tty_db_type *db_h, tty_db_block_type *block,
                                               uint32_t tty_id);

/**
 * Finds the link to an item: the list head, or the link of the node before it.
 * REQUIRES: the calling thread holds the entry; no database lock.
 * @param tty the entry
 * @param item_key the item's key
 * @param[out] insertion_point the link; NULL on failure
 * @return 0 or TTY_DB_ERR_NO_ITEM.
 */
TTY_DB_API uint32_t tty_db_item_find_insertion_point(tty_db_tty_type *tty, uint32_t item_key,
                                                     tty_db_item_type ***insertion_point);

/**
 * Does the work of tty_db_iterate_next().
 * @return 0 or TTY_DB_ERR_NO_MORE.
 */
TTY_DB_API uint32_t tty_db_iterate_next_internal(tty_db_iterator_type *iterator_h,
                                                 uint32_t *category, uint32_t *tty_id);

/**@}*/

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_DB_H */
