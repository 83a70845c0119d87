// __in_dlclose: tells whether a library's destructor runs because dlclose unloads the library, or
// because the process exits.
//
// An exit handler notes the exit.  It must run before the destructors of the libraries.  exit(3)
// runs handlers and destructors in the reverse order of their registration, so a handler that is
// set while the program runs comes before them.  One that a constructor sets at program start
// comes after them.  But the program and the libraries that it was started with are never unloaded,
// so only libraries that are opened later need the handler.
//
// The handler must be set even if no service of the stand-in is called, because the host may
// provide any of them.  If the stand-in itself is opened later, its constructor sets the handler.
// If the program was started with the stand-in, a thread-exit function of the main thread sets it:
// exit(3) runs those of its calling thread before the handlers.  In case another thread calls
// exit(3), the services that a library calls when it is loaded set the handler too.
//
// docs/guide/services.md has the two cases in which the answer is wrong.

#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>
#include <string.h>

#include "exit_watch.h"
#include "tty_platform.h"

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's names
extern "C" {
extern __attribute__((visibility("hidden"))) void *__dso_handle;
int __cxa_thread_atexit_impl(void (*function)(void *), void *argument, void *dso);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

bool watching = false;
bool exiting = false;

void note_exit() { exiting = true; }

const char *base_name(const char *path) {
  const char *slash = strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

// Returns the dynamic string table of a loaded object.  On some architectures the loader does not
// relocate its address.
const char *dynamic_strings(const link_map *object) {
  const ElfW(Dyn) *entry = object->l_ld;
  while (entry->d_tag != DT_STRTAB) ++entry;
  ElfW(Addr) strings = entry->d_un.d_ptr;
  if (strings < object->l_addr) strings += object->l_addr;
  return reinterpret_cast<const char *>(strings);
}

// Returns the latest, in load order, of `last` and the objects that `object` needs.
const link_map *last_needed(const link_map *program, const link_map *object, const link_map *last) {
  const char *strings = dynamic_strings(object);
  for (const ElfW(Dyn) *entry = object->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag != DT_NEEDED) continue;
    const char *name = base_name(strings + entry->d_un.d_val);
    bool after_last = false;
    for (const link_map *other = program; other != nullptr; other = other->l_next) {
      if (strcmp(base_name(other->l_name), name) == 0) {
        if (after_last) last = other;
        break;
      }
      if (other == last) after_last = true;
    }
  }
  return last;
}

// Returns the last object that the program was started with.  The loader lists objects in load
// order: the program, the libraries that it was started with, the libraries that were opened later.
// The last object of the start is the last that the program, or a library of
// the start, needs.
const link_map *last_of_program_start(const link_map *program) {
  const link_map *last = program;
  for (const link_map *object = program;; object = object->l_next) {
    last = last_needed(program, object, last);
    if (object == last) return last;
  }
}

// Returns the loaded object that contains an address, or NULL in a static program.
const link_map *object_at(const void *address) {
  Dl_info info;
  link_map *object = nullptr;
  dladdr1(address, &info, reinterpret_cast<void **>(&object), RTLD_DL_LINKMAP);
  return object;
}

// Returns the first loaded object: the program or, in a separate namespace, a library.
const link_map *first_object(const link_map *object) {
  while (object->l_prev != nullptr) object = object->l_prev;
  return object;
}

// Returns whether the object that contains `address` is the program or a library that it was
// started with.
bool part_of_program_start(const void *address) {
  const link_map *owner = object_at(address);
  if (owner == nullptr) return true;
  const link_map *first = first_object(owner);
  if (*first->l_name != '\0') return false;
  const link_map *opened = last_of_program_start(first)->l_next;
  while (opened != nullptr && opened != owner) opened = opened->l_next;
  return opened == nullptr;
}

void set_handler() { watching = atexit(note_exit) == 0; }

// Sets a second handler, in case a constructor set the first one too early.
void set_handler_at_thread_end(void * /*unused*/) { set_handler(); }

__attribute__((constructor)) void watch_from_start() {
  if (!part_of_program_start(&watching)) {
    set_handler();
  } else {
    __cxa_thread_atexit_impl(set_handler_at_thread_end, nullptr, &__dso_handle);
  }
}

}  // namespace

void tty_watch_for_exit() {
  const link_map *own = object_at(&watching);
  if (watching || own == nullptr) return;
  const bool any_opened = last_of_program_start(first_object(own))->l_next != nullptr;
  if (any_opened) set_handler();
}

bool tty_is_unloaded(const void *caller) { return !exiting && !part_of_program_start(caller); }

int __in_dlclose(void) { return tty_is_unloaded(__builtin_return_address(0)) ? 1 : 0; }
