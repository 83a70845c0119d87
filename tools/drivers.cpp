#include "drivers.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <sstream>

#include "classify.h"

namespace tty_lines {
namespace {

// Takes the row apart from its end: of the columns only the first, the name, may hold spaces.
std::optional<Driver> parse_row(const std::string& row) {
  std::istringstream stream(row);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
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
  return Driver{name, words[path], *major, *first, *last, words[path + 3]};
}

}  // namespace

std::vector<Driver> parse_drivers(const std::string& text) {
  std::vector<Driver> drivers;
  std::istringstream rows(text);
  for (std::string row; std::getline(rows, row);) {
    if (auto driver = parse_row(row)) drivers.push_back(*std::move(driver));
  }
  return drivers;
}

const Driver* find_driver(const std::vector<Driver>& drivers, std::uint32_t major,
                          std::uint32_t minor) {
  const auto found = std::find_if(drivers.begin(), drivers.end(), [&](const Driver& driver) {
    return driver.major == major && driver.first_minor <= minor && minor <= driver.last_minor;
  });
  return found == drivers.end() ? nullptr : &*found;
}

}  // namespace tty_lines
