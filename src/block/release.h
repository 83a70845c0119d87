// What the end of a block shares with reservation and resize.

#ifndef TTY_DB_BLOCK_RELEASE_H
#define TTY_DB_BLOCK_RELEASE_H

#include "block/block.h"

// Checks that no line is registered at the ids first_tty .. last_tty of a block; the range is empty
// where first_tty is greater.  Returns 0 or TTY_DB_ERR_TTYS_REGISTERED.
uint32_t tty_db_block_check_no_registered_ttys(tty_db_type *db, tty_db_block_type *block,
                                               uint32_t first_tty, uint32_t last_tty)
    TTY_DB_REQUIRES_WRITE(db);

// Deregisters the lines at the ids first_tty .. last_tty of a block; the range is empty where
// first_tty is greater.  Waits for the holder of each entry.
void tty_db_block_deregister_ttys(tty_db_type *db, tty_db_block_type *block, uint32_t first_tty,
                                  uint32_t last_tty) TTY_DB_REQUIRES_WRITE(db);

// Frees a block, which is in no list, with all that it has acquired so far.  NULL: nothing has
// been.
void tty_db_block_cleanup(tty_db_type *db, tty_db_block_type *block) TTY_DB_REQUIRES_WRITE(db);

#endif  // TTY_DB_BLOCK_RELEASE_H
