#include "hardware.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <linux/serial_core.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "files.h"
#include "parse.h"

namespace tty_lines {
namespace {

// The chips by the kernel's numbers.
constexpr std::pair<std::uint32_t, const char*> kUarts[] = {
    {PORT_8250, "8250"},
    {PORT_16450, "16450"},
    {PORT_16550, "16550"},
    {PORT_16550A, "16550A"},
    {PORT_CIRRUS, "Cirrus"},
    {PORT_16650, "16650"},
    {PORT_16650V2, "16650V2"},
    {PORT_16750, "16750"},
    {PORT_STARTECH, "Startech"},
    {PORT_16C950, "16C950"},
    {PORT_16654, "16654"},
    {PORT_16850, "16850"},
    {PORT_RSA, "RSA"},
    {PORT_NS16550A, "NS16550A"},
    {PORT_XSCALE, "XScale"},
    {PORT_RM9000, "RM9000"},
    {PORT_OCTEON, "OCTEON"},
    {PORT_AR7, "AR7"},
    {PORT_U6_16550A, "U6 16550A"},
    {PORT_TEGRA, "Tegra"},
    {PORT_XR17D15X, "XR17D15X"},
    {PORT_LPC3220, "LPC3220"},
    {PORT_8250_CIR, "8250 CIR"},
    {PORT_XR17V35X, "XR17V35X"},
    {PORT_BRCM_TRUMANAGE, "BRCM TRUMANAGE"},
    {PORT_ALTR_16550_F32, "ALTR 16550 F32"},
    {PORT_ALTR_16550_F64, "ALTR 16550 F64"},
    {PORT_ALTR_16550_F128, "ALTR 16550 F128"},
    {PORT_RT2880, "RT2880"},
    {PORT_16550A_FSL64, "16550A FSL64"},
    {PORT_PXA, "PXA"},
    {PORT_AMBA, "PL011"},
    {PORT_CLPS711X, "CLPS711X"},
    {PORT_SA1100, "SA1100"},
    {PORT_UART00, "UART00"},
    {PORT_OWL, "OWL"},
    {PORT_21285, "21285"},
    {PORT_SUNZILOG, "SUNZILOG"},
    {PORT_SUNSAB, "SUNSAB"},
    {PORT_NPCM, "NPCM"},
    {PORT_TEGRA_TCU, "TEGRA TCU"},
    {PORT_ASPEED_VUART, "ASPEED VUART"},
    {PORT_PCH_8LINE, "PCH 8LINE"},
    {PORT_PCH_2LINE, "PCH 2LINE"},
    {PORT_DZ, "DZ"},
    {PORT_ZS, "ZS"},
    {PORT_MUX, "MUX"},
    {PORT_ATMEL, "Atmel"},
    {PORT_MAC_ZILOG, "MAC ZILOG"},
    {PORT_PMAC_ZILOG, "PMAC ZILOG"},
    {PORT_SCI, "SCI"},
    {PORT_SCIF, "SCIF"},
    {PORT_IRDA, "IRDA"},
    {PORT_S3C2410, "S3C2410"},
    {PORT_IP22ZILOG, "IP22ZILOG"},
    {PORT_LH7A40X, "LH7A40X"},
    {PORT_CPM, "CPM"},
    {PORT_ICOM, "ICOM"},
    {PORT_S3C2440, "S3C2440"},
    {PORT_IMX, "i.MX"},
    {PORT_MPSC, "MPSC"},
    {PORT_TXX9, "TXX9"},
    {PORT_S3C2400, "S3C2400"},
    {PORT_M32R_SIO, "M32R SIO"},
    {PORT_JSM, "JSM"},
    {PORT_SUNHV, "SUNHV"},
    {PORT_S3C2412, "S3C2412"},
    {PORT_UARTLITE, "UARTLITE"},
    {PORT_BFIN, "BFIN"},
    {PORT_SB1250_DUART, "SB1250 DUART"},
    {PORT_MCF, "MCF"},
    {PORT_BFIN_SPORT, "BFIN SPORT"},
    {PORT_MN10300, "MN10300"},
    {PORT_MN10300_CTS, "MN10300 CTS"},
    {PORT_SC26XX, "SC26XX"},
    {PORT_SCIFA, "SCIFA"},
    {PORT_S3C6400, "S3C6400"},
    {PORT_NWPSERIAL, "NWPSERIAL"},
    {PORT_MAX3100, "MAX3100"},
    {PORT_TIMBUART, "TIMBUART"},
    {PORT_MSM, "MSM"},
    {PORT_BCM63XX, "BCM63XX"},
    {PORT_APBUART, "APBUART"},
    {PORT_ALTERA_JTAGUART, "ALTERA JTAGUART"},
    {PORT_ALTERA_UART, "ALTERA UART"},
    {PORT_SCIFB, "SCIFB"},
    {PORT_MAX310X, "MAX310X"},
    {PORT_DA830, "DA830"},
    {PORT_OMAP, "OMAP"},
    {PORT_VT8500, "VT8500"},
    {PORT_XUARTPS, "XUARTPS"},
    {PORT_AR933X, "AR933X"},
    {PORT_ARC, "ARC"},
    {PORT_RP2, "RP2"},
    {PORT_LPUART, "LPUART"},
    {PORT_HSCIF, "HSCIF"},
    {PORT_ASC, "ASC"},
    {PORT_TILEGX, "TILEGX"},
    {PORT_MEN_Z135, "MEN Z135"},
    {PORT_SC16IS7XX, "SC16IS7XX"},
    {PORT_MESON, "MESON"},
    {PORT_DIGICOLOR, "DIGICOLOR"},
    {PORT_SPRD, "SPRD"},
    {PORT_CRIS, "CRIS"},
    {PORT_STM32, "STM32"},
    {PORT_MVEBU, "MVEBU"},
    {PORT_PIC32, "PIC32"},
    {PORT_MPS2UART, "MPS2UART"},
    {PORT_MTK_BTIF, "MTK BTIF"},
    {PORT_RDA, "RDA"},
    {PORT_MLB_USIO, "MLB USIO"},
    {PORT_SIFIVE_V0, "SIFIVE V0"},
    {PORT_SUNIX, "SUNIX"},
    {PORT_LINFLEXUART, "LINFLEXUART"},
    {PORT_SUNPLUS, "SUNPLUS"}};

// Returns the chip of a type or, for an unknown type, the driver.
std::string uart_name(const std::string& type, const std::string& driver) {
  for (const auto& [number, name] : kUarts) {
    if (type == std::to_string(number)) return name;
  }
  return driver.empty() ? "type " + type : driver;
}

// "0x3F8" as "0x3f8"; empty for zero.
std::string address(const std::string& text) {
  const unsigned long long value = std::strtoull(text.c_str(), nullptr, 16);
  std::array<char, 24> out = {};
  if (value != 0) std::snprintf(out.data(), out.size(), "%#llx", value);
  return out.data();
}

void append(std::string& phrase, const char* separator, const std::string& text) {
  if (!text.empty()) phrase += (phrase.empty() ? "" : separator) + text;
}

// Fills in the cells of a serial port.  Returns whether it is one without a UART.
bool read_serial_port(int directory, const std::string& name, Cells& cells) {
  const auto attribute = [&](const char* which) { return read_line(directory, name + which); };
  const std::string type = attribute("/type");
  if (type.empty()) return false;
  if (type == std::to_string(PORT_UNKNOWN)) {
    cells[kDetail] = "no UART found";
    return true;
  }
  cells[kUart] = uart_name(type, cells[kDriver]);
  cells[kAddress] = address(attribute("/port"));
  if (cells[kAddress].empty()) cells[kAddress] = address(attribute("/iomem_base"));
  const std::uint32_t irq = parse_number(attribute("/irq")).value_or(0);
  if (irq != 0) cells[kIrq] = std::to_string(irq);

  std::string& detail = cells[kDetail] = cells[kUart];
  append(detail, " at ", cells[kAddress]);
  append(detail, ", irq ", cells[kIrq]);
  // The highest speed is a 16th of the clock: 115200 baud in most PCs.
  constexpr unsigned long kUsualSpeed = 115200;
  const unsigned long speed = std::strtoul(attribute("/uartclk").c_str(), nullptr, 10) / 16;
  if (speed != 0 && speed != kUsualSpeed) {
    append(detail, ", up to ", std::to_string(speed) + " baud");
  }
  return false;
}

std::string base_name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// Returns the last part of a symbolic link's target, or "" if there is no such link.
std::string link_target(int directory, const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t size = readlinkat(directory, path.c_str(), target.data(), target.size());
  return size <= 0 ? "" : base_name({target.data(), static_cast<std::size_t>(size)});
}

// Returns the driver of the device.  Recent kernels have two levels between a serial port and its
// device, with the drivers "port" and "ctrl".
std::string find_driver_name(int directory, const std::string& name) {
  std::string up = name + "/device";
  std::string driver = link_target(directory, up + "/driver");
  while (driver == "port" || driver == "ctrl") {
    up += "/..";
    driver = link_target(directory, up + "/driver");
  }
  return driver;
}

// Describes the interface of a USB device: its number and name.
std::string describe_interface(int directory, const std::string& interface, const Cells& cells) {
  const std::string number = read_line(directory, interface + "/bInterfaceNumber");
  if (interface.empty() || number.empty()) return "";
  std::string out = std::to_string(std::strtoul(number.c_str(), nullptr, 16));
  const std::string text = read_line(directory, interface + "/interface");
  if (!text.empty() && text != cells[kModel]) out += ": " + text;
  return out;
}

// Returns a property from a file of udev, which has "E:KEY=value".
std::string udev_property(const std::string& udev, const std::string& key) {
  std::istringstream lines(read_file(AT_FDCWD, udev).value_or(""));
  const std::string start = "E:" + key + '=';
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, start.size(), start) == 0) return line.substr(start.size());
  }
  return "";
}

