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

namespace tty_lines {
namespace {

enum Option { kByDriver = UCHAR_MAX + 1, kCategoryOption, kWatch, kSysfs, kProc, kDev };

constexpr option kOptions[] = {
    {"all", no_argument, nullptr, 'a'},
    {"by-driver", no_argument, nullptr, kByDriver},
    {"category", required_argument, nullptr, kCategoryOption},
    {"dev", required_argument, nullptr, kDev},
    {"help", no_argument, nullptr, 'h'},
    {"json", no_argument, nullptr, 'J'},
    {"kind", required_argument, nullptr, 'k'},
    {"list-columns", no_argument, nullptr, 'l'},
    {"noheadings", no_argument, nullptr, 'n'},
    {"output", required_argument, nullptr, 'o'},
    {"proc", required_argument, nullptr, kProc},
    {"raw", no_argument, nullptr, 'r'},
    {"sysfs", required_argument, nullptr, kSysfs},
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
  // Not a number is in no range.
  if (std::isspace(static_cast<unsigned char>(*text)) != 0 || *end != '\0' ||
      !(seconds >= kLeast && seconds <= kMost)) {
    refuse("bad number of seconds", text);
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(seconds));
}

// Calls add(word) for each word of a list with commas.
template <class Add>
void for_each_word(std::string_view list, Add add) {
  for (;;) {
    const std::size_t comma = list.find(',');
    add(list.substr(0, comma));
    if (comma == std::string_view::npos) return;
    list.remove_prefix(comma + 1);
  }
}

void choose_columns(Options& options, std::string_view list) {
  options.columns.clear();
  options.default_columns = list.substr(0, 1) == "+";
  if (options.default_columns) list.remove_prefix(1);
  for_each_word(list, [&](std::string_view word) {
    const auto column = find_column(word);
    if (!column) refuse("unknown column", word);
    options.columns.push_back(*column);
  });
}

void choose_kinds(Options& options, std::string_view list) {
  for_each_word(list, [&](std::string_view word) {
    for (const char* const kind : kKinds) {
      if (strcasecmp(std::string(word).c_str(), kind) != 0) continue;
      options.kinds.insert(kind);
      return;
    }
    refuse("unknown kind", word);
  });
}

void choose_format(Options& options, Format format) {
  if (options.format != Format::kTable && options.format != format) {
    throw UsageError("--json and --raw exclude each other");
  }
  options.format = format;
}

}  // namespace

const char* const kUsage =
    R"(Usage: tty-lines [OPTION]...

Lists the terminal lines of this machine: what hardware they are, and who uses them.

 -a, --all              also idle lines: ports without a UART, unused virtual consoles
 -k, --kind LIST        lines of these kinds only, idle or not:
                        console, serial, usb, pty, virtual, other
     --category N       lines of category N only, idle or not
     --by-driver        keep a block of ids for each driver, and list the lines as its children

 -o, --output LIST      print these columns; with +LIST besides the default ones
 -J, --json             print JSON, with all columns by default
 -r, --raw              print raw, for other programs to read
 -n, --noheadings       print no headings and no totals
 -l, --list-columns     list what columns there are, and exit

     --watch [SECONDS]  then print what comes (+) and what goes (-), until interrupted: at once
                        what the kernel announces, and every SECONDS (default 2) the rest

     --sysfs DIR        read DIR in place of /sys
     --proc DIR         read DIR in place of /proc
     --dev DIR          read DIR in place of /dev

 -h, --help             print this help, and exit
 -V, --version          print the version, and exit
)";

Options parse_options(int argc, char** argv) {
  Options options;
  // "+": the first word that is no option ends them, so that one behind --watch is next at hand.
  for (int option; (option = getopt_long(argc, argv, "+ahJk:lno:rV", kOptions, nullptr)) != -1;) {
    switch (option) {
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
      case 'l':
        options.action = Action::kListColumns;
        break;
      case 'n':
        options.headings = false;
        break;
      case 'o':
        choose_columns(options, optarg);
        break;
      case 'r':
        choose_format(options, Format::kRaw);
        break;
      case 'V':
        options.action = Action::kVersion;
        return options;
      case kByDriver:
        options.by_driver = true;
        break;
      case kCategoryOption:
        options.category = parse_number(optarg);
        if (options.category.value_or(kKinds.size()) >= kKinds.size()) {
          refuse("bad category", optarg);
        }
        break;
      case kWatch: {
        constexpr const char* kDefaultSeconds = "2";
        const char* seconds = optarg;
        if (seconds == nullptr && optind < argc && argv[optind][0] != '-') seconds = argv[optind++];
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
      default:
        throw UsageError("");
    }
  }
  if (optind < argc) refuse("unexpected argument", argv[optind]);
  return options;
}

}  // namespace tty_lines
