// The system-message logger: formats a message by its record and gives it to syslog(3), with a copy
// on standard error.
//
// Messages of a kind, those that share a limit record, are raised ten times within ten seconds from
// the first one on, and then left out until these are over.  How many were left out is told ahead
// of the kind's next message, and when the process ends or unloads the logger.  A critical message
// is always raised, and so is one whose record names no limit.

#include <stdarg.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include "line.h"
#include "service.h"
#include "tty_platform.h"

namespace {

constexpr int kCritical = 2;
constexpr uint32_t kMaxRaised = 10;
constexpr int64_t kWindow = 10'000'000'000;  // nanoseconds

// What a limit record holds.
struct Limit {
  uint32_t version;  // 1, as the client has it
  uint32_t raised;   // messages of the latest window, those left out included
  int64_t began;     // when that window began, by the monotonic clock
  int64_t reserved[2];
};
static_assert(sizeof(Limit) == sizeof(tty_db_msg_limit_type));

// Guards the limits and what follows.
pthread_mutex_t message_lock = PTHREAD_MUTEX_INITIALIZER;
uint32_t num_untold = 0;  // messages that have been left out, of all kinds, and not told yet

// syslog(3) has a lock of its own, which a child of fork finds taken if a thread has been inside.
unsigned num_in_syslog = 0;
bool has_syslog = true;

// Counts a message in.  Returns whether it is raised; then `left_out` is how many of its kind have
// been left out before, and not been told.
bool within_limit(tty_db_msg_limit_type *record, uint32_t *left_out) {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  const int64_t now = time.tv_sec * int64_t{1'000'000'000} + time.tv_nsec;

  const Lock lock(message_lock);
  Limit limit;  // a copy, since a record may be less aligned
  memcpy(&limit, record, sizeof(limit));
  *left_out = 0;
  if (limit.raised == 0 || now - limit.began >= kWindow) {
    if (limit.raised > kMaxRaised) *left_out = limit.raised - kMaxRaised;
    limit.raised = 0;
    limit.began = now;
  }
  ++limit.raised;
  memcpy(record, &limit, sizeof(limit));
  if (limit.raised <= kMaxRaised) {
    // What is told of may have been left out by a parent process.
    num_untold -= *left_out < num_untold ? *left_out : num_untold;
    return true;
  }
  ++num_untold;
  return false;
}

bool enter_syslog() {
  const Lock lock(message_lock);
  if (has_syslog) ++num_in_syslog;
  return has_syslog;
}

void leave_syslog() {
  const Lock lock(message_lock);
  --num_in_syslog;
}

void raise(int severity, Line &line) {
  if (enter_syslog()) {
    syslog(severity <= kCritical ? LOG_CRIT : LOG_ERR, "%s", line.text());
    leave_syslog();
  }
  line.report();
}

void begin_child() {
  if (num_in_syslog != 0) has_syslog = false;
  num_untold = 0;  // what the parent has left out is not the child's to tell
}

__attribute__((constructor)) void prepare() { survive_fork<message_lock, begin_child>(); }

__attribute__((destructor)) void tell_untold() {
  const ServiceCall call;
  uint32_t untold = 0;
  {
    const Lock lock(message_lock);
    untold = num_untold;
    num_untold = 0;
  }
  if (untold == 0) return;
  Line line;
  line.print("System messages: %u more were left out", untold);
  raise(kCritical + 1, line);
}

}  // namespace

int kel_errmsg(const void *record, int severity, ...) {
  const ServiceCall call;
  const auto *message = static_cast<const tty_db_msg_rec_type *>(record);
  uint32_t left_out = 0;
  if (severity <= kCritical) {
    tell_untold();  // the process may end without its destructors
  } else if (message->limit != nullptr && !within_limit(message->limit, &left_out)) {
    return 0;
  }
  if (left_out != 0) {
    Line line;
    line.print("%s %s: %u more were left out", message->facility, message->mnemonic, left_out);
    raise(severity, line);
  }
  Line line;
  line.print("%s %s: ", message->facility, message->mnemonic);
  va_list args;
  va_start(args, severity);
  line.print_list(message->format, args);
  va_end(args);
  raise(severity, line);
  return 0;
}
