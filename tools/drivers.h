// The table of the kernel's terminal drivers.
#ifndef TTYDB_TOOLS_DRIVERS_H
#define TTYDB_TOOLS_DRIVERS_H

#include <cstdint>
#include <string>
#include <vector>

namespace tty_lines {

struct Driver {
  std::string name;
  std::string path;  // what the names of its device files begin with
  std::uint32_t major;
  std::uint32_t first_minor;
  std::uint32_t last_minor;
  std::string type;
};

// Parses the table's text; rows of another form than the kernel's are passed over.
std::vector<Driver> parse_drivers(const std::string& text);

// The first driver whose range holds a device; null if there is none.
const Driver* find_driver(const std::vector<Driver>& drivers, std::uint32_t major,
                          std::uint32_t minor);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_DRIVERS_H
