// The kinds of terminal lines.
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
  std::uint32_t category;  // of its lines
};

constexpr std::array<KindType, kNumKinds> kKinds = {{{"console", 0},
                                                     {"serial", 1},
                                                     {"usb", 2},
                                                     {"pty", 3},
                                                     {"virtual", 4},
                                                     {"bluetooth", 5},
                                                     {"other", 5}}};

// Returns the kind of a line by its name under /dev and the type of its driver.  If the line's bus
// is known, that decides instead.
Kind classify(std::string_view name, std::string_view driver_type);

// Returns the number at the end of a name, if there is one and it fits.
std::optional<std::uint32_t> number_in_name(std::string_view name);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_CLASSIFY_H
