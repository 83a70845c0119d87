// The records of threads that wait for a mutex.
//
// Each thread has one record of its own, which is in the list only while the thread waits: a thread
// that ends leaves nothing behind, and announcing a wait allocates nothing.

#include "tty_thread_block.h"

#include <sched.h>
#include <unistd.h>

ptd_mutex_block *ptd_mutex_block_list = nullptr;

namespace {

// In the thread's static storage, so that the first use allocates nothing either.
__attribute__((tls_model("initial-exec"))) thread_local ptd_mutex_block own_block;

// Guards the list for the few instructions that a change takes.  Not a mutex: waiting for that one
// would be a wait that nobody announces.
bool list_busy = false;

void lock_list() {
  while (__atomic_test_and_set(&list_busy, __ATOMIC_ACQUIRE)) sched_yield();
}

void unlock_list() { __atomic_clear(&list_busy, __ATOMIC_RELEASE); }

}  // namespace

void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *routine, int line) {
  lock_list();
  own_block = {ptd_mutex_block_list, mutex, routine, line, gettid(), pthread_self()};
  ptd_mutex_block_list = &own_block;
  unlock_list();
}

void ptd_unset_mutex_block(void) {
  lock_list();
  for (ptd_mutex_block **link = &ptd_mutex_block_list; *link != nullptr; link = &(*link)->next) {
    if (*link != &own_block) continue;
    *link = own_block.next;
    break;
  }
  unlock_list();
}

size_t ptd_list_mutex_blocks(ptd_mutex_block *blocks, size_t max) {
  size_t count = 0;
  lock_list();
  for (const ptd_mutex_block *block = ptd_mutex_block_list; block != nullptr; block = block->next) {
    if (count < max) {
      blocks[count] = *block;
      blocks[count].next = nullptr;
    }
    ++count;
  }
  unlock_list();
  return count;
}
