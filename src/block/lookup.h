// Lookups that reservation, release and resize share.  tty_db.h declares the lookups that other
// folders use.

#ifndef TTY_DB_BLOCK_LOOKUP_H
#define TTY_DB_BLOCK_LOOKUP_H

#include "block/block.h"

// tty_db_index_find_link with tracing and assertions.  Returns 0, or TTY_DB_ERR_INVALID_ARG, with
// the output NULL, if an assertion failed.
uint32_t tty_db_block_find_insertion_point(tty_db_type *db_h, uint32_t category, uint32_t tty_id,
                                           tty_db_block_type ***insertion_point)
    TTY_DB_REQUIRES_READ(db_h);

// Checks that a range of ids overlaps no block except `resize_block`, which may be NULL.  Returns
// 0, TTY_DB_ERR_OVERLAP, or TTY_DB_ERR_INVALID_ARG if an assertion failed.
uint32_t tty_db_block_check_for_overlap(tty_db_type *db_h, uint32_t category, uint32_t first_tty,
                                        uint32_t num_ttys, const tty_db_block_type *resize_block)
    TTY_DB_REQUIRES_READ(db_h);

#endif  // TTY_DB_BLOCK_LOOKUP_H
