#include "options.h"

#include <getopt.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "classify.h"
#include "tty_db.h"

namespace tty_lines {
namespace {

enum Option { kHelp = 1, kVersion, kJson, kByDriver, kCategory, kWatch, kSysfs, kProc, kDev };

constexpr option kOptions[] = {
    {"help", no_argument, nullptr, kHelp},
    {"version", no_argument, nullptr, kVersion},
    {"json", no_argument, nullptr, kJson},
    {"by-driver", no_argument, nullptr, kByDriver},
    {"category", required_argument, nullptr, kCategory},
    {"watch", optional_argument, nullptr, kWatch},
    {"sysfs", required_argument, nullptr, kSysfs},
    {"proc", required_argument, nullptr, kProc},
    {"dev", required_argument, nullptr, kDev},
    {nullptr, 0, nullptr, 0},
};

constexpr const char* kDefaultSeconds = "2";
constexpr double kLeastSeconds = 0.001;
constexpr double kMostSeconds = 1e9;  // nanoseconds that fit

std::optional<std::chrono::nanoseconds> parse_seconds(const char* text) {
  if (std::isspace(static_cast<unsigned char>(*text)) != 0) return std::nullopt;
  char* end = nullptr;
  const double seconds = std::strtod(text, &end);
  // Not a number is in no range.
  if (*end != '\0' || !(seconds >= kLeastSeconds && seconds <= kMostSeconds)) return std::nullopt;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(seconds));
}

void complain(const char* program, const char* what, const char* argument) {
  std::fprintf(stderr, "%s: %s: '%s'\n", program, what, argument);
}

}  // namespace

const char* const kUsage =
    R"(usage: tty-lines [OPTION]...
Lists the terminal lines of this machine.

  --category N       list category N only: 0 virtual consoles, 1 serial ports, 2 USB serial,
                     3 pseudo-terminals, 4 virtualised consoles, 5 everything else
  --by-driver        keep a block of ids for each driver, and list the blocks
  --json             print JSON
  --watch [SECONDS]  then print a line for each terminal that comes (+) or goes (-), looking
                     every SECONDS (default 2), until interrupted
  --sysfs DIR        read DIR instead of /sys
  --proc DIR         read DIR instead of /proc
  --dev DIR          read DIR instead of /dev
  --help             print this help
  --version          print the version
)";

std::optional<Options> parse_options(int argc, char** argv) {
  Options options;
  // "+": the first word that is no option ends them, so that one behind --watch is next at hand.
  for (int option; (option = getopt_long(argc, argv, "+", kOptions, nullptr)) != -1;) {
    switch (option) {
      case kHelp:
        options.help = true;
        break;
      case kVersion:
        options.version = true;
        break;
      case kJson:
        options.json = true;
        break;
      case kByDriver:
        options.by_driver = true;
        break;
      case kCategory:
        options.category = parse_number(optarg);
        if (!options.category || *options.category > TTY_CATEGORY_MAX) {
          complain(argv[0], "bad category", optarg);
          return std::nullopt;
        }
        break;
      case kWatch: {
        const char* seconds = optarg;
        if (seconds == nullptr && optind < argc && argv[optind][0] != '-') seconds = argv[optind++];
        options.watch = parse_seconds(seconds == nullptr ? kDefaultSeconds : seconds);
        if (!options.watch) {
          complain(argv[0], "bad number of seconds", seconds);
          return std::nullopt;
        }
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
        return std::nullopt;
    }
  }
  if (optind < argc) {
    complain(argv[0], "unexpected argument", argv[optind]);
    return std::nullopt;
  }
  return options;
}

}  // namespace tty_lines
