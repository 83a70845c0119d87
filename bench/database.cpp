// Making a database with a line in each category, and destroying it.

#include "subjects.h"
#include "works.h"

void add_database_works() {
  add_work("make_and_destroy/library", [] {
    return [](size_t) {
      Library library;
      for (uint16_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
        library.add({category, 5000});
      }
      return library.handle();
    };
  });
}
