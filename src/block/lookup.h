// Lookups in the block lists that reservation, release and resize share.  The lookups that other
// subsystems use are declared in tty_db.h.

#ifndef TTY_DB_BLOCK_LOOKUP_H
#define TTY_DB_BLOCK_LOOKUP_H

#include "block/block.h"

// Finds the link to the first block that ends after an id: tty_db_index_find_link, traced.  Returns
// 0, or with the output NULL TTY_DB_ERR_INVALID_ARG after a failed assertion.
uint32_t tty_db_block_find_insertion_point(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                           tty_db_block_type ***insertion_point)
    TTY_DB_REQUIRES_READ(db_h);

// Checks that a range of ids overlaps no block of a category but `resize_block`, which may be NULL.
// Returns 0, TTY_DB_ERR_OVERLAP, or after a failed assertion TTY_DB_ERR_INVALID_ARG.
uint32_t tty_db_block_check_for_overlap(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                        uint32_t num_ttys, const tty_db_block_type *resize_block)
    TTY_DB_REQUIRES_READ(db_h);

#endif  // TTY_DB_BLOCK_LOOKUP_H
