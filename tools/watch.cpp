#include "watch.h"

#include <linux/netlink.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace tty_lines {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kSettled = std::chrono::milliseconds(100);   // the silence that ends a burst
constexpr auto kPatience = std::chrono::milliseconds(300);  // a longer burst is split

// Returns a socket that receives the kernel's uevents, or -1 on failure.
int open_uevent_socket() {
  const int fd =
      socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
  sockaddr_nl from_kernel = {};
  from_kernel.nl_family = AF_NETLINK;
  from_kernel.nl_groups = 1;
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&from_kernel), sizeof from_kernel) == 0) {
    return fd;
  }
  close(fd);
  return -1;
}

void set_handler(int signal_number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigaction(signal_number, &action, nullptr);
}

// Reads all messages.  Returns whether one of them contains `mark`, or messages were lost.
bool drain(const Descriptor& source, std::string_view mark) {
  bool news = false;
  std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t size = read(source.get(), buffer.data(), buffer.size());
    if (size == 0 || (size < 0 && errno != ENOBUFS)) return news;
    const std::string_view message(buffer.data(), size < 0 ? 0 : static_cast<std::size_t>(size));
    news = news || size < 0 || message.find(mark) != std::string_view::npos;
  }
}

}  // namespace

bool write_output(std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = write(STDOUT_FILENO, text.data(), text.size());
    if (size >= 0) {
      text.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno == EAGAIN) {
      pollfd output = {STDOUT_FILENO, POLLOUT, 0};
      poll(&output, 1, -1);
    } else if (errno == EPIPE) {
      return false;
    } else if (errno != EINTR) {
      fail("standard output");
    }
  }
  return true;
}

void end_on_signals() {
  const auto end = [](int /*signal*/) { _exit(EXIT_SUCCESS); };
  set_handler(SIGINT, end);
  set_handler(SIGTERM, end);
  set_handler(SIGPIPE, SIG_IGN);
}

Watch::Watch(const Roots& roots)
    : devices_(open_uevent_socket()), directories_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  constexpr std::uint32_t kComingAndGoing = IN_CREATE | IN_DELETE | IN_MOVE;
  for (const std::string& path : {roots.dev + "/pts", roots.sysfs + "/class/tty"}) {
    inotify_add_watch(directories_.get(), path.c_str(), kComingAndGoing);
  }
}

bool Watch::wait(std::chrono::nanoseconds most) const {
  using std::literals::string_view_literals::operator""sv;
  Clock::time_point end = Clock::now() + most;
  std::optional<Clock::time_point> patience_end;
  for (;;) {
    const auto left = std::chrono::nanoseconds(end - Clock::now());
    if (left.count() <= 0) return true;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    timespec timeout = {};
    timeout.tv_sec = seconds.count();
    timeout.tv_nsec = (left - seconds).count();
    // Of the output, poll reports only errors and hang-ups.
    std::array<pollfd, 3> sources = {
        {{STDOUT_FILENO, 0, 0}, {devices_.get(), POLLIN, 0}, {directories_.get(), POLLIN, 0}}};
    if (ppoll(sources.data(), sources.size(), &timeout, nullptr) < 0 && errno != EINTR)
      fail("poll");
    if (sources[0].revents != 0) return false;

    const bool devices_changed = drain(devices_, "SUBSYSTEM=tty\0"sv);
    const bool directories_changed = drain(directories_, "");
    if (!devices_changed && !directories_changed) continue;
    const Clock::time_point now = Clock::now();
    if (!patience_end) patience_end = std::min(end, now + kPatience);
    end = std::min(*patience_end, now + kSettled);
  }
}

}  // namespace tty_lines
