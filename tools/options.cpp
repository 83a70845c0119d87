#include "options.h"

#include <getopt.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#include "classify.h"
#include "parse.h"
#include "tty_db.h"

namespace tty_lines {
namespace {

enum Option {
  kByDriver = UCHAR_MAX + 1,
  kCategoryOption,
  kWatch,
  kSysfs,
  kProc,
  kDev,
  kLockOption,
  kUdev
};

constexpr option kOptions[] = {
    {"all", no_argument, nullptr, 'a'},
    {"by-driver", no_argument, nullptr, kByDriver},
    {"category", required_argument, nullptr, kCategoryOption},
    {"dev", required_argument, nullptr, kDev},
    {"help", no_argument, nullptr, 'h'},
    {"json", no_argument, nullptr, 'J'},
    {"kind", required_argument, nullptr, 'k'},
    {"list", no_argument, nullptr, 'l'},
    {"list-columns", no_argument, nullptr, 'H'},
    {"lock", required_argument, nullptr, kLockOption},
    {"noheadings", no_argument, nullptr, 'n'},
    {"output", required_argument, nullptr, 'o'},
    {"output-all", no_argument, nullptr, 'O'},
    {"pairs", no_argument, nullptr, 'P'},
    {"paths", no_argument, nullptr, 'p'},
    {"proc", required_argument, nullptr, kProc},
    {"raw", no_argument, nullptr, 'r'},
    {"sort", required_argument, nullptr, 'x'},
    {"sysfs", required_argument, nullptr, kSysfs},
    {"udev", required_argument, nullptr, kUdev},
    {"version", no_argument, nullptr, 'V'},
    {"watch", optional_argument, nullptr, kWatch},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void refuse(const std::string& what, std::string_view argument) {
  throw UsageError(what + ": '" + std::string(argument) + "'");
}

std::chrono::nanoseconds parse_seconds(const char* text) {
  constexpr double kLeast = 0.001;
  constexpr double kMost = 1e9;  // nanoseconds that fit
  char* end = nullptr;
  const double seconds = std::strtod(text, &end);
  // A NaN fails both comparisons.
  if (std::isspace(static_cast<unsigned char>(*text)) != 0 || *end != '\0' ||
      !(seconds >= kLeast && seconds <= kMost)) {
    refuse("bad number of seconds", text);
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(seconds));
}

// Calls add(word) for each word of a comma-separated list.
template <class Add>
void for_each_word(std::string_view list, Add add) {
  for (;;) {
    const std::size_t comma = list.find(',');
    add(list.substr(0, comma));
    if (comma == std::string_view::npos) return;
    list.remove_prefix(comma + 1);
  }
}

Column parse_column(std::string_view word) {
  const auto column = find_column(word);
  if (!column) refuse("unknown column", word);
  return *column;
}

void choose_columns(Options& options, std::string_view list) {
  options.columns.clear();
  options.default_columns = list.substr(0, 1) == "+";
  if (options.default_columns) list.remove_prefix(1);
  for_each_word(list,
                [&](std::string_view word) { options.columns.push_back(parse_column(word)); });
}

void choose_kinds(Options& options, std::string_view list) {
  for_each_word(list, [&](std::string_view word) {
    for (const KindType& kind : kKinds) {
      if (strcasecmp(std::string(word).c_str(), kind.name) != 0) continue;
      options.kinds.insert(kind.name);
      return;
    }
    refuse("unknown kind", word);
  });
}

void choose_format(Options& options, Format format) {
  if (options.format != Format::kTable && options.format != format) {
    throw UsageError("--json, --pairs and --raw are mutually exclusive");
  }
  options.format = format;
}

}  // namespace

const char* const kUsage =
    R"(Usage: tty-lines [OPTION]... [LINE]...

List the terminal lines of this machine, their hardware and their users. A LINE is a name
(ttyUSB0) or a path (/dev/serial/by-id/...). By default, idle lines are not listed.

