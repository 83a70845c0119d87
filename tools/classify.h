// Which category and id a terminal line has, told from its name and the type of its driver.
#ifndef TTYDB_TOOLS_CLASSIFY_H
#define TTYDB_TOOLS_CLASSIFY_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace tty_lines {

enum Category : std::uint32_t {
  kVirtualConsole = 0,
  kSerial = 1,
  kUsbSerial = 2,
  kPseudoTerminal = 3,
  kVirtualisedConsole = 4,
  kOther = 5,
};

struct Class {
  std::uint32_t category;
  // The number in the name, at most UINT32_MAX; none in kOther, whose ids are given out.
  std::optional<std::uint32_t> number;
};

// The value of a non-empty string of digits, UINT32_MAX if it is above that; none for other text.
std::optional<std::uint32_t> parse_number(std::string_view text);

// Classifies a line of the kernel's list; pseudo-terminals are not in it.
Class classify(std::string_view name, std::string_view driver_type);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_CLASSIFY_H
