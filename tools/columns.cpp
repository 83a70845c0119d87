#include "columns.h"

#include <strings.h>

#include <algorithm>

namespace tty_lines {
namespace {

constexpr std::array<ColumnType, kAllColumns> kTypes = {{
    {kName, "NAME", "name of the device file under /dev", false, false, true},
    {kPath, "PATH", "path of the device file", false, false, false},
    {kKind, "KIND", "console, serial, usb, pty, virtual, bluetooth or other", false, false, true},
    {kCategory, "CATEGORY", "category that the line is registered in", true, false, true},
    {kId, "ID", "id that the line is registered under", true, false, true},
    {kDevice, "DEVICE", "major:minor device number", false, false, true},
    {kDriver, "DRIVER", "driver of the device", false, true, true},
    {kTtyDriver, "TTY-DRIVER", "entry in the table of terminal drivers", false, true, true},
    {kOwner, "OWNER", "user who owns the device file", false, true, false},
    {kGroup, "GROUP", "group of the device file", false, true, false},
    {kMode, "MODE", "permissions of the device file", false, false, false},
    {kAccess, "ACCESS", "what you may do: rw, r, w or -", false, false, false},
    {kSize, "SIZE", "columns and rows of a pseudo-terminal; ids of a block (--by-driver)", true,
     false, false},
    {kSpeed, "SPEED", "speed of a pseudo-terminal in baud", true, false, false},
    {kPid, "PID", "foreground process group, or a process that has the line open", true, false,
     false},
    {kCommand, "COMMAND", "command of PID; +N: N other processes have the line open", false, true,
     false},
    {kUsers, "USERS", "all processes that have the line open, as PID:COMMAND", false, true, false},
    {kLock, "LOCK", "process whose lock file claims the line", true, false, false},
    {kConsole, "CONSOLE", "yes if the kernel's messages go there", false, false, false},
    {kUart, "UART", "chip of a serial port", false, false, true},
    {kAddress, "ADDRESS", "I/O port or memory address of a serial port", false, false, true},
    {kIrq, "IRQ", "interrupt of a serial port", true, false, true},
    {kVendor, "VENDOR", "maker of a USB device", false, true, false},
    {kModel, "MODEL", "product name of a USB device", false, true, false},
    {kSerialNumber, "SERIAL", "serial number of a USB device", false, true, true},
    {kUsbId, "USB-ID", "vendor:product number of a USB device", false, false, true},
    {kPort, "PORT", "USB port that the device is plugged into", false, false, true},
    {kInterface, "INTERFACE", "number and name of the USB interface", false, true, true},
    {kById, "BY-ID", "link in /dev/serial/by-id", false, true, false},
    {kByPath, "BY-PATH", "link in /dev/serial/by-path", false, true, false},
    {kLinks, "LINKS", "all links to the device file, relative to /dev", false, true, false},
    {kDetail, "DETAIL", "short description of the line", false, true, false},
    {kFirst, "FIRST", "first id of the block (--by-driver)", true, false, true},
    {kRegistered, "REGISTERED", "lines registered in the block (--by-driver)", true, false, true},
    {kTag, "TAG", "tag of the block: the name of its driver (--by-driver)", false, true, true},
    {kTime, "TIME", "", false, false, true},
    {kEvent, "EVENT", "", false, false, true},
}};

constexpr bool in_order() {
  for (std::uint32_t i = 0; i < kAllColumns; ++i) {
    if (kTypes[i].column != i) return false;
  }
  return true;
}
static_assert(in_order(), "each column has its row");

}  // namespace

const std::array<ColumnType, kAllColumns> kColumns = kTypes;

std::optional<Column> find_column(std::string_view name) {
  std::string wanted(name);
  std::replace(wanted.begin(), wanted.end(), '_', '-');
  for (const Column column : column_range(0, kChoosable)) {
    if (strcasecmp(wanted.c_str(), kColumns[column].name) == 0) return column;
  }
  return std::nullopt;
}

std::vector<Column> column_range(std::uint32_t first, std::uint32_t end) {
  std::vector<Column> columns;
  for (std::uint32_t i = first; i < end; ++i) columns.push_back(static_cast<Column>(i));
  return columns;
}

}  // namespace tty_lines
