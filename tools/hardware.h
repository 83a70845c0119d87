// Reads the hardware of a line from sysfs.
#ifndef TTYDB_TOOLS_HARDWARE_H
#define TTYDB_TOOLS_HARDWARE_H

#include <optional>
#include <string>

#include "classify.h"
#include "columns.h"

namespace tty_lines {

struct Hardware {
  bool has_no_uart;         // a serial port without a UART
  std::optional<Kind> bus;  // the kind of line by its bus, if known
};

// Fills in the cells of the port and its device.  `directory` is the descriptor of /sys/class/tty,
// `udev` the path of udev's file on the line, which names the maker and the model of a USB device
// that does not.
Hardware read_hardware(int directory, const std::string& name, const std::string& udev,
                       Cells& cells);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_HARDWARE_H
