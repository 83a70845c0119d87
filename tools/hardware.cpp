#include "hardware.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <linux/serial_core.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "files.h"
#include "parse.h"

namespace tty_lines {
namespace {

constexpr std::pair<std::uint32_t, const char*> kUarts[] = {
    {PORT_8250, "8250"},       {PORT_16450, "16450"},       {PORT_16550, "16550"},
    {PORT_16550A, "16550A"},   {PORT_CIRRUS, "Cirrus"},     {PORT_16650, "16650"},
    {PORT_16650V2, "16650V2"}, {PORT_16750, "16750"},       {PORT_STARTECH, "Startech"},
    {PORT_16C950, "16C950"},   {PORT_16654, "16654"},       {PORT_16850, "16850"},
    {PORT_RSA, "RSA"},         {PORT_NS16550A, "NS16550A"}, {PORT_XSCALE, "XScale"},
    {PORT_TEGRA, "Tegra"},     {PORT_XR17V35X, "XR17V35X"}, {PORT_AMBA, "PL011"},
    {PORT_ATMEL, "Atmel"},     {PORT_IMX, "i.MX"},          {PORT_UARTLITE, "UARTLITE"},
};

std::string uart_name(const std::string& type) {
  for (const auto& [number, name] : kUarts) {
    if (type == std::to_string(number)) return name;
  }
  return "type " + type;
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

// The kernel numbers the chips of serial ports; 0 is a port where none has been found.
bool read_serial_port(int directory, const std::string& name, Cells& cells) {
  const auto attribute = [&](const char* which) { return read_line(directory, name + which); };
  const std::string type = attribute("/type");
  if (type.empty()) return false;
  if (type == std::to_string(PORT_UNKNOWN)) {
    cells[kDetail] = "no UART found";
    return true;
  }
  cells[kUart] = uart_name(type);
  cells[kAddress] = address(attribute("/port"));
  if (cells[kAddress].empty()) cells[kAddress] = address(attribute("/iomem_base"));
  const std::uint32_t irq = parse_number(attribute("/irq")).value_or(0);
  if (irq != 0) cells[kIrq] = std::to_string(irq);

  std::string& detail = cells[kDetail] = cells[kUart];
  append(detail, " at ", cells[kAddress]);
  append(detail, ", irq ", cells[kIrq]);
  // A chip divides its clock by 16 for its highest speed, which most PCs have at 115200.
  constexpr unsigned long kUsualSpeed = 115200;
  const unsigned long speed = std::strtoul(attribute("/uartclk").c_str(), nullptr, 10) / 16;
  if (speed != 0 && speed != kUsualSpeed) {
    append(detail, ", up to ", std::to_string(speed) + " baud");
  }
  return false;
}

// The port of a USB device that has several: by what it calls the interface, or its number.
std::string describe_interface(int directory, const std::string& interface, const Cells& cells) {
  if (interface.empty()) return "";
  const std::string text = read_line(directory, interface + "/interface");
  const auto number =
      std::strtoul(read_line(directory, interface + "/bInterfaceNumber").c_str(), nullptr, 16);
  const bool telling = !text.empty() && text != cells[kModel];
  if (number == 0 && !telling) return "";
  return "interface " + std::to_string(number) + (telling ? ": " + text : "");
}

// Goes up from the device that the line is on, as far as to a USB device; the interface is just
// below that.
void read_usb_device(int directory, const std::string& name, Cells& cells) {
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

      std::string& detail = cells[kDetail] = cells[kVendor];
      append(detail, " ", cells[kModel].empty() ? "USB " + cells[kUsbId] : cells[kModel]);
      append(detail, ", ", describe_interface(directory, below, cells));
      append(detail, ", serial ", cells[kSerialNumber]);
      return;
    }
    below = up;
    up += "/..";
  }
}

}  // namespace

bool read_hardware(int directory, const std::string& name, Cells& cells) {
  const bool without_chip = read_serial_port(directory, name, cells);
  read_usb_device(directory, name, cells);
  return without_chip;
}

}  // namespace tty_lines
