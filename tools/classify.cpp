#include "classify.h"

#include <cstddef>

#include "parse.h"

namespace tty_lines {
namespace {

struct Family {
  std::string_view prefix;
  Kind kind;
};

// The families known by name.  Any other tty* is serial if its driver is of type serial, as the
// drivers of USB adapters are, too.
constexpr Family kFamilies[] = {
    {"tty", kVirtualConsole},
    {"ttyS", kSerial},
    {"ttyAMA", kSerial},
    {"ttyUSB", kUsb},
    {"ttyACM", kUsb},
    {"pts/", kPseudoTerminal},
    {"hvc", kVirtualisedConsole},
    {"hvsi", kVirtualisedConsole},
    {"hvcs", kVirtualisedConsole},
    {"xvc", kVirtualisedConsole},
    {"rfcomm", kBluetooth},
};

std::size_t prefix_size(std::string_view name) { return name.find_last_not_of("0123456789") + 1; }

}  // namespace

Kind classify(std::string_view name, std::string_view driver_type) {
  const std::string_view prefix = name.substr(0, prefix_size(name));
  if (prefix == name) return kOther;
  for (const Family& family : kFamilies) {
    if (prefix == family.prefix) return family.kind;
  }
  return prefix.substr(0, 3) == "tty" && driver_type == "serial" ? kSerial : kOther;
}

std::optional<std::uint32_t> number_in_name(std::string_view name) {
  return parse_number(name.substr(prefix_size(name)));
}

}  // namespace tty_lines
