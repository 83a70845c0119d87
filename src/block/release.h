// Steps of release that reservation and resize share.

#ifndef TTY_DB_BLOCK_RELEASE_H
#define TTY_DB_BLOCK_RELEASE_H

#include "block/block.h"

// For both, the range is empty if first_tty > last_tty.

// Checks that a block has no line from first_tty to last_tty.  Returns 0 or
// TTY_DB_ERR_TTYS_REGISTERED.
uint32_t tty_db_block_check_no_registered_ttys(tty_db_type *db, tty_db_block_type *block,
                                               uint32_t first_tty, uint32_t last_tty)
    TTY_DB_REQUIRES_WRITE(db);

// Deregisters the lines of a block from first_tty to last_tty.  Waits for the holder of each entry.
void tty_db_block_deregister_ttys(tty_db_type *db, tty_db_block_type *block, uint32_t first_tty,
                                  uint32_t last_tty) TTY_DB_REQUIRES_WRITE(db);

// Frees a complete or partly built block, or nothing for NULL, and deregisters its lines. REQUIRES:
// the block is in no list.
void tty_db_block_cleanup(tty_db_type *db, tty_db_block_type *block) TTY_DB_REQUIRES_WRITE(db);

#endif  // TTY_DB_BLOCK_RELEASE_H
