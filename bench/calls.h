// The calls of the library: of the one that the program is linked with, or of one opened at run
// time.

#ifndef TTY_DB_BENCH_CALLS_H
#define TTY_DB_BENCH_CALLS_H

#include <dlfcn.h>

#include "lines.h"

// The linked library, called as any program calls it.
struct LinkedCalls {
  static constexpr auto create = [](auto... args) { return tty_db_create(args...); };
  static constexpr auto destroy = [](auto... args) { return tty_db_destroy(args...); };
  static constexpr auto details = [](auto... args) { return tty_db_get_details(args...); };
  static constexpr auto reserve = [](auto... args) { return tty_db_block_reserve(args...); };
  static constexpr auto add = [](auto... args) { return tty_db_tty_register(args...); };
  static constexpr auto remove = [](auto... args) { return tty_db_tty_deregister(args...); };
  static constexpr auto retrieve = [](auto... args) { return tty_db_tty_retrieve(args...); };
  static constexpr auto unlock = [](auto... args) { return tty_db_tty_unlock(args...); };
  static constexpr auto item_create = [](auto... args) { return tty_db_item_create(args...); };
  static constexpr auto item_get = [](auto... args) { return tty_db_item_get(args...); };
  static constexpr auto iterate_start = [](auto... args) { return tty_db_iterate_start(args...); };
  static constexpr auto iterate_next = [](auto... args) { return tty_db_iterate_next(args...); };
  static constexpr auto iterate_end = [](auto... args) { return tty_db_iterate_end(args...); };
};

// A library opened by its path.  It stays open, and its calls of itself stay within it.
struct OpenedCalls {
  explicit OpenedCalls(const char *path) : library(dlopen(path, RTLD_NOW | RTLD_DEEPBIND)) {
    require(library != nullptr, path);
    find(create, "tty_db_create");
    find(destroy, "tty_db_destroy");
    find(details, "tty_db_get_details");
    find(reserve, "tty_db_block_reserve");
    find(add, "tty_db_tty_register");
    find(remove, "tty_db_tty_deregister");
    find(retrieve, "tty_db_tty_retrieve");
    find(unlock, "tty_db_tty_unlock");
    find(item_create, "tty_db_item_create");
    find(item_get, "tty_db_item_get");
    find(iterate_start, "tty_db_iterate_start");
    find(iterate_next, "tty_db_iterate_next");
    find(iterate_end, "tty_db_iterate_end");
  }

  template <typename Function>
  void find(Function &function, const char *name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    require(function != nullptr, name);
  }

  void *library;
  decltype(&tty_db_create) create;
  decltype(&tty_db_destroy) destroy;
  decltype(&tty_db_get_details) details;
  decltype(&tty_db_block_reserve) reserve;
  decltype(&tty_db_tty_register) add;
  decltype(&tty_db_tty_deregister) remove;
  decltype(&tty_db_tty_retrieve) retrieve;
  decltype(&tty_db_tty_unlock) unlock;
  decltype(&tty_db_item_create) item_create;
  decltype(&tty_db_item_get) item_get;
  decltype(&tty_db_iterate_start) iterate_start;
  decltype(&tty_db_iterate_next) iterate_next;
  decltype(&tty_db_iterate_end) iterate_end;
};

#endif  // TTY_DB_BENCH_CALLS_H
