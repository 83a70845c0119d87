/**
 * @file
 * The records of threads that wait for an entry's mutex, for whoever looks into a process: a
 * debugger, or a thread of its own.
 */
#ifndef TTY_THREAD_BLOCK_H
#define TTY_THREAD_BLOCK_H

#include <pthread.h>
#include <stddef.h>

#include "tty_platform.h"

#ifdef __cplusplus
extern "C" {
#endif

/** What a waiting thread has announced.  A thread waits for one mutex at a time, and so has one
 * record. */
typedef struct ptd_mutex_block {
  struct ptd_mutex_block *next; /**< of the thread that announced its wait before this one */
  pthread_mutex_t *mutex;       /**< what it waits for */
  const char *routine;          /**< where it waits */
  int line;                     /**< of the source */
  int thread_id;                /**< the kernel's number of the waiting thread */
  pthread_t thread;             /**< the waiting thread */
} ptd_mutex_block;

/** The waiting threads, latest first, for a debugger; a running program calls
 * ptd_list_mutex_blocks().  Empty in a child of fork, until its own threads wait. */
extern TTY_PLATFORM_API ptd_mutex_block *ptd_mutex_block_list;

/**
 * Copies records of waiting threads, latest first; their `next` is NULL.
 * @param[out] blocks where to
 * @param max how many records fit there
 * @return how many threads are waiting, which may be more than `max`
 */
TTY_PLATFORM_API size_t ptd_list_mutex_blocks(ptd_mutex_block *blocks, size_t max);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_THREAD_BLOCK_H */
