// The database in C++: owning handles, typed entries and items, a range
// of lines.
#include <cstdlib>
#include <iostream>
#include <tty_db.hpp>
#include <utility>

namespace {

constexpr std::uint32_t kSerial = 1;
constexpr std::uint32_t kErrors = 1;  // the key of an item: an unsigned

struct port {
  tty_db_tty_type tty;  // the head comes first
  unsigned baud;
};

void run() {
  ttydb::database db(ttydb::options::all);
  // A temporary entry is unlocked at the end of its statement.
  db.register_line<port>(kSerial, 7)->baud = 9600;
  db.register_line<port>(kSerial, 42)->baud = 115200;
  db.retrieve_line<port>(kSerial, 7)->baud = 19200;

  {
    const auto entry = db.retrieve_line<port>(kSerial, 42);
    entry.create<unsigned>(kErrors) = 3;
  }  // unlocked here

  for (const ttydb::position line : db.lines()) {
    const auto entry = db.retrieve_line<port>(line);
    std::cout << "line " << line.id << ": " << entry->baud << " baud";
    if (const auto *errors = entry.find<unsigned>(kErrors))
      std::cout << ", " << *errors << " errors";
    std::cout << '\n';
  }

  // Deregistering a held line frees its entry, and empties the guard.
  auto entry = db.retrieve_line<port>({kSerial, 42});
  if (entry->baud > 19200) db.deregister_line(std::move(entry));

  // With an error_code as the last argument, no operation throws.
  std::error_code ec;
  db.deregister_line(kSerial, 42, ec);
  if (ec == ttydb::errc::no_block) {
    std::cout << "line 42: " << ec.message() << '\n';
  }

  db.deregister_line(kSerial, 8);  // throws
}

}  // namespace

int main() {
  try {
    run();
  } catch (const std::system_error &failure) {
    std::cout << failure.what() << '\n';
    return failure.code() == ttydb::errc::not_registered ? EXIT_SUCCESS
                                                         : EXIT_FAILURE;
  }
  return EXIT_FAILURE;
}
