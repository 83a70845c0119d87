#include "output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <system_error>

namespace tty_lines {
namespace {

volatile sig_atomic_t stop_signal_came = 0;

extern "C" void note_stop_signal(int /*signal*/) { stop_signal_came = 1; }

void set_handler(int signal_number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigaction(signal_number, &action, nullptr);
}

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category(), "standard output");
}

}  // namespace

Output::Output() { set_handler(SIGPIPE, SIG_IGN); }

void Output::catch_stop_signals() {
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGINT);
  sigaddset(&stop_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop_signals, &waiting_mask_);
  sigdelset(&waiting_mask_, SIGINT);
  sigdelset(&waiting_mask_, SIGTERM);
  set_handler(SIGINT, &note_stop_signal);
  set_handler(SIGTERM, &note_stop_signal);
  catching_ = true;
}

bool Output::write(std::string_view text) {
  while (!text.empty()) {
    if (poll(POLLOUT, nullptr) == Poll::kStopped) return false;
    // A pipe that can be written takes this much without blocking, which would keep signals out.
    const ssize_t size =
        ::write(STDOUT_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (size >= 0) {
      text.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno == EPIPE) {
      return false;
    } else if (errno != EAGAIN && errno != EINTR) {
      fail();
    }
  }
  return true;
}

bool Output::wait(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  timespec timeout = {};
  timeout.tv_sec = seconds.count();
  timeout.tv_nsec = (duration - seconds).count();
  // Asks for no event: what is reported without asking is an error or a hangup.
  return poll(0, &timeout) == Poll::kNothing;
}

Output::Poll Output::poll(short events, const timespec* timeout) {
  pollfd output = {STDOUT_FILENO, events, 0};
  const int ready = ppoll(&output, 1, timeout, catching_ ? &waiting_mask_ : nullptr);
  if (stop_signal_came != 0) return Poll::kStopped;
  if (ready < 0 && errno != EINTR) fail();
  return ready > 0 ? Poll::kEvent : Poll::kNothing;
}

}  // namespace tty_lines
