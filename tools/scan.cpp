#include "scan.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <linux/major.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "files.h"
#include "hardware.h"
#include "users.h"

// Where speeds have always been numbers there is no second form of the settings.
#ifndef TCGETS2
#define TCGETS2 TCGETS
#define termios2 termios
#endif

namespace tty_lines {
namespace {

constexpr const char* kActiveConsole = "tty0";  // another name for it

// The lines that are no devices of their own.
constexpr std::pair<const char*, const char*> kPhrases[] = {
    {"console", "stands for the system console"},
    {"ptmx", "makes new pseudo-terminals"},
    {"tty", "stands for the terminal of each process"},
    {kActiveConsole, "stands for the active virtual console"},
};

std::vector<Driver> read_drivers(const std::string& proc) {
  const std::string path = proc + "/tty/drivers";
  const auto text = read_file(AT_FDCWD, path);
  if (!text) fail(path);
  return parse_drivers(*text);
}

// The virtual consoles that are on the screen, or that the kernel's messages go to.
std::set<std::string> read_active_consoles(const std::string& class_path) {
  std::istringstream words(read_line(AT_FDCWD, class_path + "/tty0/active") + ' ' +
                           read_line(AT_FDCWD, class_path + "/console/active"));
  std::set<std::string> names;
  for (std::string name; words >> name;) names.insert(name);
  names.erase(kActiveConsole);
  return names;
}

Device device_of(const struct stat& status) {
  return {major(status.st_rdev), minor(status.st_rdev)};
}

// Asks a pseudo-terminal for its size and speed, without blocking or becoming the controlling
// terminal of this process.  One that is locked or exclusive cannot be opened: its state stays
// unknown.  False if it has vanished.
bool read_state(int directory, const std::string& name, dev_t device, Cells& cells) {
  const Descriptor terminal(
      openat(directory, name.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (terminal.get() < 0) {
    fail_if_exhausted(name);
    return errno != ENOENT;
  }
  struct stat status = {};
  if (fstat(terminal.get(), &status) != 0 || status.st_rdev != device) return false;
  winsize size = {};
  if (ioctl(terminal.get(), TIOCGWINSZ, &size) == 0 && (size.ws_col != 0 || size.ws_row != 0)) {
    cells[kSize] = std::to_string(size.ws_col) + 'x' + std::to_string(size.ws_row);
  }
  termios2 settings = {};
  if (ioctl(terminal.get(), TCGETS2, &settings) == 0) {
    cells[kSpeed] = std::to_string(settings.c_ospeed);
  }
  return true;
}

class Scan {
 public:
  explicit Scan(const Roots& roots)
      : roots_(roots),
        class_path_(roots.sysfs + "/class/tty"),
        drivers_(read_drivers(roots.proc)),
        users_(find_users(roots.proc)),
        active_consoles_(read_active_consoles(class_path_)) {}

  std::vector<ScannedLine> lines() {
    const auto add_kernel_line = [this](int directory, const std::string& name) {
      struct stat status = {};
      const auto device = parse_device(read_line(directory, name + "/dev"));
      // An entry that is still there says nothing of its device; otherwise it has vanished.
      if (!device && fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
      ScannedLine line = identify(name, device);
      const bool has_no_uart = read_hardware(directory, name, line.cells);
      add(std::move(line), has_no_uart);
    };
    const auto add_pseudo_terminal = [this](int directory, const std::string& number) {
      const std::string name = "pts/" + number;
      if (classify(name, "").category != kPseudoTerminal) return;
      struct stat status = {};
      const bool known = fstatat(directory, number.c_str(), &status, 0) == 0;
      if (!known && fstatat(directory, number.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
      ScannedLine line = identify(name, known ? std::optional(device_of(status)) : std::nullopt);
      if (may_open(status) && !read_state(directory, number, status.st_rdev, line.cells)) return;
      add(std::move(line), false);
    };
    if (!for_each_name(AT_FDCWD, class_path_, add_kernel_line)) fail(class_path_);
    const std::string pts = roots_.dev + "/pts";
    if (!for_each_name(AT_FDCWD, pts, add_pseudo_terminal)) fail(pts);
    std::sort(lines_.begin(), lines_.end(), [](const ScannedLine& left, const ScannedLine& right) {
      return left.name < right.name;
    });
    return std::move(lines_);
  }

 private:
  // A pseudo-terminal that nobody has open is not opened: to close it again would look to the
  // program on its other side as if its user had hung up.  Another machine's processes do not tell
  // who has it open.
  bool may_open(const struct stat& status) const {
    const Device device = device_of(status);
    return S_ISCHR(status.st_mode) && device.major >= UNIX98_PTY_SLAVE_MAJOR &&
           device.major < UNIX98_PTY_SLAVE_MAJOR + UNIX98_PTY_MAJOR_COUNT &&
           (users_.count(device) != 0 || roots_.proc != Roots{}.proc);
  }

  ScannedLine identify(const std::string& name, std::optional<Device> device) const {
    ScannedLine line;
    line.name = name;
    line.device = device;
    const Driver* const driver = device ? find_driver(drivers_, *device) : nullptr;
    line.place = classify(name, driver == nullptr ? "" : driver->type);
    line.cells[kKind] = kKinds[line.place.category];
    if (driver != nullptr) {
      line.cells[kDriver] = driver->name;
      line.driver_path = driver->path;
    }
    return line;
  }

  // Adds a line, with who uses it.
  void add(ScannedLine line, bool has_no_uart) {
    const auto user = line.device ? users_.find(*line.device) : users_.end();
    if (user != users_.end()) {
      line.cells[kPid] = std::to_string(user->second.pid);
      line.cells[kCommand] = user->second.command;
    }
    line.cells[kOwner] = owner(roots_.dev + '/' + line.name);
    for (const auto& [name, phrase] : kPhrases) {
      if (line.name == name) line.cells[kDetail] = phrase;
    }
    const bool active = active_consoles_.count(line.name) != 0;
    const bool console = line.place.category == kVirtualConsole;
    if (console && active) line.cells[kDetail] = "active console";
    line.idle = has_no_uart || (console && !active && user == users_.end());
    lines_.push_back(std::move(line));
  }

  // Who owns a file, by name if there is one; empty if there is no such file.
  std::string owner(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return "";
    const auto [known, is_new] = owners_.try_emplace(status.st_uid, std::to_string(status.st_uid));
    if (is_new) {
      errno = 0;
      if (const passwd* const user = getpwuid(status.st_uid)) {
        known->second = user->pw_name;
      } else {
        fail_if_exhausted(path);
      }
    }
    return known->second;
  }

  const Roots& roots_;
  std::string class_path_;
  std::vector<Driver> drivers_;
  std::map<Device, User> users_;
  std::set<std::string> active_consoles_;
  std::map<uid_t, std::string> owners_;
  std::vector<ScannedLine> lines_;
};

}  // namespace

std::vector<ScannedLine> scan(const Roots& roots) { return Scan(roots).lines(); }

}  // namespace tty_lines
