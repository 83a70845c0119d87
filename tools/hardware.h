// Tells what hardware is behind a line, from sysfs alone.
#ifndef TTYDB_TOOLS_HARDWARE_H
#define TTYDB_TOOLS_HARDWARE_H

#include <string>

#include "columns.h"

namespace tty_lines {

// Fills in the cells of a serial port and of the USB device above a line.  `directory` is the
// descriptor of /sys/class/tty.  Returns whether the line is a serial
// port that has no UART.
bool read_hardware(int directory, const std::string& name, Cells& cells);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_HARDWARE_H
