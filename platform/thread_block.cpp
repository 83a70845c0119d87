// The list of threads that wait for a mutex.
//
// Each thread has one record.  It is in the list while the thread waits, and is removed at the end
// of the thread at the latest.  Announcing a wait does not allocate, with one exception: if the
// process created 32 thread-specific keys before this one, the C library allocates the first time
// that a thread sets it.

#include "tty_thread_block.h"

#include <limits.h>
#include <unistd.h>

#include "service.h"

ptd_mutex_block *ptd_mutex_block_list = nullptr;

namespace {

// In static thread storage, so that the first use does not allocate.
__attribute__((tls_model("initial-exec"))) thread_local ptd_mutex_block own_block;

pthread_mutex_t list_lock = PTHREAD_MUTEX_INITIALIZER;  // guards the list
pthread_key_t thread_end;  // its destructor runs at the end of a thread

// Removes a record from the list, if it is there.  REQUIRES: list_lock is held.
void take_out(const ptd_mutex_block *block) {
  for (ptd_mutex_block **link = &ptd_mutex_block_list; *link != nullptr; link = &(*link)->next) {
    if (*link != block) continue;
    *link = block->next;
    break;
  }
}

void withdraw(void *block) {
  const ServiceCall call;
  const Lock lock(list_lock);
  take_out(static_cast<ptd_mutex_block *>(block));
}

// In the child of a fork: the waiting threads exist only in the parent.
void empty_list() { ptd_mutex_block_list = nullptr; }

__attribute__((constructor)) void prepare() {
  tty_survive_fork<list_lock, empty_list>();
  if (pthread_key_create(&thread_end, withdraw) != 0) thread_end = PTHREAD_KEYS_MAX;  // none left
}

__attribute__((destructor)) void unprepare() { pthread_key_delete(thread_end); }

}  // namespace

void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *routine, int line) {
  const ServiceCall call;
  pthread_setspecific(thread_end, &own_block);
  const Lock lock(list_lock);
  take_out(&own_block);
  own_block = {ptd_mutex_block_list, mutex, routine, line, gettid(), pthread_self()};
  ptd_mutex_block_list = &own_block;
}

void ptd_unset_mutex_block(void) { withdraw(&own_block); }

size_t ptd_list_mutex_blocks(ptd_mutex_block *blocks, size_t max) {
  const ServiceCall call;
  const Lock lock(list_lock);
  size_t count = 0;
  for (const ptd_mutex_block *block = ptd_mutex_block_list; block != nullptr; block = block->next) {
    if (count < max) {
      blocks[count] = *block;
      blocks[count].next = nullptr;
    }
    ++count;
  }
  return count;
}
