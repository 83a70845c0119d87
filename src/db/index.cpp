// The memory of an index: a mapping of its own, since the heap would hand out memory that has been
// in use before, and clear all of it.

#include "db/index.h"

#include <sys/mman.h>

tty_db_index_type *tty_db_map_index() {
  void *memory = mmap(nullptr, sizeof(tty_db_index_type), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  // A huge page would bring in all that lies around one line.  Fails only if there are none.
  madvise(memory, sizeof(tty_db_index_type), MADV_NOHUGEPAGE);
  return static_cast<tty_db_index_type *>(memory);
}

void tty_db_unmap_index(tty_db_index_type *index) { munmap(index, sizeof(*index)); }
