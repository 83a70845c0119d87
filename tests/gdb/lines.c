// A program for GDB to look into. Two threads want the same entry, and then end in a deadlock.

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "tty_db.h"
#include "tty_thread_block.h"

static tty_db_type *db;
static tty_db_block_type *modems;
static tty_db_tty_type *held;
static tty_db_iterator_type *iterator;

static void must(uint32_t rc) {
  if (rc != 0) abort();
}

static tty_db_tty_type *add(uint32_t category, uint32_t id) {
  tty_db_tty_type *tty = NULL;
  must(tty_db_tty_register(db, category, id, sizeof *tty, &tty));
  return tty;
}

static void *want_entry(void *unused) {
  tty_db_tty_type *tty = NULL;
  must(tty_db_tty_retrieve(db, 3, 107, &tty));
  must(tty_db_tty_unlock(db, tty));
  return unused;
}

__attribute__((noinline)) static void look(void) { __asm__ volatile("" ::: "memory"); }

static void *deregister(void *unused) {
  must(tty_db_tty_deregister(db, 3, 107));
  return unused;
}

static void start_waiting(pthread_t *thread, void *(*run)(void *)) {
  if (pthread_create(thread, NULL, run, NULL) != 0) abort();
  while (ptd_list_mutex_blocks(NULL, 0) == 0) sched_yield();
}

static void end(int unused) {
  (void)unused;
  look();
  _exit(0);
}

int main(void) {
  must(tty_db_create(TTY_DB_OPT_LOCK_ENTRIES, &db));
  must(tty_db_block_reserve(db, 0, 0, 8, "console", 0, &(tty_db_block_type *){NULL}));
  must(tty_db_block_reserve(db, 3, 100, 50, "modems", 0, &modems));
  must(tty_db_block_reserve(db, 3, 10000, 1, NULL, 0, &(tty_db_block_type *){NULL}));
  const uint32_t ids[] = {100, 101, 103, 149};
  for (size_t i = 0; i < sizeof ids / sizeof *ids; ++i) must(tty_db_tty_unlock(db, add(3, ids[i])));
  must(tty_db_tty_unlock(db, add(0, 7)));
  held = add(3, 107);
  void *item = NULL;
  for (uint32_t key = 1; key <= 4; ++key) must(tty_db_item_create(held, 10 * key, 16, &item));
  must(tty_db_iterate_start(db, 0, 0, 3, 120, &iterator));
  uint32_t category = 0;
  uint32_t id = 0;
  must(tty_db_iterate_next(iterator, &category, &id));
  look();

  pthread_t thread;
  start_waiting(&thread, want_entry);
  look();
  must(tty_db_tty_unlock(db, held));
  pthread_join(thread, NULL);

  // The other thread holds the write lock and waits for the entry; this one holds the entry and
  // waits for the read lock. The alarm ends the deadlock.
  must(tty_db_tty_retrieve(db, 3, 107, &held));
  start_waiting(&thread, deregister);
  signal(SIGALRM, end);
  alarm(1);
  must(tty_db_iterate_next(iterator, &category, &id));
}
