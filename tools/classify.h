// Which category and id a terminal line has, told from its name and the type of its driver.
#ifndef TTYDB_TOOLS_CLASSIFY_H
#define TTYDB_TOOLS_CLASSIFY_H

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "tty_db.h"

namespace tty_lines {

enum Category : std::uint32_t {
  kVirtualConsole = 0,
  kSerial = 1,
  kUsbSerial = 2,
  kPseudoTerminal = 3,
  kVirtualisedConsole = 4,
  kOther = 5,
};

// What the kinds of lines are called, by category.
constexpr std::array<const char*, TTY_CATEGORY_MAX + 1> kKinds = {"console", "serial",  "usb",
                                                                  "pty",     "virtual", "other"};

struct Class {
  std::uint32_t category;
  // The number in the name, UINT32_MAX if it is above that; none in kOther, whose ids are given
  // out.
  std::optional<std::uint32_t> number;
};

// Classifies a line by its name below /dev.
Class classify(std::string_view name, std::string_view driver_type);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_CLASSIFY_H
