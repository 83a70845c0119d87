// tty-lines: registers the terminal lines of this machine, and lists them.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "listing.h"
#include "options.h"
#include "tty_db.h"
#include "watch.h"

namespace tty_lines {
namespace {

constexpr int kFailure = 1;
constexpr int kBadUsage = 2;

std::string version() {
  return std::to_string(TTY_DB_VERSION_MAJOR) + '.' + std::to_string(TTY_DB_VERSION_MINOR) + '.' +
         std::to_string(TTY_DB_VERSION_PATCH);
}

std::string list_columns() {
  std::string out;
  for (const Column column : column_range(0, kChoosable)) {
    std::string name = kColumns[column].name;
    name.resize(12, ' ');
    out += name + kColumns[column].help + '\n';
  }
  return out;
}

// Returns whether everything could be read, found and registered.
bool list(const Options& options) {
  Listing listing(options);
  if (!options.watch) {
    write_output(listing.first());
    return listing.complete();
  }
  end_on_signals();
  const Watch watch(options.roots);
  bool open = write_output(listing.first());
  while (open) open = watch.wait(*options.watch) && write_output(listing.next());
  return true;
}

bool run(int argc, char** argv) {
  // If standard output is closed, the next file to be opened would take its place.
  if (fcntl(STDOUT_FILENO, F_GETFD) < 0) fail("standard output");
  std::setlocale(LC_CTYPE, "");
  static char name[] = "tty-lines";
  argv[0] = name;  // for the messages of getopt
  const Options options = parse_options(argc, argv);
  if (options.format == Format::kJson) std::setlocale(LC_CTYPE, "C.UTF-8");
  switch (options.action) {
    case Action::kList:
      return list(options);
    case Action::kListColumns:
      write_output(list_columns());
      break;
    case Action::kHelp:
      write_output(kUsage);
      break;
    case Action::kVersion:
      write_output("tty-lines " + version() + "\n");
      break;
  }
  return true;
}

}  // namespace
}  // namespace tty_lines

int main(int argc, char** argv) {
  try {
    return tty_lines::run(argc, argv) ? EXIT_SUCCESS : tty_lines::kFailure;
  } catch (const tty_lines::UsageError& error) {
    if (*error.what() != '\0') tty_lines::complain(error.what());
    std::fputs("Try 'tty-lines --help' for more information.\n", stderr);
    return tty_lines::kBadUsage;
  } catch (const std::exception& failure) {
    tty_lines::complain(failure);
    return tty_lines::kFailure;
  }
}
