// Parsers of the kernel's texts.
#ifndef TTYDB_TOOLS_PARSE_H
#define TTYDB_TOOLS_PARSE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace tty_lines {

struct Device {
  std::uint32_t major;
  std::uint32_t minor;

  friend bool operator==(Device left, Device right) {
    return left.major == right.major && left.minor == right.minor;
  }
  friend bool operator<(Device left, Device right) {
    return std::tie(left.major, left.minor) < std::tie(right.major, right.minor);
  }
};

inline std::string text(Device device) {
  return std::to_string(device.major) + ':' + std::to_string(device.minor);
}

// A row of the table of terminal drivers.
struct Driver {
  std::string name;  // empty if the kernel says "unknown"
  std::string path;  // prefix of its device files
  std::uint32_t major;
  std::uint32_t first_minor;
  std::uint32_t last_minor;
  std::string type;
};

// A process, with its controlling terminal, from the process table.
struct Process {
  std::uint32_t pid;
  std::string command;
  std::uint32_t group;
  std::optional<Device> terminal;
  std::optional<std::uint32_t> foreground;  // process group of the terminal
};

// Parses a string of digits.  Returns none for other text and for a value that does not fit.
std::optional<std::uint32_t> parse_number(std::string_view text);

// Parses "MAJOR:MINOR".
std::optional<Device> parse_device(std::string_view text);

// Parses the table of drivers.  Skips malformed rows.
std::vector<Driver> parse_drivers(const std::string& text);

// Parses /proc/PID/stat.
std::optional<Process> parse_process(std::string_view text);

// Returns the first driver whose range contains a device, or null.
const Driver* find_driver(const std::vector<Driver>& drivers, Device device);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_PARSE_H
