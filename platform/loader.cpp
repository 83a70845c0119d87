// The loader query: does an explicit unload run the calling library's destructor, or the exit of
// the process?
//
// An exit handler tells, provided that it runs ahead of the libraries' destructors.  That is so for
// a handler set once the program runs.  A handler set by a constructor at program start runs behind
// the destructors, so that it tells nothing; but a library that the program has been started with
// is never unloaded: only the exit of the process runs its destructor.  So one fact answers for
// libraries that came with the program, the other for those that were opened later.  (Neither
// does for a library that a constructor opens before the program runs: its exit is taken for an
// unload.)

#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>
#include <string.h>

#include "exit_watch.h"
#include "tty_platform.h"

namespace {

bool watching = false;
bool exiting = false;

void note_exit() { exiting = true; }

const char *base_name(const char *path) {
  const char *slash = strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

// Reads one entry of a loaded object's dynamic section; 0 if it has none.
ElfW(Addr) dynamic_value(const link_map *object, ElfW(Sxword) tag) {
  for (const ElfW(Dyn) *entry = object->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == tag) return entry->d_un.d_ptr;
  }
  return 0;
}

// Returns the later, in load order, of `last` and the objects that `object` needs.
const link_map *last_needed(const link_map *program, const link_map *object, const link_map *last) {
  if (dynamic_value(object, DT_NEEDED) == 0) return last;
  ElfW(Addr) strings = dynamic_value(object, DT_STRTAB);
  if (strings < object->l_addr) strings += object->l_addr;
  for (const ElfW(Dyn) *entry = object->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag != DT_NEEDED) continue;
    const char *name = base_name(reinterpret_cast<const char *>(strings + entry->d_un.d_val));
    bool behind_last = false;
    for (const link_map *other = program; other != nullptr; other = other->l_next) {
      if (strcmp(base_name(other->l_name), name) == 0) {
        if (behind_last) last = other;
        break;
      }
      if (other == last) behind_last = true;
    }
  }
  return last;
}

// Says whether the loaded object that holds `address` is a library that the program has been
// started with.  The loader keeps its objects in the order in which it loaded them: the program,
// what it was started with, then what was opened.  So the libraries of the start are those up to
// the last one that any object of the start needs.
bool library_of_program_start(const void *address) {
  Dl_info info;
  link_map *owner = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void **>(&owner), RTLD_DL_LINKMAP) == 0)
    return false;
  const link_map *program = owner;
  while (program->l_prev != nullptr) program = program->l_prev;
  if (owner == program) return false;

  const link_map *last = program;
  for (const link_map *object = program; object != owner; object = object->l_next) {
    last = last_needed(program, object, last);
    if (object == last) return false;
  }
  return true;
}

}  // namespace

void tty_watch_for_exit(const void *caller) {
  if (watching || library_of_program_start(caller)) return;
  watching = atexit(note_exit) == 0;
}

int __in_dlclose(void) {
  return !exiting && !library_of_program_start(__builtin_return_address(0)) ? 1 : 0;
}
