#include "classify.h"

#include <cstddef>

#include "parse.h"

namespace tty_lines {
namespace {

struct Family {
  std::string_view prefix;
  std::uint32_t category;
};

// The families that are known by name.  Other ttyXXX families count as serial if their driver does:
// the driver of a USB adapter calls itself serial too.
constexpr Family kFamilies[] = {
    {"tty", kVirtualConsole},      {"ttyS", kSerial},
    {"ttyAMA", kSerial},           {"ttyUSB", kUsbSerial},
    {"ttyACM", kUsbSerial},        {"pts/", kPseudoTerminal},
    {"hvc", kVirtualisedConsole},  {"hvsi", kVirtualisedConsole},
    {"hvcs", kVirtualisedConsole}, {"xvc", kVirtualisedConsole},
};

}  // namespace

Class classify(std::string_view name, std::string_view driver_type) {
  const std::size_t prefix_size = name.find_last_not_of("0123456789") + 1;
  if (prefix_size == name.size()) return {kOther, std::nullopt};
  const std::string_view prefix = name.substr(0, prefix_size);
  const std::uint32_t number = parse_number(name.substr(prefix_size)).value_or(UINT32_MAX);

  for (const Family& family : kFamilies) {
    if (prefix == family.prefix) return {family.category, number};
  }
  if (prefix.substr(0, 3) == "tty" && driver_type == "serial") return {kSerial, number};
  return {kOther, std::nullopt};
}

}  // namespace tty_lines
