/**
 * @file
 * The list of threads that wait for an entry lock.  A debugger or a thread of the process reads it.
 */
#ifndef TTY_THREAD_BLOCK_H
#define TTY_THREAD_BLOCK_H

#include <pthread.h>
#include <stddef.h>

#include "tty_platform.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A waiting thread.  Each thread has at most one record. */
typedef struct ptd_mutex_block {
  struct ptd_mutex_block *next; /**< the thread that began to wait before this one */
  pthread_mutex_t *mutex;       /**< the mutex that it waits for */
  const char *routine;          /**< the routine that waits */
  int line;                     /**< the source line */
  int thread_id;                /**< the kernel's id of the thread */
  pthread_t thread;             /**< the thread */
} ptd_mutex_block;

/** The waiting threads, latest first, for a debugger; a program calls ptd_list_mutex_blocks().
 * A child of fork starts with an empty list. */
extern TTY_PLATFORM_API ptd_mutex_block *ptd_mutex_block_list;

/**
 * Copies the records of waiting threads, latest first, with `next` set to NULL.
 * @param[out] blocks an array for the records
 * @param max the size of the array
 * @return the number of waiting threads, which may exceed `max`
 */
TTY_PLATFORM_API size_t ptd_list_mutex_blocks(ptd_mutex_block *blocks, size_t max);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_THREAD_BLOCK_H */
