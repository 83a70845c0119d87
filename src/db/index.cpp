// The memory of an index: a separate mapping, because calloc would clear a reused heap block.

#include "db/index.h"

#include <sys/mman.h>

tty_db_index_type *tty_db_map_index() {
  void *memory = mmap(nullptr, sizeof(tty_db_index_type), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  // One line must not bring in a huge page.  The call fails only if the kernel has no huge pages.
  madvise(memory, sizeof(tty_db_index_type), MADV_NOHUGEPAGE);
  return static_cast<tty_db_index_type *>(memory);
}

void tty_db_unmap_index(tty_db_index_type *index) { munmap(index, sizeof(*index)); }
