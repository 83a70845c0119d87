#include "support/host.h"

#include <errno.h>
#include <semaphore.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <set>

#include "tty_platform.h"

namespace {

// The host's own lock: a semaphore, since calls on mutexes are made to fail here.  The wait for it
// is no cancellation point, because the library's calls into the host are not.
class HostLock {
 public:
  HostLock() { sem_init(&free_, 0, 1); }
  void lock() {
    int cancel_state;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    sem_wait(&free_);
    pthread_setcancelstate(cancel_state, nullptr);
  }
  void unlock() { sem_post(&free_); }

 private:
  sem_t free_;
};
using Guard = std::lock_guard<HostLock>;

std::atomic<bool> assertions_return_now{false};
std::atomic<int> waiting{0};
bool announce = false;
tty_trace_category categories[5];
tty_trace_context context = {categories, 5};
uintptr_t *trace_switch = nullptr;
constexpr uintptr_t kRegistration = 42;  // the trace facility's word in the library's slot

// What the threads of a test record and look up, under one lock.
struct Records {
  HostLock lock;
  std::vector<std::string> log;
  std::string speaker;  // of the latest entry, if that is a trace line
  std::map<const void *, std::string> names;
  std::set<void *> allocations;
  std::map<std::string, long> calls;
  const char *watched = nullptr;
  size_t watched_size = 0;
  bool watched_was_zero = false;
  int assertions = 0;
  bool trace_sound = true;
  bool trace_once = false;
  std::set<std::pair<std::string, std::string>> traced;  // routines and formats, for trace_once
};

thread_local std::vector<std::string> routines;  // that have entered and not left
thread_local unsigned long traced_rc = 0;

Records &records() {
  static Records &instance = *new Records;  // outlives every destructor
  return instance;
}

void record(const std::string &entry) {
  const Guard guard(records().lock);
  records().log.push_back(entry);
  records().speaker.clear();
}

std::string pointer_name(uint64_t word) {
  if (word == 0) return "0";
  const void *pointer = reinterpret_cast<const void *>(static_cast<uintptr_t>(word));
  const Guard guard(records().lock);
  const auto found = records().names.find(pointer);
  return found != records().names.end() ? found->second : "..";
}

std::string hexadecimal(unsigned long long value) {
  char text[32];
  snprintf(text, sizeof(text), "%llx", value);
  return text;
}

std::string format_words(const char *format, va_list args) {
  std::string text;
  for (const char *c = format; *c != '\0'; ++c) {
    if (*c != '%') {
      text += *c;
      continue;
    }
    ++c;
    if (*c == 'l') ++c;
    if (*c == 's') text += va_arg(args, const char *);
    if (*c == 'd') text += std::to_string(va_arg(args, long long));
    if (*c == 'u') text += std::to_string(va_arg(args, unsigned long long));
    if (*c == 'x') text += hexadecimal(va_arg(args, unsigned long long));
    if (*c == 'X') text += pointer_name(va_arg(args, uint64_t));
  }
  return text;
}

// Notes that a routine leaves.  Returns whether it is the last that entered, and its exit line
// tells a result in the common form.
bool leaves(const std::string &routine, const std::string &text) {
  const bool entered = !routines.empty() && routines.back() == routine;
  if (entered) routines.pop_back();
  const std::string exited = "EXITED   '" + routine + "' ";
  const size_t at = text.find("[0x");
  const unsigned long rc = at != std::string::npos ? strtoul(&text[at + 1], nullptr, 16) : 0;
  traced_rc = rc;
  if (rc == 0) return entered && (text == "Exiting .." || text == exited + ":SUCCESS");
  const char *known = rc == TTY_DB_ERR_NO_MORE ? "UNREGISTERED" : "text";
  return entered && text == exited + "[0x" + hexadecimal(rc) + "]:" + known;
}

}  // namespace

