// tty-lines: lists the terminal lines of this machine out of a registry, and keeps that in step
// with the machine.
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "options.h"
#include "output.h"
#include "print.h"
#include "registry.h"
#include "scan.h"
#include "text.h"

#ifndef TTYDB_VERSION
#define TTYDB_VERSION "1.0.0"
#endif

namespace tty_lines {
namespace {

constexpr int kFailure = 1;
constexpr int kBadUsage = 2;

void complain(const std::string& message) {
  std::fprintf(stderr, "tty-lines: %s\n", printable(message).c_str());
}

// What is drawn for people, and not for programs, is drawn on terminals only.
Style choose_style() {
  if (isatty(STDOUT_FILENO) == 0) return {false, nullptr};
  std::setlocale(LC_CTYPE, "");
  const char* no_colour = std::getenv("NO_COLOR");
  return {no_colour == nullptr || *no_colour == '\0',
          std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? "\u2500" : "-"};
}

// Follows the machine, and tells on standard error what cannot be registered as its name asks, when
// that is new.
class Follower {
 public:
  explicit Follower(const Options& options)
      : options_(options), style_(choose_style()), registry_(options.by_driver) {}

  std::string first_listing() {
    follow();
    const Listing listing{registry_.lines(options_.category), blocks(), registry_.totals()};
    return options_.json ? json(listing, options_.watch.has_value()) : table(listing, style_);
  }

  std::string next_changes() {
    std::string out;
    const std::vector<Change> changes = follow();
    for (const Change& change : changes) {
      if (options_.category.value_or(change.terminal.position.category) !=
          change.terminal.position.category) {
        continue;
      }
      out += options_.json ? json_change(change) : change_line(change, style_);
    }
    if (!out.empty() && options_.by_driver) {
      out += options_.json ? json_blocks(*blocks()) : block_table(*blocks(), style_);
    }
    return out;
  }

 private:
  std::vector<Change> follow() {
    Step step = registry_.follow(scan(options_.roots));
    std::sort(step.reports.begin(), step.reports.end());
    for (const std::string& report : step.reports) {
      if (!std::binary_search(reported_.begin(), reported_.end(), report)) complain(report);
    }
    reported_ = std::move(step.reports);
    return std::move(step.changes);
  }

  std::optional<std::vector<ListedBlock>> blocks() const {
    if (!options_.by_driver) return std::nullopt;
    return registry_.blocks(options_.category);
  }

  const Options& options_;
  Style style_;
  Registry registry_;
  std::vector<std::string> reported_;  // by the last scan, sorted
};

void run(const Options& options) {
  Output output;
  if (options.help || options.version) {
    output.write(options.help ? kUsage : "tty-lines " TTYDB_VERSION "\n");
    return;
  }
  if (options.watch) output.catch_stop_signals();
  Follower follower(options);
  bool open = output.write(follower.first_listing());
  while (options.watch && open) {
    open = output.wait(*options.watch) && output.write(follower.next_changes());
  }
}

}  // namespace
}  // namespace tty_lines

int main(int argc, char** argv) {
  try {
    const auto options = tty_lines::parse_options(argc, argv);
    if (!options) {
      std::fputs(tty_lines::kUsage, stderr);
      return tty_lines::kBadUsage;
    }
    tty_lines::run(*options);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    tty_lines::complain(failure.what());
    return tty_lines::kFailure;
  }
}
