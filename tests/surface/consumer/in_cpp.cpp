// Uses the library and a service of its platform.

#include <tty_platform.h>
#include <tty_db.hpp>

#include <cstdio>

int main() {
  ttydb::database db(ttydb::options::all);
  db.register_line<tty_db_tty_type>(1, 7);
  tty_db_tty_type *again;
  const char *text =
      qerr_strerror(tty_db_tty_register(db.native_handle(), 1, 7, sizeof(tty_db_tty_type), &again));
  std::puts(text != nullptr ? text : "no text");
}