namespace host {

std::vector<std::string> log() {
  const Guard guard(records().lock);
  return records().log;
}

std::string log_text() {
  std::string text;
  for (const std::string &entry : log()) text += entry + "\n";
  return text;
}

void clear() {
  const Guard guard(records().lock);
  records().log.clear();
  records().speaker.clear();
  records().names.clear();
  records().assertions = 0;
  records().trace_sound = true;
  routines.clear();
}

void name(const void *pointer, const std::string &name) {
  const Guard guard(records().lock);
  records().names[pointer] = name;
}

void trace(bool on) { *trace_switch = on ? 1 : 0; }
void trace_once(bool on) {
  records().trace_once = on;
  records().traced.clear();
}
unsigned long traced_result() { return traced_rc; }
bool trace_is_sound() { return records().trace_sound && routines.empty(); }
void assertions_return(bool on) { assertions_return_now = on; }
int num_assertions() { return records().assertions; }
int num_waiting() { return waiting; }

std::string result_name(uint32_t rc) {
  static const std::map<uint32_t, std::string> names = {
      {0, "OK"},
      {0xc2580200, "NO_MEMORY"},
      {0xa2580400, "INVALID_ARG"},
      {0xa2580600, "WRONG_MODE"},
      {0xa2580800, "LOCK_FAILED"},
      {0xa2580a00, "LOCK_INIT"},
      {0xa2580c00, "NO_BLOCK"},
      {0xa2580e00, "OVERLAP"},
      {0xa2581000, "ITEM_EXISTS"},
      {0xa2581200, "TTY_EXISTS"},
      {0xa2581400, "NO_MORE"},
      {0xa2581600, "NO_ITEM"},
      {0x42581800, "NOT_REGISTERED"},
      {0xa2581a00, "TTYS_REGISTERED"},
  };
  return names.at(rc);
}

}  // namespace host

void tty_debug_initialize(const char *client, uintptr_t, const char *const *category_names,
                          uintptr_t *slot, int, tty_trace_context **out, uintptr_t *enabled) {
  slot[1] = kRegistration;
  for (int i = 0; category_names[i] != nullptr; ++i) categories[i] = {client, category_names[i], 1};
  *out = &context;
  trace_switch = enabled;
}

void tty_debug_cleanup(const char *, tty_trace_context *, uintptr_t) {}

void tty_trace(tty_trace_category *category, int level, int flags, uintptr_t registration, int kind,
               const char *routine, int line, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = format_words(format, args);
  va_end(args);
  const bool left = kind != 2 || leaves(routine, text);
  const bool sound = left && level == 5 && flags == 0 && registration == kRegistration && line > 0;
  if (kind == 1) routines.emplace_back(routine);
  const std::string speaker = std::string(category->name) + " " + routine;
  const Guard guard(records().lock);
  records().trace_sound = records().trace_sound && sound;
  if (kind == 2 && sound) return;
  const bool first = records().traced.insert({routine, format}).second;
  if (records().trace_once && !first) return;
  if (records().speaker != speaker) records().log.push_back(speaker);
  records().speaker = speaker;
  const char *const marks[] = {". ", "> ", "< "};
  records().log.push_back(marks[kind] + text);
}

void tty_ltrace_assert(const char *routine, int, const char *expression) {
  {
    const Guard guard(records().lock);
    ++records().assertions;
  }
  record(std::string("assert ") + routine);
  record(std::string("! ") + expression);
  if (assertions_return_now) return;
  fprintf(stderr, "assert %s: %s\n", routine, expression);
  abort();
}

int qerr_register_dll(uint32_t component, const char *path) {
  return component == 1200 && strcmp(path, "qerrno/libttydb_error.dll") == 0 ? 0 : -1;
}

// Knows all codes but one.
const char *qerr_strerror(uint32_t code) {
  static const char text[] = "text";
  if (*trace_switch == 0) abort();  // texts are for the trace alone
  return code == TTY_DB_ERR_NO_MORE ? nullptr : text;
}

int kel_errmsg(const void *message, int severity, ...) {
  const auto *rec = static_cast<const tty_db_msg_rec_type *>(message);
  char text[256];
  va_list args;
  va_start(args, severity);
  vsnprintf(text, sizeof(text), rec->format, args);
  va_end(args);
  record("message " + std::string(rec->mnemonic) + " " + std::to_string(severity) + " " + text);
  if (announce) fprintf(stderr, "message %s %s\n", rec->mnemonic, text);
  return 0;
}

void ptd_set_mutex_block(pthread_mutex_t *, const char *routine, int) {
  record(std::string("wait ") + routine);
  ++waiting;
}

void ptd_unset_mutex_block(void) {
  --waiting;
  record("wait over");
}

int __in_dlclose(void) { return 0; }

// The library's calls that can be made to fail.  The linker hands a call of NAME to __wrap_NAME,
// and has the C library's function as __real_NAME (--wrap).

