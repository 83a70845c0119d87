#include "columns.h"

#include <strings.h>

namespace tty_lines {

const std::array<ColumnType, kAllColumns> kColumns = {{
    {"NAME", "name of the device file below /dev", false, false, true},
    {"KIND", "console, serial, usb, pty, virtual or other", false, false, true},
    {"CATEGORY", "category that the line is registered in", true, false, true},
    {"ID", "id that the line is registered under", true, false, true},
    {"DEVICE", "major:minor device number", false, false, true},
    {"DRIVER", "name of the driver", false, true, true},
    {"OWNER", "user who owns the device file", false, true, false},
    {"SIZE", "columns and rows of the terminal; ids of the block", true, false, false},
    {"SPEED", "speed of the terminal in baud", true, false, false},
    {"PID", "foreground process group, or a process that has the line open", true, false, false},
    {"COMMAND", "command of that process", false, true, false},
    {"UART", "chip of a serial port", false, false, true},
    {"ADDRESS", "I/O port or memory address of a serial port", false, false, true},
    {"IRQ", "interrupt of a serial port", true, false, true},
    {"VENDOR", "maker of a USB device", false, true, true},
    {"MODEL", "product name of a USB device", false, true, true},
    {"SERIAL", "serial number of a USB device", false, true, true},
    {"USB-ID", "vendor:product number of a USB device", false, false, true},
    {"DETAIL", "what the line is, in a phrase", false, true, false},
    {"FIRST", "first id of the block (--by-driver)", true, false, true},
    {"REGISTERED", "lines registered in the block (--by-driver)", true, false, true},
    {"TAG", "tag of the block: the name of its driver (--by-driver)", false, true, true},
    {"TIME", "", false, false, true},
    {"EVENT", "", false, false, true},
}};

std::optional<Column> find_column(std::string_view name) {
  for (const Column column : column_range(0, kChoosable)) {
    if (strcasecmp(std::string(name).c_str(), kColumns[column].name) == 0) return column;
  }
  return std::nullopt;
}

std::vector<Column> column_range(std::uint32_t first, std::uint32_t end) {
  std::vector<Column> columns;
  for (std::uint32_t i = first; i < end; ++i) columns.push_back(static_cast<Column>(i));
  return columns;
}

}  // namespace tty_lines
