// The trace facility.  docs/reference/ttydb.md describes its environment variables.
//
// Opening the file does not wait: a pipe must already have a reader.  A pipe stays non-blocking: if
// it is full, tracing waits once, for up to five seconds; after that, lines are lost until there is
// room.  The next line written is followed by one with the number of lost lines.

#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/single_threaded.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "exit_watch.h"
#include "line.h"
#include "service.h"
#include "tty_platform.h"

namespace {

// One allocation with the client's categories, which follow this record.
struct Client {
  tty_trace_context context;
  bool tracing;  // at least one category is on
  Client *next;
};

// Guards the variables below.
pthread_mutex_t trace_lock = PTHREAD_MUTEX_INITIALIZER;

// The contexts that the stand-in created.  The host may replace just one of tty_debug_initialize()
// and tty_debug_cleanup().
Client *clients = nullptr;
unsigned num_tracing = 0;

// The output, shared by all clients.
struct Output {
  int fd;            // -1: not open yet
  struct stat file;  // the opened file, unless it is standard error
} output = {-1, {}};
unsigned num_lost = 0;  // lines lost since the last one written

// The C library looks up the time zone under a lock of its own, in syslog(3) too.  In a child of a
// process with several threads that lock may be held forever, so the child keeps using the parent's
// UTC offset.
long utc_offset = 0;  // seconds, from the last lookup
bool several_threads_fork = false;
bool may_ask_for_zone = true;

// The functions for the time zone and the output REQUIRE that trace_lock is held.
void ask_for_zone(time_t now) {
  if (!may_ask_for_zone) return;
  tm local;
  localtime_r(&now, &local);
  utc_offset = local.tm_gmtoff;
}

void open_output() {
  output.fd = STDERR_FILENO;
  const char *path = secure_getenv("TTY_TRACE_FILE");
  if (path == nullptr || *path == '\0') return;
  int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
  if (fd >= 0 && fd <= STDERR_FILENO) {
    // A program that has closed a standard file must not write into the trace instead.
    const int low = fd;
    fd = fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(low);
  }
  if (fd < 0 || fstat(fd, &output.file) != 0) {
    Line line;
    line.print("TTY_TRACE_FILE: %s: %s", path, strerror(errno));
    line.report();
    if (fd >= 0) close(fd);
    return;
  }
  if (!S_ISFIFO(output.file.st_mode)) fcntl(fd, F_SETFL, O_APPEND);  // clears O_NONBLOCK
  output.fd = fd;
}

// Returns whether the output is still open.  A daemon may have closed all descriptors and reused
// this one.
bool has_output() {
  struct stat now;
  return output.fd == STDERR_FILENO ||
         (fstat(output.fd, &now) == 0 && now.st_dev == output.file.st_dev &&
          now.st_ino == output.file.st_ino);
}

void close_output() {
  if (output.fd > STDERR_FILENO && has_output()) close(output.fd);
  output.fd = -1;
}

// Writes the number of lost lines.
void tell_lost() {
  Line line;
  line.print("%u trace lines have been lost up to here", num_lost);
  if (line.write_to(output.fd, false)) num_lost = 0;
}

bool same_name(const char *text, size_t length, const char *name) {
  return strlen(name) == length && strncmp(text, name, length) == 0;
}

// Visits the entries of a client in TTY_TRACE: calls `visit` with the name of each category and its
// length, and with NULL for an entry without categories.
template <typename Visit>
void visit_wanted(const char *client, Visit visit) {
  const char *rest = secure_getenv("TTY_TRACE");
  while (rest != nullptr) {
    size_t length = strcspn(rest, ":,");
    const bool named = same_name(rest, length, client);
    rest += length;
    if (named && *rest != ':') visit(nullptr, 0);
    while (*rest == ':' || *rest == '+') {
      ++rest;
      length = strcspn(rest, "+,");
      if (named && length != 0) visit(rest, length);
      rest += length;
    }
    rest = *rest == ',' ? rest + 1 : nullptr;
  }
}

// Reports an unknown category, the first time that TTY_TRACE names it.
void complain(const char *unknown, size_t length, const char *client) {
  bool said = false;
  visit_wanted(client, [&](const char *other, size_t other_length) {
    said |= other != nullptr && other < unknown && other_length == length &&
            strncmp(other, unknown, length) == 0;
  });
  if (said) return;
  Line line;
  line.print("TTY_TRACE: %s has no category '%.*s'", client, static_cast<int>(length), unknown);
  line.report();
}

// Turns on the categories of a client that TTY_TRACE names.
void turn_on_wanted(const char *name, Client *client) {
  visit_wanted(name, [&](const char *wanted, size_t length) {
    bool known = wanted == nullptr;
    for (uint32_t i = 0; i < client->context.num_categories; ++i) {
      tty_trace_category &category = client->context.categories[i];
      if (wanted != nullptr && !same_name(wanted, length, category.name)) continue;
      category.enabled = 1;
      client->tracing = true;
      known = true;
    }
    if (!known) complain(wanted, length, name);
  });
}

// Appends printf-style text.  Every argument but a string is read as a 64-bit word, whatever its
// directive.
void put_words(Line &line, const char *format, va_list args) {
  for (const char *rest = format;; ++rest) {
    const size_t plain = strcspn(rest, "%");
    line.put(rest, plain);
    rest += plain;
    if (*rest == '\0') return;
    ++rest;
    if (*rest == 'l') ++rest;
    switch (*rest) {
      case 's':
        line.put(va_arg(args, const char *));
        break;
      case 'd':
        line.print("%lld", va_arg(args, long long));
        break;
      case 'u':
        line.print("%llu", va_arg(args, unsigned long long));
        break;
      case 'x':
        line.print("%llx", va_arg(args, unsigned long long));
        break;
      case 'X':
        line.print("%llX", va_arg(args, unsigned long long));
        break;
      case '\0':
        return;
      default:
        line.put(rest, 1);
        break;
    }
  }
}

void before_fork() {
  const ServiceCall call;
  const Lock lock(trace_lock);
  several_threads_fork = __libc_single_threaded == 0;
  if (several_threads_fork) ask_for_zone(time(nullptr));
}

void begin_child() {
  num_lost = 0;  // the parent reports its own
  if (several_threads_fork) may_ask_for_zone = false;
}

__attribute__((constructor)) void prepare() {
  tty_survive_fork<trace_lock, begin_child>();
  pthread_atfork(before_fork, nullptr, nullptr);  // set last, runs first: the lock is free
}

// Closes the file if tty_debug_cleanup() is the host's.  No thread traces any more.
__attribute__((destructor)) void unprepare() {
  if (tty_is_unloaded(&output)) close_output();
}

}  // namespace

