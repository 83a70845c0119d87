// What kind a terminal line is of.
#ifndef TTYDB_TOOLS_CLASSIFY_H
#define TTYDB_TOOLS_CLASSIFY_H

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tty_lines {

enum Kind : std::uint32_t {
  kVirtualConsole,
  kSerial,
  kUsb,
  kPseudoTerminal,
  kVirtualisedConsole,
  kBluetooth,
  kOther,
  kNumKinds,
};

struct KindType {
  const char* name;
  std::uint32_t category;  // in which its lines are registered
};

constexpr std::array<KindType, kNumKinds> kKinds = {{{"console", 0},
                                                     {"serial", 1},
                                                     {"usb", 2},
                                                     {"pty", 3},
                                                     {"virtual", 4},
                                                     {"bluetooth", 5},
                                                     {"other", 5}}};

// The kind of a line, told from its name below /dev and the type of its driver.  Where the bus of
// the line is known, that is what tells.
Kind classify(std::string_view name, std::string_view driver_type);

// The number at the end of a name; none if there is none, or it does not fit.
std::optional<std::uint32_t> number_in_name(std::string_view name);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_CLASSIFY_H