// Searches the line's device and its parents for a USB device; the interface is the level below.
// Returns whether there is one.
bool read_usb_device(int directory, const std::string& name, const std::string& udev,
                     Cells& cells) {
  constexpr int kMostLevels = 8;
  std::string below;
  std::string up = name + "/device";
  for (int i = 0; i < kMostLevels && faccessat(directory, up.c_str(), F_OK, 0) == 0; ++i) {
    const auto attribute = [&](const char* which) { return read_line(directory, up + which); };
    if (const std::string id = attribute("/idVendor"); !id.empty()) {
      cells[kUsbId] = id + ':' + attribute("/idProduct");
      cells[kVendor] = attribute("/manufacturer");
      cells[kModel] = attribute("/product");
      cells[kSerialNumber] = attribute("/serial");
      if (cells[kVendor].empty()) cells[kVendor] = udev_property(udev, "ID_VENDOR_FROM_DATABASE");
      if (cells[kModel].empty()) cells[kModel] = udev_property(udev, "ID_MODEL_FROM_DATABASE");
      cells[kPort] =
          attribute("/devpath").empty() ? "" : attribute("/busnum") + '-' + attribute("/devpath");
      cells[kInterface] = describe_interface(directory, below, cells);

      std::string& detail = cells[kDetail] = cells[kVendor];
      append(detail, " ", cells[kModel].empty() ? "USB " + cells[kUsbId] : cells[kModel]);
      append(detail, ", serial ", cells[kSerialNumber]);
      if (cells[kInterface] != "0") append(detail, ", interface ", cells[kInterface]);
      return true;
    }
    below = up;
    up += "/..";
  }
  return false;
}

// A Bluetooth line names its peer.
void read_bluetooth(int directory, const std::string& name, Cells& cells) {
  cells[kDetail] = read_line(directory, name + "/address");
  append(cells[kDetail], ", channel ", read_line(directory, name + "/channel"));
}

}  // namespace

Hardware read_hardware(int directory, const std::string& name, const std::string& udev,
                       Cells& cells) {
  cells[kDriver] = find_driver_name(directory, name);
  Hardware found = {read_serial_port(directory, name, cells), std::nullopt};
  // A Bluetooth line is not the USB adapter that it uses.
  if (classify(name, "") == kBluetooth) {
    read_bluetooth(directory, name, cells);
  } else if (read_usb_device(directory, name, udev, cells)) {
    found.bus = kUsb;
  }
  return found;
}

}  // namespace tty_lines