void tty_debug_initialize(const char *name, uintptr_t /*registration*/,
                          const char *const *categories, uintptr_t * /*registration_slot*/,
                          int /*flags*/, tty_trace_context **context, uintptr_t *enabled) {
  const ServiceCall call;
  tty_watch_for_exit();
  *enabled = 0;
  *context = nullptr;
  uint32_t count = 0;
  while (categories[count] != nullptr) ++count;

  const Lock lock(trace_lock);
  auto *client =
      static_cast<Client *>(calloc(1, sizeof(Client) + count * sizeof(tty_trace_category)));
  if (client == nullptr) return;
  client->context = {reinterpret_cast<tty_trace_category *>(client + 1), count};
  for (uint32_t i = 0; i < count; ++i) client->context.categories[i] = {name, categories[i], 0};
  turn_on_wanted(name, client);
  client->next = clients;
  clients = client;
  *context = &client->context;
  if (!client->tracing) return;
  *enabled = 1;
  if (num_tracing++ == 0) open_output();
}

void tty_debug_cleanup(const char * /*name*/, tty_trace_context *context, uintptr_t /*enabled*/) {
  const ServiceCall call;
  const Lock lock(trace_lock);
  Client **link = &clients;
  while (*link != nullptr && &(*link)->context != context) link = &(*link)->next;
  if (*link == nullptr) return;
  Client *client = *link;
  *link = client->next;
  if (client->tracing && --num_tracing == 0) close_output();
  free(client);
}

void tty_trace(tty_trace_category *category, int /*level*/, int /*flags*/,
               uintptr_t /*registration*/, int /*kind*/, const char *routine, int line_number,
               const char *format, ...) {
  const ServiceCall call;
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  time_t local = 0;
  int fd = -1;
  bool lost = false;
  {
    const Lock lock(trace_lock);
    ask_for_zone(now.tv_sec);
    local = now.tv_sec + utc_offset;
    if (!has_output()) open_output();
    fd = output.fd;
    lost = num_lost != 0;
  }
  Line line;
  line.print("%02d:%02d:%02d.%06ld %d %s/%s %s:%d ", static_cast<int>(local / 3600 % 24),
             static_cast<int>(local / 60 % 60), static_cast<int>(local % 60), now.tv_nsec / 1000,
             static_cast<int>(gettid()), category->client, category->name, routine, line_number);
  va_list args;
  va_start(args, format);
  put_words(line, format, args);
  va_end(args);
  const bool written = line.write_to(fd, !lost);
  if (written && !lost) return;
  const Lock lock(trace_lock);
  if (!written) {
    ++num_lost;
  } else if (num_lost != 0) {
    tell_lost();
  }
}