 -a, --all              list idle lines, too: serial ports without a UART, unused virtual
                        consoles, and special files (console, ptmx, tty, tty0)
 -k, --kind LIST        list only lines of these kinds, idle or not:
                        console, serial, usb, pty, virtual, bluetooth, other
     --category N       list only lines of category N, idle or not
     --by-driver        group lines into blocks, one for each contiguous range of a driver's
                        ids, and print a tree
 -l, --list             with --by-driver: print a list, not a tree

 -o, --output LIST      print these columns; +LIST adds them to the default ones
 -O, --output-all       print all columns
 -x, --sort COLUMN      sort by a column, numbers in numeric order
 -p, --paths            print full paths in the column NAME
 -J, --json             print JSON, by default with all columns
 -P, --pairs            print KEY="value" pairs
 -r, --raw              print words separated by spaces, for scripts
 -n, --noheadings       print no headings and no totals
 -H, --list-columns     list the columns and exit

     --watch [SECONDS]  after the list, print lines that appear (+) and disappear (-), until
                        interrupted; scan on kernel events and every SECONDS (default 2)

     --sysfs DIR        read DIR instead of /sys
     --proc DIR         read DIR instead of /proc
     --dev DIR          read DIR instead of /dev
     --lock DIR         read DIR instead of /run/lock
     --udev DIR         read DIR instead of /run/udev

 -h, --help             print this help and exit
 -V, --version          print the version and exit
)";

Options parse_options(int argc, char** argv) {
  Options options;
  // "-": getopt does not reorder the arguments, so that the word after --watch is next.
  for (int option;
       (option = getopt_long(argc, argv, "-ahHJk:lno:OpPrVx:", kOptions, nullptr)) != -1;) {
    switch (option) {
      case 1:
        options.devices.emplace_back(optarg);
        break;
      case 'a':
        options.all = true;
        break;
      case 'h':
        options.action = Action::kHelp;
        return options;
      case 'J':
        choose_format(options, Format::kJson);
        break;
      case 'k':
        choose_kinds(options, optarg);
        break;
      case 'H':
        options.action = Action::kListColumns;
        break;
      case 'l':
        options.list = true;
        break;
      case 'n':
        options.headings = false;
        break;
      case 'o':
        choose_columns(options, optarg);
        break;
      case 'O':
        options.all_columns = true;
        break;
      case 'p':
        options.full_paths = true;
        break;
      case 'P':
        choose_format(options, Format::kPairs);
        break;
      case 'r':
        choose_format(options, Format::kRaw);
        break;
      case 'x':
        options.sort_by = parse_column(optarg);
        break;
      case 'V':
        options.action = Action::kVersion;
        return options;
      case kByDriver:
        options.by_driver = true;
        break;
      case kCategoryOption:
        options.category = parse_number(optarg);
        if (options.category.value_or(UINT32_MAX) > TTY_CATEGORY_MAX) {
          refuse("bad category", optarg);
        }
        break;
      case kWatch: {
        constexpr const char* kDefaultSeconds = "2";
        const char* seconds = optarg;
        if (seconds == nullptr && optind < argc &&
            std::isdigit(static_cast<unsigned char>(argv[optind][0])) != 0) {
          seconds = argv[optind++];
        }
        options.watch = parse_seconds(seconds == nullptr ? kDefaultSeconds : seconds);
        break;
      }
      case kSysfs:
        options.roots.sysfs = optarg;
        break;
      case kProc:
        options.roots.proc = optarg;
        break;
      case kDev:
        options.roots.dev = optarg;
        break;
      case kLockOption:
        options.roots.lock = optarg;
        break;
      case kUdev:
        options.roots.udev = optarg;
        break;
      default:
        throw UsageError("");
    }
  }
  if (options.all_columns) {
    options.columns = column_range(0, options.by_driver ? kChoosable : kLineColumns);
    options.default_columns = false;
  }
  options.devices.insert(options.devices.end(), argv + optind, argv + argc);
  return options;
}

}  // namespace tty_lines
