// The system-message logger: formats a message and sends it to syslog(3) and standard error.
//
// At most ten messages of a kind are raised in ten seconds; the rest are counted and dropped.
// Messages with the same limit record are of one kind.  The count is reported before the next
// message of the kind, before a critical one, at the exit of the process and at the unload.
// Critical messages, and those without a limit record, are always raised.  If the message before a
// critical one was dropped, it is raised after all, because it may be the cause.

#include <stdarg.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include "line.h"
#include "service.h"
#include "tty_platform.h"

namespace {

constexpr int kCritical = 2;
constexpr int kError = 3;
constexpr uint32_t kMaxRaised = 10;
constexpr int64_t kWindow = 10'000'000'000;  // nanoseconds

// The content of a limit record.
struct Limit {
  uint32_t version;  // 1
  uint32_t seen;     // messages in the current window
  int64_t began;     // start of the window, by the monotonic clock
  int64_t reserved[2];
};
static_assert(sizeof(Limit) == sizeof(tty_db_msg_limit_type));

// Guards the limit records and the variables below.
pthread_mutex_t message_lock = PTHREAD_MUTEX_INITIALIZER;
uint32_t num_untold = 0;  // dropped messages of all kinds that have not been reported
Line latest;              // the latest message, if it was dropped
bool latest_left_out = false;

// syslog(3) has its own lock.  If a thread is inside during a fork, the lock stays held in the
// child.
unsigned num_in_syslog = 0;
bool has_syslog = true;

// Counts a message.  Returns whether to raise it; if so, `left_out` is the number of messages of
// its kind that were dropped in the window before and must be reported.
bool within_limit(tty_db_msg_limit_type *record, const Line &line, uint32_t *left_out) {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  const int64_t now = time.tv_sec * int64_t{1'000'000'000} + time.tv_nsec;

  const Lock lock(message_lock);
  Limit limit;  // a copy, because the record may not be aligned
  memcpy(&limit, record, sizeof(limit));
  *left_out = 0;
  if (limit.seen == 0 || now - limit.began >= kWindow) {
    if (limit.seen > kMaxRaised) *left_out = limit.seen - kMaxRaised;
    limit.seen = 0;
    limit.began = now;
  }
  ++limit.seen;
  memcpy(record, &limit, sizeof(limit));
  latest_left_out = limit.seen > kMaxRaised;
  if (!latest_left_out) {
    // The record may count messages that the parent process dropped.
    num_untold -= *left_out < num_untold ? *left_out : num_untold;
    return true;
  }
  ++num_untold;
  latest = line;
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
  num_untold = 0;  // the parent reports its own
  latest_left_out = false;
}

__attribute__((constructor)) void prepare() { tty_survive_fork<message_lock, begin_child>(); }

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
  raise(kError, line);
}

// Moves the latest message to `line` if it was dropped.  Returns whether it was.
bool take_latest(Line *line) {
  const Lock lock(message_lock);
  if (!latest_left_out) return false;
  latest_left_out = false;
  if (num_untold != 0) --num_untold;  // 0: counted already
  *line = latest;
  return true;
}

}  // namespace

int kel_errmsg(const void *record, int severity, ...) {
  const ServiceCall call;
  const auto *message = static_cast<const tty_db_msg_rec_type *>(record);
  Line line;
  line.print("%s %s: ", message->facility, message->mnemonic);
  va_list args;
  va_start(args, severity);
  line.print_list(message->format, args);
  va_end(args);

  uint32_t left_out = 0;
  if (severity <= kCritical) {
    Line reason;
    const bool has_reason = take_latest(&reason);
    tell_untold();  // the process may end without destructors
    if (has_reason) raise(kError, reason);
  } else if (message->limit != nullptr && !within_limit(message->limit, line, &left_out)) {
    return 0;
  }
  if (left_out != 0) {
    Line told;
    told.print("%s %s: %u more were left out", message->facility, message->mnemonic, left_out);
    raise(severity, told);
  }
  raise(severity, line);
  return 0;
}
