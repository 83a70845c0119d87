#include "parse.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <sstream>
#include <system_error>

namespace tty_lines {
namespace {

std::vector<std::string> split_words(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// Removes the first word from a text and returns it, or "" if there is none.
std::string_view take_word(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \n"), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(" \n"));
  text.remove_prefix(word.size());
  return word;
}

// Parses from the end of the row: only the first column, the name, may contain spaces.
std::optional<Driver> parse_row(const std::string& row) {
  const std::vector<std::string> words = split_words(row);
  if (words.size() < 5) return std::nullopt;

  const std::size_t path = words.size() - 4;
  const std::string& minors = words[path + 2];
  const std::size_t dash = minors.find('-');
  const auto major = parse_number(words[path + 1]);
  const auto first = parse_number(minors.substr(0, dash));
  const auto last = dash == std::string::npos ? first : parse_number(minors.substr(dash + 1));
  if (!major || !first || !last) return std::nullopt;

  std::string name = words[0];
  for (std::size_t i = 1; i < path; ++i) name += ' ' + words[i];
  if (name == "unknown") name.clear();
  return Driver{name, words[path], *major, *first, *last, words[path + 3]};
}

}  // namespace

std::optional<std::uint32_t> parse_number(std::string_view text) {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return value;
}

std::optional<Device> parse_device(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto major = parse_number(text.substr(0, colon));
  const auto minor = parse_number(text.substr(colon + 1));
  if (!major || !minor) return std::nullopt;
  return Device{*major, *minor};
}

std::vector<Driver> parse_drivers(const std::string& text) {
  std::vector<Driver> drivers;
  std::istringstream rows(text);
  for (std::string row; std::getline(rows, row);) {
    if (auto driver = parse_row(row)) drivers.push_back(*std::move(driver));
  }
  return drivers;
}

// PID (COMMAND) STATE PARENT GROUP SESSION TERMINAL FOREGROUND ...; a command can contain anything.
std::optional<Process> parse_process(std::string_view text) {
  const std::size_t open = text.find(" (");
  const std::size_t close = text.rfind(')');
  if (close == std::string_view::npos || open >= close) return std::nullopt;
  const auto pid = parse_number(text.substr(0, open));
  std::string_view rest = text.substr(close + 1);
  std::array<std::string_view, 6> words;
  for (std::string_view& word : words) word = take_word(rest);
  const auto group = parse_number(words[2]);
  const auto terminal = parse_number(words[4]);
  if (!pid || !group || !terminal) return std::nullopt;
  Process process{*pid, std::string(text.substr(open + 2, close - open - 2)), *group, {}, {}};
  if (*terminal != 0) process.terminal = Device{major(*terminal), minor(*terminal)};
  if (const auto foreground = parse_number(words[5]); foreground.value_or(0) != 0) {
    process.foreground = foreground;
  }
  return process;
}

const Driver* find_driver(const std::vector<Driver>& drivers, Device device) {
  const auto found = std::find_if(drivers.begin(), drivers.end(), [&](const Driver& driver) {
    return driver.major == device.major && driver.first_minor <= device.minor &&
           device.minor <= driver.last_minor;
  });
  return found == drivers.end() ? nullptr : &*found;
}

}  // namespace tty_lines
