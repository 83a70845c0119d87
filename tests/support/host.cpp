#include "support/host.h"

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
#include <unordered_map>

#include "tty_platform.h"

namespace {

// A lock.  The calls on mutexes are among those that this file is handed, so that it cannot use
// one.  It is no cancellation point, as the library's calls are none.
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

std::atomic<bool> returns{false};
std::atomic<int> waiting{0};
bool announce = false;
tty_trace_category categories[5];
tty_trace_context context = {categories, 5};
uintptr_t *trace_switch = nullptr;
constexpr uintptr_t kRegistration = 42;  // what the facility keeps in the library's slot

// What threads record and look up, under one lock.
struct Records {
  HostLock lock;
  std::vector<std::string> log;
  std::map<const void *, std::string> names;
  std::unordered_map<void *, size_t> live;  // allocations, with their sizes
  std::map<std::string, long> calls;
  size_t zeros = 0;
  int assertions = 0;
  bool trace_sound = true;
  bool trace_once = false;
  std::set<std::pair<std::string, std::string>> traced;  // routines and formats, for trace_once
};

thread_local std::vector<std::string> routines;  // that have entered and not left

Records &records() {
  static Records &instance = *new Records;  // outlives every destructor
  return instance;
}

void record(const std::string &entry) {
  const Guard guard(records().lock);
  records().log.push_back(entry);
}

std::string pointer_name(uint64_t word) {
  if (word == 0) return "0";
  const Guard guard(records().lock);
  const auto found =
      records().names.find(reinterpret_cast<const void *>(static_cast<uintptr_t>(word)));
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

// Notes that a routine leaves.  Says whether it is the last that has entered, and its exit line the
// one that it should be.
bool leaves(const std::string &routine, const std::string &text) {
  const bool entered = !routines.empty() && routines.back() == routine;
  if (entered) routines.pop_back();
  const std::string exited = "EXITED   '" + routine + "' ";
  if (text == "Exiting .." || text == exited + ":SUCCESS") return entered;
  const size_t at = text.find("[0x");
  const unsigned long code = at != std::string::npos ? strtoul(&text[at + 1], nullptr, 16) : 0;
  const char *known = code == TTY_DB_ERR_NO_MORE ? "UNREGISTERED" : "text";
  return entered && code != 0 && text == exited + "[0x" + hexadecimal(code) + "]:" + known;
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
bool trace_is_sound() { return records().trace_sound && routines.empty(); }
void assertions_return(bool on) { returns = on; }
int num_assertions() { return records().assertions; }
int num_waiting() { return waiting; }

std::string result_name(uint32_t rc) {
  static const char *const kNames[] = {
      "OK",        "NO_MEMORY", "INVALID_ARG",    "WRONG_MODE",     "LOCK_FAILED",
      "LOCK_INIT", "NO_BLOCK",  "OVERLAP",        "ITEM_EXISTS",    "TTY_EXISTS",
      "NO_MORE",   "NO_ITEM",   "NOT_REGISTERED", "TTYS_REGISTERED"};
  const uint32_t index = rc >> 9 & 0x3f;
  const uint32_t top = rc == 0       ? 0
                       : index == 1  ? 0xc2580000
                       : index == 12 ? 0x42580000
                                     : 0xa2580000;
  return index <= 13 && rc == (top | index << 9) ? kNames[index] : "unknown";
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
  const bool sound = level == 5 && flags == 0 && registration == kRegistration && line > 0 &&
                     (kind != 2 || leaves(routine, text));
  if (kind == 1) routines.emplace_back(routine);
  {
    const Guard guard(records().lock);
    records().trace_sound = records().trace_sound && sound;
    if (kind == 2 && sound) return;
    if (records().trace_once && !records().traced.insert({routine, format}).second) return;
  }
  const char *const marks[] = {" . ", " > ", " < "};
  record(category->name + std::string(marks[kind]) + routine + ": " + text);
}

void tty_ltrace_assert(const char *routine, int, const char *expression) {
  {
    const Guard guard(records().lock);
    ++records().assertions;
  }
  record(std::string("assert ") + routine + ": " + expression);
  if (returns) return;
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

// The calls of the library's that can be made to fail.  The linker hands them here (--wrap), by the
// names that they have in the C library.
#if __SIZEOF_POINTER__ == 4
#define MMAP "mmap64"
#define CLOCK_GETTIME "__clock_gettime64"
#define TIMEDWRLOCK "__pthread_rwlock_timedwrlock64"
#else
#define MMAP "mmap"
#define CLOCK_GETTIME "clock_gettime"
#define TIMEDWRLOCK "pthread_rwlock_timedwrlock"
#endif

namespace {

struct {
  int nth = 0;
  std::string function;
  int error = 0;
  std::string failed;
} thread_local fault;

bool fails(const char *function) {
  const bool meant =
      fault.nth != 0 && (fault.function.empty() || fault.function == function) && --fault.nth == 0;
  if (!meant) {
    const Guard guard(records().lock);
    ++records().calls[function];
    return false;
  }
  fault.failed = function;
  if (announce) fprintf(stderr, "failing %s\n", function);
  return true;
}

size_t leading_zeros(const unsigned char *bytes, size_t size) {
  const auto is_set = [](unsigned char byte) { return byte != 0; };
  return static_cast<size_t>(std::find_if(bytes, bytes + size, is_set) - bytes);
}

void *track(void *pointer, size_t size) {
  const Guard guard(records().lock);
  if (pointer != nullptr) records().live[pointer] = size;
  return pointer;
}

}  // namespace

namespace host {

void fail_call(int nth, const std::string &function, int error) {
  fault = {nth, function, error, ""};
}

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
  return records().live.size();
}

size_t zeros_at_last_free() {
  const Guard guard(records().lock);
  return records().zeros;
}

}  // namespace host

// NOLINTBEGIN(bugprone-reserved-identifier): the linker and the sanitizers give these names
extern "C" {

// Allocations that must fail return NULL under the sanitizers too; and a lock that an injected
// fault has kept from being taken is released all the same.
const char *__asan_default_options() { return "allocator_may_return_null=1"; }
const char *__tsan_default_options() {
  return "allocator_may_return_null=1:report_mutex_bugs=0:report_destroy_locked=0";
}

void *__real_calloc(size_t count, size_t size);
char *__real_strdup(const char *text);
void __real_free(void *pointer);

void *__wrap_calloc(size_t count, size_t size) {
  return fails("calloc") ? nullptr : track(__real_calloc(count, size), count * size);
}

char *__wrap_strdup(const char *text) {
  if (fails("strdup")) return nullptr;
  return static_cast<char *>(track(__real_strdup(text), strlen(text) + 1));
}

void __wrap_free(void *pointer) {
  {
    const Guard guard(records().lock);
    records().names.erase(pointer);
    const auto found = records().live.find(pointer);
    if (found != records().live.end()) {
      records().zeros = leading_zeros(static_cast<const unsigned char *>(pointer), found->second);
      records().live.erase(found);
    }
  }
  __real_free(pointer);
}

void *__real_mmap(void *where, size_t size, int access, int flags, int fd,
                  off_t offset) asm("__real_" MMAP);
void *__wrap_mmap(void *where, size_t size, int access, int flags, int fd,
                  off_t offset) asm("__wrap_" MMAP);
int __real_munmap(void *memory, size_t size);

void *__wrap_mmap(void *where, size_t size, int access, int flags, int fd, off_t offset) {
  if (fails("mmap")) return MAP_FAILED;
  return track(__real_mmap(where, size, access, flags, fd, offset), size);
}

int __wrap_munmap(void *memory, size_t size) {
  {
    const Guard guard(records().lock);
    const auto found = records().live.find(memory);
    if (found != records().live.end() && found->second == size) records().live.erase(found);
  }
  return __real_munmap(memory, size);
}

#define WRAP(function, parameters, arguments) WRAP_AS(#function, function, parameters, arguments)
#define WRAP_AS(symbol, function, parameters, arguments)  \
  int __real_##function parameters asm("__real_" symbol); \
  int __wrap_##function parameters asm("__wrap_" symbol); \
  int __wrap_##function parameters {                      \
    if (fails(#function)) return fault.error;             \
    return __real_##function arguments;                   \
  }

WRAP(pthread_rwlock_init, (pthread_rwlock_t * lock, const pthread_rwlockattr_t *attr), (lock, attr))
WRAP(pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))
WRAP_AS(TIMEDWRLOCK, pthread_rwlock_timedwrlock, (pthread_rwlock_t * lock, const timespec *when),
        (lock, when))
WRAP(pthread_rwlock_unlock, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_rwlock_destroy, (pthread_rwlock_t * lock), (lock))
WRAP(pthread_mutexattr_init, (pthread_mutexattr_t * attr), (attr))
WRAP(pthread_mutexattr_settype, (pthread_mutexattr_t * attr, int type), (attr, type))
WRAP(pthread_mutexattr_destroy, (pthread_mutexattr_t * attr), (attr))
int __real_pthread_mutex_init(pthread_mutex_t *lock, const pthread_mutexattr_t *attr);
int __wrap_pthread_mutex_init(pthread_mutex_t *lock, const pthread_mutexattr_t *attr) {
  if (fails("pthread_mutex_init")) return fault.error;
  const Guard guard(records().lock);
  const auto entry = records().live.find(lock);
  // The end of an entry is not looked at: to valgrind that were a race with whoever used it.
  if (entry != records().live.end()) entry->second = 0;
  return __real_pthread_mutex_init(lock, attr);
}
WRAP(pthread_mutex_trylock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_lock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_unlock, (pthread_mutex_t * lock), (lock))
WRAP(pthread_mutex_destroy, (pthread_mutex_t * lock), (lock))
WRAP_AS(CLOCK_GETTIME, clock_gettime, (clockid_t clock, timespec *when), (clock, when))

int __real_usleep(useconds_t duration);
int __wrap_usleep(useconds_t duration) {
  if (duration > 20000) abort();
  return fails("usleep") ? -1 : __real_usleep(duration);
}
}
// NOLINTEND(bugprone-reserved-identifier)
