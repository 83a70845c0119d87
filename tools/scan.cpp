#include "scan.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <linux/major.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "files.h"
#include "hardware.h"
#include "nodes.h"
#include "users.h"

// Some architectures have no termios2, since their termios has numeric speeds.
#ifndef TCGETS2
#define TCGETS2 TCGETS
#define termios2 termios
#endif

namespace tty_lines {
namespace {

constexpr const char* kActiveConsole = "tty0";  // stands for the virtual console on the screen

// The special files, which are not lines of their own.
constexpr std::pair<const char*, const char*> kPhrases[] = {
    {"console", "stands for the system console"},
    {"ptmx", "makes new pseudo-terminals"},
    {"tty", "stands for the terminal of each process"},
    {kActiveConsole, "stands for the active virtual console"},
};

// Reads one of the kernel's lists of active consoles.
std::set<std::string> read_names(const std::string& path) {
  std::istringstream words(read_line(AT_FDCWD, path));
  std::set<std::string> names;
  for (std::string name; words >> name;) names.insert(name);
  return names;
}

// Reads the size and speed of a pseudo-terminal, without waiting, and without making it this
// process's controlling terminal.  They stay unknown if it is locked or exclusive.  Returns false
// if it has vanished.
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

// Returns the process whose lock file claims a line, or "" if there is none or it has ended.
std::string lock_holder(const Roots& roots, const std::string& name) {
  const std::string file = "/LCK.." + name;
  std::string text = read_line(AT_FDCWD, roots.lock + file);
  // On most machines /var/lock is a link to /run/lock, but not on all.
  if (text.empty() && roots.lock == Roots{}.lock) text = read_line(AT_FDCWD, "/var/lock" + file);
  const std::string pid = text.substr(0, text.find_first_of(" \t\r\n"));
  const bool lives = parse_number(pid) && access((roots.proc + '/' + pid).c_str(), F_OK) == 0;
  return lives ? pid : "";
}

class Scan {
 public:
  Scan(const Roots& roots, bool use)
      : roots_(roots), use_(use), class_path_(roots.sysfs + "/class/tty"), nodes_(roots.dev) {
    const std::string drivers = roots.proc + "/tty/drivers";
    if (const auto text = read_file(AT_FDCWD, drivers)) {
      drivers_ = parse_drivers(*text);
    } else {
      note_unreadable(drivers);
    }
    try {
      users_ = find_users(roots.proc, use);
    } catch (const std::system_error& failure) {
      errno = failure.code().value();
      fail_if_exhausted(roots.proc);
      machine_.unreadable.emplace_back(failure.what());
    }
    machine_.users_complete = users_.complete;
    console_names_ = read_names(class_path_ + "/console/active");
    active_names_ = read_names(class_path_ + "/tty0/active");
    if (console_names_.erase(kActiveConsole) != 0) {
      console_names_.insert(active_names_.begin(), active_names_.end());
    }
  }