namespace {

struct {
  std::string function;
  int nth = 0;  // 0: no call is to fail
  std::string failed;
} thread_local fault;

// Counts a call, or returns true if it is the one to fail.
bool fails(const char *function) {
  const bool matches = fault.function.empty() || fault.function == function;
  if (fault.nth > 0 && matches) {
    --fault.nth;
    if (fault.nth == 0) {
      fault.failed = function;
      if (announce) fprintf(stderr, "failing %s\n", function);
      return true;
    }
  }
  const Guard guard(records().lock);
  ++records().calls[function];
  return false;
}

void *track(void *pointer) {
  const Guard guard(records().lock);
  if (pointer != nullptr) records().allocations.insert(pointer);
  return pointer;
}

void untrack(void *pointer) {
  if (pointer == nullptr) return;
  const Guard guard(records().lock);
  records().allocations.erase(pointer);
  records().names.erase(pointer);
  if (pointer != records().watched) return;
  const std::string bytes(records().watched, records().watched_size);
  records().watched_was_zero = bytes.find_first_not_of('\0') == std::string::npos;
  records().watched = nullptr;
}

}  // namespace

namespace host {

void fail_call(const std::string &function, int nth) { fault = {function, nth, ""}; }

std::string end_failing() {
  const std::string failed = fault.failed;
  fault = {};
  return failed;
}

void announce_to_stderr() { announce = true; }

long calls(const std::string &function) {
  const Guard guard(records().lock);
  return records().calls[function];
}

size_t live_allocations() {
  const Guard guard(records().lock);
  return records().allocations.size();
}

void watch(const void *record, size_t size) {
  const Guard guard(records().lock);
  records().watched = static_cast<const char *>(record);
  records().watched_size = size;
  records().watched_was_zero = false;
}

bool watched_was_zero() {
  const Guard guard(records().lock);
  return records().watched_was_zero;
}

}  // namespace host

// NOLINTBEGIN(bugprone-reserved-identifier): the linker and the sanitizers give these names
#if __SIZEOF_POINTER__ == 4  // the names of the functions with times and offsets of 64 bits
#define __real_mmap __real_mmap64
#define __wrap_mmap __wrap_mmap64
#define __real_pthread_rwlock_timedwrlock __real___pthread_rwlock_timedwrlock64
#define __wrap_pthread_rwlock_timedwrlock __wrap___pthread_rwlock_timedwrlock64
#endif

extern "C" {

// Under the sanitizers an allocation that is too large returns NULL, too, and a lock may be
// released or destroyed that a fault has kept from being taken.
const char *__asan_default_options() { return "allocator_may_return_null=1"; }
const char *__tsan_default_options() {
  return "allocator_may_return_null=1:report_mutex_bugs=0:report_destroy_locked=0";
}

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size) {
  if (count != 1 && size != sizeof(void *)) abort();  // only arrays of slots have several elements
  return fails("calloc") ? nullptr : track(__real_calloc(count, size));
}

char *__real_strdup(const char *text);
char *__wrap_strdup(const char *text) {
  return fails("strdup") ? nullptr : static_cast<char *>(track(__real_strdup(text)));
}

void __real_free(void *pointer);
void __wrap_free(void *pointer) {
  untrack(pointer);
  __real_free(pointer);
}

void *__real_mmap(void *where, size_t size, int access, int flags, int file, off_t offset);
void *__wrap_mmap(void *where, size_t size, int access, int flags, int file, off_t offset) {
  if (fails("mmap")) return MAP_FAILED;
  return track(__real_mmap(where, size, access, flags, file, offset));
}

int __real_munmap(void *memory, size_t size);
int __wrap_munmap(void *memory, size_t size) {
  untrack(memory);
  return __real_munmap(memory, size);
}

#define WRAP(function, parameters, arguments) \
  int __real_##function parameters;           \
  int __wrap_##function parameters {          \
    if (fails(#function)) return EINVAL;      \
    return __real_##function arguments;       \
  }

WRAP(pthread_rwlock_init, (pthread_rwlock_t * lock, const pthread_rwlockattr_t *attr), (lock, attr))
WRAP(pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_rwlock_timedwrlock, (pthread_rwlock_t * lock, const timespec *when), (lock, when))
WRAP(pthread_rwlock_unlock, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_rwlock_destroy, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_mutex_init, (pthread_mutex_t * lock, const pthread_mutexattr_t *attr), (lock, attr))
WRAP(pthread_mutex_trylock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_lock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_unlock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_destroy, (pthread_mutex_t * lock), (lock))
WRAP(usleep, (useconds_t duration), (duration))
}
// NOLINTEND(bugprone-reserved-identifier)
