#include "classify.h"

#include <algorithm>
#include <cstddef>

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
    {"ttyACM", kUsbSerial},        {"hvc", kVirtualisedConsole},
    {"hvsi", kVirtualisedConsole}, {"hvcs", kVirtualisedConsole},
    {"xvc", kVirtualisedConsole},
};

}  // namespace

std::optional<std::uint32_t> parse_number(std::string_view text) {
  if (text.empty()) return std::nullopt;
  std::uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(c - '0'), UINT32_MAX);
  }
  return static_cast<std::uint32_t>(value);
}

Class classify(std::string_view name, std::string_view driver_type) {
  const std::size_t prefix_size = name.find_last_not_of("0123456789") + 1;
  const std::string_view prefix = name.substr(0, prefix_size);
  const auto number = parse_number(name.substr(prefix_size));
  if (!number) return {kOther, std::nullopt};

  for (const Family& family : kFamilies) {
    if (prefix == family.prefix) return {family.category, number};
  }
  if (prefix.substr(0, 3) == "tty" && driver_type == "serial") return {kSerial, number};
  return {kOther, std::nullopt};
}

}  // namespace tty_lines
