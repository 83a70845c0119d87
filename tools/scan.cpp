#include "scan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <system_error>
#include <utility>

#include "drivers.h"

namespace tty_lines {
namespace {

// The majors of the slave sides of pseudo-terminals.
constexpr std::uint32_t kFirstPtyMajor = 136;
constexpr std::uint32_t kLastPtyMajor = 143;

constexpr std::pair<speed_t, std::uint32_t> kSpeeds[] = {
    {B50, 50},           {B75, 75},           {B110, 110},         {B134, 134},
    {B150, 150},         {B200, 200},         {B300, 300},         {B600, 600},
    {B1200, 1200},       {B1800, 1800},       {B2400, 2400},       {B4800, 4800},
    {B9600, 9600},       {B19200, 19200},     {B38400, 38400},     {B57600, 57600},
    {B115200, 115200},   {B230400, 230400},   {B460800, 460800},   {B500000, 500000},
    {B576000, 576000},   {B921600, 921600},   {B1000000, 1000000}, {B1152000, 1152000},
    {B1500000, 1500000}, {B2000000, 2000000}, {B2500000, 2500000}, {B3000000, 3000000},
    {B3500000, 3500000}, {B4000000, 4000000},
};

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

// The whole of a file; none, with errno set, if it cannot be read.
std::optional<std::string> read_file(int directory, const std::string& path) {
  const Descriptor file(openat(directory, path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return std::nullopt;
  std::string text;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t size = read(file.get(), buffer.data(), buffer.size());
    if (size == 0) return text;
    if (size > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

// Calls visit(directory descriptor, name) for each name in a root directory.
template <class Visit>
void for_each_name(const std::string& path, Visit visit) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), &closedir);
  if (directory == nullptr) fail(path);
  for (;;) {
    errno = 0;
    const dirent* found = readdir(directory.get());
    if (found == nullptr) break;
    const std::string name = found->d_name;
    if (name != "." && name != "..") visit(dirfd(directory.get()), name);
  }
  if (errno != 0) fail(path);
}

// Parses "MAJOR:MINOR" and a line end.
std::optional<Device> parse_device(std::string_view text) {
  if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto major = parse_number(text.substr(0, colon));
  const auto minor = parse_number(text.substr(colon + 1));
  if (!major || !minor) return std::nullopt;
  return Device{*major, *minor};
}

std::optional<std::uint32_t> baud(speed_t speed) {
  for (const auto& [constant, value] : kSpeeds) {
    if (constant == speed) return value;
  }
  return std::nullopt;
}

// Asks a pseudo-terminal for its state, without blocking or becoming the controlling terminal of
// this process.  One that is locked or exclusive cannot be opened: its state stays unknown.  None
// if it has vanished.
std::optional<TerminalState> read_state(int directory, const std::string& name, dev_t device) {
  TerminalState state;
  const Descriptor terminal(
      openat(directory, name.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (terminal.get() < 0) {
    if (errno == ENOENT) return std::nullopt;
    return state;
  }
  struct stat status = {};
  if (fstat(terminal.get(), &status) != 0 || status.st_rdev != device) return std::nullopt;
  winsize size = {};
  if (ioctl(terminal.get(), TIOCGWINSZ, &size) == 0) {
    state.size = WindowSize{size.ws_row, size.ws_col};
  }
  termios settings = {};
  if (tcgetattr(terminal.get(), &settings) == 0) state.speed = baud(cfgetispeed(&settings));
  const pid_t foreground = tcgetpgrp(terminal.get());
  if (foreground > 0) state.foreground = foreground;
  return state;
}

void set_driver(ScannedLine& line, const Driver* driver) {
  if (driver == nullptr) return;
  line.driver = driver->name;
  line.driver_path = driver->path;
}

void scan_kernel_list(const std::string& path, const std::vector<Driver>& drivers,
                      std::vector<ScannedLine>& lines) {
  for_each_name(path, [&](int directory, const std::string& name) {
    const auto text = read_file(directory, name + "/dev");
    if (!text && (errno == ENOENT || errno == ENOTDIR || errno == ENODEV)) return;
    ScannedLine line;
    line.name = name;
    if (text) line.device = parse_device(*text);
    const Driver* driver =
        line.device ? find_driver(drivers, line.device->major, line.device->minor) : nullptr;
    set_driver(line, driver);
    line.place = classify(name, driver == nullptr ? "" : driver->type);
    lines.push_back(std::move(line));
  });
}

void scan_pseudo_terminals(const std::string& path, const std::vector<Driver>& drivers,
                           std::vector<ScannedLine>& lines) {
  for_each_name(path, [&](int directory, const std::string& name) {
    const auto number = parse_number(name);
    struct stat status = {};
    if (!number || fstatat(directory, name.c_str(), &status, 0) != 0) return;
    ScannedLine line;
    line.name = "pts/" + name;
    line.device = Device{major(status.st_rdev), minor(status.st_rdev)};
    set_driver(line, find_driver(drivers, line.device->major, line.device->minor));
    line.place = {kPseudoTerminal, number};
    if (S_ISCHR(status.st_mode) && line.device->major >= kFirstPtyMajor &&
        line.device->major <= kLastPtyMajor) {
      const auto state = read_state(directory, name, status.st_rdev);
      if (!state) return;
      line.state = *state;
    }
    lines.push_back(std::move(line));
  });
}

}  // namespace

std::vector<ScannedLine> scan(const Roots& roots) {
  const std::string drivers_path = roots.proc + "/tty/drivers";
  const auto text = read_file(AT_FDCWD, drivers_path);
  if (!text) fail(drivers_path);
  const std::vector<Driver> drivers = parse_drivers(*text);

  std::vector<ScannedLine> lines;
  scan_kernel_list(roots.sysfs + "/class/tty", drivers, lines);
  scan_pseudo_terminals(roots.dev + "/pts", drivers, lines);
  std::sort(lines.begin(), lines.end(), [](const ScannedLine& left, const ScannedLine& right) {
    return left.name < right.name;
  });
  return lines;
}

}  // namespace tty_lines
