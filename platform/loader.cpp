// The loader query: does an explicit unload run the calling library's destructor, or the exit of
// the process?
//
// An exit handler tells, provided that it runs before the libraries' destructors.  That is so for a
// handler set once the program runs.  A handler set by a constructor at program start runs after
// the destructors and tells nothing; but the program, and a library that it was started with, is
// never unloaded: only the exit of the process runs its destructor.  So one fact answers for those,
// and the handler for libraries that are opened later.
//
// A host may bring any of the services, so the handler is set without a call of one.  If the
// stand-in is opened later itself, its constructor sets it.  If the program was started with the
// stand-in, the end of the main thread does: exit(3) runs it before all handlers.  Another thread
// may exit instead; so the services that a library calls when it is loaded set a handler too.
//
// Two exits are taken for an unload: that by another thread than main, if a constructor opened the
// library before main, or if the host brings all the services that set the handler.  And an unload
// by an exit handler that was set before the handler here is taken for the exit.

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

// Returns where the strings of a loaded object's dynamic section are: the loader may have relocated
// their address already.
const char *dynamic_strings(const link_map *object) {
  const ElfW(Dyn) *entry = object->l_ld;
  while (entry->d_tag != DT_STRTAB) ++entry;
  ElfW(Addr) strings = entry->d_un.d_ptr;
  if (strings < object->l_addr) strings += object->l_addr;
  return reinterpret_cast<const char *>(strings);
}

// Returns the later, in load order, of `last` and the objects that `object` needs.
const link_map *last_needed(const link_map *program, const link_map *object, const link_map *last) {
  const char *strings = dynamic_strings(object);
  for (const ElfW(Dyn) *entry = object->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag != DT_NEEDED) continue;
    const char *name = base_name(strings + entry->d_un.d_val);
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

// Returns the last object that the program has been started with.  The loader keeps its objects in
// the order in which it loaded them: the program, what it was started with, then what was opened.
// So those of the start end with the last one that any of them needs.
const link_map *last_of_program_start(const link_map *program) {
  const link_map *last = program;
  for (const link_map *object = program;; object = object->l_next) {
    last = last_needed(program, object, last);
    if (object == last) return last;
  }
}

// Returns the loaded object that holds an address; NULL in a program without a loader.
const link_map *object_at(const void *address) {
  Dl_info info;
  link_map *object = nullptr;
  dladdr1(address, &info, reinterpret_cast<void **>(&object), RTLD_DL_LINKMAP);
  return object;
}

// Returns the first of the loaded objects: the program or, in a namespace of its own, a library.
const link_map *first_object(const link_map *object) {
  while (object->l_prev != nullptr) object = object->l_prev;
  return object;
}

// Says whether the loaded object that holds `address` is the program, or a library that it has been
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

// Sets a handler again if a constructor has set one too early.
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
