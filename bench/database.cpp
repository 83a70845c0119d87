// Creates a database with a line in each category, and destroys it.

#include "subjects.h"
#include "workloads.h"

void add_database_workloads() {
  add_workload("make_and_destroy/library", [] {
    return [](size_t) {
      Library library;
      for (uint16_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
        library.add({category, 5000});
      }
      return library.handle();
    };
  });
}
