// The trace facility.
//
// Off unless the environment variable TTY_TRACE names the client: "db" turns all its categories on,
// "db:block+tty" those two, and commas separate clients.  Lines go to standard error, or are
// appended to the file that TTY_TRACE_FILE names.  A line is put together in one buffer and written
// by one call, so that threads never mix within a line; one that is too long is cut, not split.

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include "exit_watch.h"
#include "tty_platform.h"

namespace {

// Where the lines go.  One for the process, shared by its clients.
int trace_fd = STDERR_FILENO;
unsigned num_tracing = 0;  // clients that have a category turned on

// A line under construction.  Always leaves room for the newline.
struct LineBuffer {
  char text[2048];
  size_t length = 0;

  __attribute__((format(printf, 2, 3))) void append(const char *format, ...) {
    const size_t room = sizeof(text) - 1 - length;
    va_list args;
    va_start(args, format);
    const int wanted = vsnprintf(text + length, room, format, args);
    va_end(args);
    if (wanted > 0)
      length += static_cast<size_t>(wanted) < room ? static_cast<size_t>(wanted) : room - 1;
  }

  // Appends printf-style text whose integers are all 64-bit words, whatever their directives say.
  void append_words(const char *format, va_list args);
};

void LineBuffer::append_words(const char *format, va_list args) {
  for (const char *rest = format; *rest != '\0';) {
    const size_t plain = strcspn(rest, "%");
    append("%.*s", static_cast<int>(plain), rest);
    rest += plain;
    if (*rest == '\0') break;
    ++rest;
    if (*rest == 'l') ++rest;
    switch (*rest) {
      case 's': {
        const char *text_arg = va_arg(args, const char *);
        append("%s", text_arg != nullptr ? text_arg : "<NULL>");
        break;
      }
      case 'd':
        append("%lld", va_arg(args, long long));
        break;
      case 'u':
        append("%llu", va_arg(args, unsigned long long));
        break;
      case 'x':
        append("%llx", va_arg(args, unsigned long long));
        break;
      case 'X':
        append("%llX", va_arg(args, unsigned long long));
        break;
      case '\0':
        return;
      default:
        append("%c", *rest);
        break;
    }
    ++rest;
  }
}

bool same_name(const char *text, size_t length, const char *name) {
  return strlen(name) == length && strncmp(text, name, length) == 0;
}

// Finds what TTY_TRACE says of a client: what follows its name ("" or ":block+tty...", up to a
// comma or the end), or NULL if the client is not named.
const char *client_setting(const char *name) {
  const char *entry = getenv("TTY_TRACE");
  while (entry != nullptr) {
    const size_t length = strcspn(entry, ":,");
    if (same_name(entry, length, name)) return entry + length;
    entry = strchr(entry, ',');
    if (entry != nullptr) ++entry;
  }
  return nullptr;
}

// Turns on the categories that a client's setting names.  Returns whether there are any.
bool apply_setting(const tty_trace_context *context, const char *client, const char *setting) {
  bool any = false;
  const auto turn_on = [&](uint32_t category) {
    context->categories[category].enabled = 1;
    any = true;
  };
  if (*setting != ':') {
    for (uint32_t i = 0; i < context->num_categories; ++i) turn_on(i);
  }
  while (*setting == ':' || *setting == '+') {
    ++setting;
    const size_t length = strcspn(setting, "+,");
    bool known = length == 0;
    for (uint32_t i = 0; i < context->num_categories; ++i) {
      if (!same_name(setting, length, context->categories[i].name)) continue;
      turn_on(i);
      known = true;
    }
    if (!known) {
      dprintf(STDERR_FILENO, "TTY_TRACE: %s has no category '%.*s'\n", client,
              static_cast<int>(length), setting);
    }
    setting += length;
  }
  return any;
}

void open_output() {
  const char *path = getenv("TTY_TRACE_FILE");
  if (path == nullptr || *path == '\0') return;
  const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) {
    dprintf(STDERR_FILENO, "TTY_TRACE_FILE: %s: %s\n", path, strerror(errno));
    return;
  }
  trace_fd = fd;
}

}  // namespace

void tty_debug_initialize(const char *name, uintptr_t /*registration*/,
                          const char *const *categories, uintptr_t * /*registration_slot*/,
                          int /*flags*/, tty_trace_context **context, uintptr_t *enabled) {
  tty_watch_for_exit(__builtin_return_address(0));
  *enabled = 0;
  *context = nullptr;
  uint32_t count = 0;
  while (categories[count] != nullptr) ++count;

  // One allocation: the context, and behind it the categories.
  auto *made = static_cast<tty_trace_context *>(
      calloc(1, sizeof(tty_trace_context) + count * sizeof(tty_trace_category)));
  if (made == nullptr) return;
  made->categories = reinterpret_cast<tty_trace_category *>(made + 1);
  made->num_categories = count;
  for (uint32_t i = 0; i < count; ++i) made->categories[i] = {name, categories[i], 0};
  *context = made;

  const char *setting = client_setting(name);
  if (setting == nullptr || !apply_setting(made, name, setting)) return;
  if (num_tracing++ == 0) open_output();
  *enabled = 1;
}

void tty_debug_cleanup(const char * /*name*/, tty_trace_context *context, uintptr_t enabled) {
  free(context);
  if (enabled == 0 || --num_tracing != 0 || trace_fd == STDERR_FILENO) return;
  close(trace_fd);
  trace_fd = STDERR_FILENO;
}

void tty_trace(tty_trace_category *category, int /*level*/, int /*flags*/,
               uintptr_t /*registration*/, int /*kind*/, const char *routine, int line,
               const char *format, ...) {
  const int saved_errno = errno;
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm local;
  localtime_r(&now.tv_sec, &local);

  LineBuffer buffer;
  buffer.append("%02d:%02d:%02d.%06ld %d %s/%s %s:%d ", local.tm_hour, local.tm_min, local.tm_sec,
                now.tv_nsec / 1000, static_cast<int>(gettid()), category->client, category->name,
                routine, line);
  va_list args;
  va_start(args, format);
  buffer.append_words(format, args);
  va_end(args);
  buffer.text[buffer.length++] = '\n';
  // A trace line that cannot be written is lost: there is nobody to tell.
  [[maybe_unused]] const ssize_t written = write(trace_fd, buffer.text, buffer.length);
  errno = saved_errno;
}