  Machine machine() {
    const auto add_kernel_line = [this](int directory, const std::string& name) {
      struct stat status = {};
      const auto device = parse_device(read_line(directory, name + "/dev"));
      // A line whose directory has vanished is skipped; one that only has no numbers is kept.
      if (!device && fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
      ScannedLine line = identify(name, device);
      const std::string udev = roots_.udev + "/data/c" + (device ? text(*device) : "");
      const Hardware found = read_hardware(directory, name, udev, line.cells);
      if (found.bus) line.kind = *found.bus;
      add(std::move(line), found.has_no_uart);
    };
    const auto add_pseudo_terminal = [this](int directory, const std::string& number) {
      const std::string name = "pts/" + number;
      if (classify(name, "") != kPseudoTerminal) return;
      struct stat status = {};
      const bool known = fstatat(directory, number.c_str(), &status, 0) == 0;
      if (!known && fstatat(directory, number.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
      ScannedLine line = identify(name, known ? std::optional(device_of(status)) : std::nullopt);
      if (use_ && may_open(status) && !read_state(directory, number, status.st_rdev, line.cells))
        return;
      add(std::move(line), false);
    };
    if (!for_each_name(AT_FDCWD, class_path_, add_kernel_line)) note_unreadable(class_path_);
    const std::string pts = roots_.dev + "/pts";
    if (!for_each_name(AT_FDCWD, pts, add_pseudo_terminal)) note_unreadable(pts);
    std::sort(
        machine_.lines.begin(), machine_.lines.end(),
        [](const ScannedLine& left, const ScannedLine& right) { return left.name < right.name; });
    return std::move(machine_);
  }

 private:
  void note_unreadable(const std::string& path) {
    const int error = errno;
    fail_if_exhausted(path);
    machine_.unreadable.push_back(path + ": " + std::strerror(error));
  }

  // A pseudo-terminal that nobody has open must not be opened: closing it again would look like a
  // hang-up to the program on its other side.  With --proc, the process table is another machine's
  // and does not matter.
  bool may_open(const struct stat& status) const {
    const Device device = device_of(status);
    return S_ISCHR(status.st_mode) && device.major >= UNIX98_PTY_SLAVE_MAJOR &&
           device.major < UNIX98_PTY_SLAVE_MAJOR + UNIX98_PTY_MAJOR_COUNT &&
           (users_.by_device.count(device) != 0 || roots_.proc != Roots{}.proc);
  }

  ScannedLine identify(const std::string& name, std::optional<Device> device) const {
    ScannedLine line;
    line.name = name;
    line.device = device;
    const Driver* const driver = device ? find_driver(drivers_, *device) : nullptr;
    line.kind = classify(name, driver == nullptr ? "" : driver->type);
    line.number = number_in_name(name);
    if (driver != nullptr) {
      line.cells[kTtyDriver] = driver->name;
      line.driver_path = driver->path;
    }
    return line;
  }

  // Adds a line, with its device file and its users.
  void add(ScannedLine line, bool has_no_uart) {
    line.cells[kKind] = kKinds[line.kind].name;
    const User* user = nullptr;
    if (line.device) {
      const auto found = users_.by_device.find(*line.device);
      if (found != users_.by_device.end()) user = &found->second;
    }
    if (user != nullptr) add_user(*user, line.cells);
    bool is_special = false;
    for (const auto& [name, phrase] : kPhrases) {
      if (line.name != name) continue;
      line.cells[kDetail] = phrase;
      is_special = true;
    }
    const bool active = active_names_.count(line.name) != 0;
    const bool is_console = line.kind == kVirtualConsole;
    if (is_console && active) line.cells[kDetail] = "active console";
    if (console_names_.count(line.name) != 0) line.cells[kConsole] = "yes";
    line.cells[kLock] = lock_holder(roots_, line.name);
    if (line.device) nodes_.describe(line.name, *line.device, line.cells);
    const bool in_session = user != nullptr && user->in_session;
    line.idle = has_no_uart || is_special || (is_console && !active && !in_session);
    machine_.lines.push_back(std::move(line));
  }

  static void add_user(const User& user, Cells& cells) {
    cells[kPid] = std::to_string(user.pid);
    cells[kCommand] = user.command;
    for (const auto& [pid, command] : user.open) {
      std::string& users = cells[kUsers];
      users += (users.empty() ? "" : ",") + std::to_string(pid) + ':' + command;
    }
    const auto others = user.open.size() - user.open.count({user.pid, user.command});
    if (others != 0 && !user.command.empty()) {
      cells[kCommand] += " +" + std::to_string(others);
    }
  }

  const Roots& roots_;
  bool use_;
  std::string class_path_;
  Nodes nodes_;
  std::vector<Driver> drivers_;
  Users users_;
  std::set<std::string> active_names_;   // virtual consoles on the screen
  std::set<std::string> console_names_;  // lines that get the kernel's messages
  Machine machine_;
};

}  // namespace

Machine scan(const Roots& roots, bool use) { return Scan(roots, use).machine(); }

}  // namespace tty_lines
