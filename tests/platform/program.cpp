// Does what its arguments say, one after the other, and prints what comes of it.  An argument is
// the name of a function do_NAME below, or NAME=TEXT.

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "tty_db.h"
#include "tty_thread_block.h"

namespace {

void *library = RTLD_DEFAULT;
tty_db_type *db = nullptr;
tty_trace_context *context = nullptr;
uintptr_t enabled = 0;
tty_db_msg_limit_type limit = {{1}};
tty_db_msg_limit_type other_limit = {{1}};

// A function of the library, or of the stand-in that comes with it.
#define CALL(function) reinterpret_cast<decltype(&function)>(dlsym(library, #function))

void trace(const char *text) {
  tty_trace(&context->categories[1], 5, 0, 0, 1, "routine", 12, "%s %d %lu %x %X 100%% %s",
            static_cast<const char *>(nullptr), int64_t{-1}, uint64_t{1} << 63, uint64_t{0xab},
            uint64_t{0x123456789abc}, text);
}

// A message of severity 2 or 3, or 4: without a limit, or 5: with a limit of its own.
void raise(int severity, const char *text) {
  tty_db_msg_limit_type *const limits[] = {&limit, &limit, nullptr, &other_limit};
  const tty_db_msg_rec_type record = {
      nullptr, "%s (%d)", limits[severity - 2], "HOST", "", "MESSAGE", 1, 3, {}, 0, 0};
  kel_errmsg(&record, severity, text, 16);
}

void announce(const char *routine) { ptd_set_mutex_block(nullptr, routine, 1); }

// The routines in which threads wait.
std::string waiting() {
  ptd_mutex_block blocks[4] = {};
  std::string routines;
  for (size_t left = ptd_list_mutex_blocks(blocks, 4); left > 0; --left)
    routines = blocks[left - 1].routine + routines;
  return routines + " ";
}

void use_services() {
  announce("service");
  trace("line");
  raise(3, "flood");
  raise(4, "flood");
  ptd_unset_mutex_block();
}

void set_limit(__rlimit_resource resource, bool most) {
  rlimit both;
  getrlimit(resource, &both);
  both.rlim_cur = most ? both.rlim_max : 0;
  setrlimit(resource, &both);
}

void *use_until_cancelled(void *) {
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)  // which do not bear it
  if (db == nullptr) pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
#endif
  for (;; pthread_testcancel())
    db == nullptr ? use_services() : void(CALL(tty_db_tty_deregister)(db, 0, 0));
}

template <typename Work>
void in_threads(Work work) {
  std::thread threads[3];
  for (int i = 0; i < 3; ++i) threads[i] = std::thread(work, i);
  work(3);
  for (std::thread &thread : threads) thread.join();
}

}  // namespace

extern "C" {
void do_open(const char *) { library = dlopen(LIBRARY, RTLD_NOW); }
void do_open_apart(const char *) { library = dlmopen(LM_ID_NEWLM, LIBRARY, RTLD_NOW); }
void do_load(const char *file) { dlopen(file, RTLD_NOW); }
void do_close(const char *) { dlclose(library); }
void do_close_at_exit(const char *) {
  atexit([] { do_close(""); });
}
void do_reopen(const char *) {
  for (int i = 0; i < PTHREAD_KEYS_MAX; ++i) {
    do_open("");
    do_close("");
  }
  pthread_key_t key;
  printf("%d ", pthread_key_create(&key, nullptr));
}
void do_exit_in_thread(const char *) { std::thread(exit, 0).join(); }
void do_create(const char *) { CALL(tty_db_create)(0, &db); }
void do_destroy(const char *) { printf("%s", CALL(tty_db_destroy)(db) == 0 ? "" : "locked "); }
void do_lowest_free(const char *) { printf("%d ", dup(0)); }

// Which descriptors a program that is run would not get, and how they are written to.
void do_descriptors(const char *) {
  for (int fd = 3; fcntl(fd, F_GETFD) >= 0; ++fd)
    printf("%d:%o ", fcntl(fd, F_GETFD), fcntl(fd, F_GETFL) & (O_APPEND | O_NONBLOCK));
}

void do_texts(const char *) {
  int texts = 0;
  for (uint32_t code = 0xc2580000u; code < 0xc2590000u; ++code)
    if ((code & 0x7e00) < 0x2000 && CALL(qerr_strerror)(code) != nullptr)
      texts += (code & 0x1ff) == 0 ? 1 : 100;
  printf("%d ", texts);
}

void do_register(const char *component) {
  printf("%d ", qerr_register_dll(static_cast<uint32_t>(atoi(component)), ""));
}
void do_start(const char *report) {
  static const char *const kNames[] = {"global", "block", "tty", nullptr};
  enabled = 2;
  tty_debug_initialize("db", 0, kNames, nullptr, 0, &context, &enabled);
  if (context == nullptr) printf("nothing ");
  if (context == nullptr || *report == '\0') return;
  for (uint32_t i = 0; i < 3; ++i) printf("%d", context->categories[i].enabled != 0);
  printf("%d%s ", static_cast<int>(enabled), getauxval(AT_SECURE) != 0 ? " secure" : "");
}
void do_end(const char *) { tty_debug_cleanup("db", context, enabled); }
void do_nap(const char *seconds) { sleep(static_cast<unsigned>(atoi(seconds))); }
void do_trace(const char *text) { trace(text); }
void do_cut(const char *) { tty_trace(context->categories, 5, 0, 0, 1, "routine", 12, "cut%"); }
void do_assert(const char *text) { tty_ltrace_assert("routine", 7, text); }
void do_raise(const char *text) { raise(text[0] - '0', text + 1); }

// Prints what goes to the system's log with a priority.
void do_syslog(const char *priority) {
  openlog("syslog", LOG_PERROR, LOG_USER);
  setlogmask(LOG_MASK(atoi(priority)));
}

// Leaves a signal waiting, of those by which a failing write would end the process.
void do_block(const char *number) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, atoi(number));
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  ::raise(atoi(number));
}
void do_blocked(const char *) {
  sigset_t blocked, pending;
  sigprocmask(SIG_BLOCK, nullptr, &blocked);
  sigpending(&pending);
  for (int number = 1; number < NSIG; ++number)
    if (sigismember(&blocked, number) == 1)
      printf("%d%s ", number, sigismember(&pending, number) == 1 ? ":pending" : "");
}

// Signals come all the time, which end system calls.
void do_tick(const char *) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  ualarm(5000, 5000);
}

// Takes all the memory that there is.
void do_exhaust(const char *) {
  set_limit(RLIMIT_AS, false);
  void *volatile taken = nullptr;  // so that the compiler does not leave it out
  for (size_t size = 1 << 20; size > 0; size /= 2) {
    do taken = malloc(size);
    while (taken != nullptr);
  }
}

// Lets files grow again.
void do_room(const char *) { set_limit(RLIMIT_FSIZE, true); }

// What follows is done by a child, and when that has ended, by this process.
void do_child(const char *) {
  if (fork() > 0) wait(nullptr);
}

// Messages of a severity, of four threads, 25 each or as many as follow it, and trace lines of 500
// letters.
void do_flood(const char *severity) {
  in_threads([severity](int n) {
    for (int i = severity[1] != '\0' ? atoi(severity + 2) : 25; i > 0; --i) {
      raise(severity[0] - '0', "flood");
      if (enabled != 0) trace(std::string(500, "abcd"[n]).c_str());
    }
  });
}

// Closes what is open, as daemons do, and opens a file of its own.
void do_reuse(const char *path) {
  close_range(3, ~0u, 0);
  open(path, O_WRONLY | O_CREAT, 0600);
}

// One thread announces twice; the other, which is not the latest then, leaves the list.
void do_wait(const char *) {
  announce("a");
  std::thread other([] {
    announce("b");
    while (waiting()[0] != 'c') std::this_thread::yield();
    ptd_unset_mutex_block();
    printf("%s", waiting().c_str());
  });
  while (waiting()[0] != 'b') std::this_thread::yield();
  announce("c");
  other.join();
}

// Forks while other threads use the services, which the children use, too.
void do_fork(const char *) {
  std::atomic<int> forks{0};
  in_threads([&forks](int n) {
    while (n > 0 && forks < 100) use_services();
    for (int status = 0; n == 0 && forks < 100; forks += 1 + status) {
      if (fork() == 0) {
        alarm(30);
        use_services();
        _exit(waiting() != " ");
      }
      wait(&status);
    }
  });
  printf("%d ", forks.load());
}

// Cancels threads that use the services or, if there is a database, the library.  Prints what waits
// for ever.
void do_cancel(const char *) {
  for (useconds_t round = 0; round < 200; ++round) {
    pthread_t thread;
    pthread_create(&thread, nullptr, use_until_cancelled, nullptr);
    usleep(100 + round);
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
  }
  use_services();
  printf("%s", waiting().c_str());
}
}

int main(int /*argc*/, char **argv) {
  while (*++argv != nullptr) {  // services leave errno and the type of cancellation alone
    const std::string name = std::string("do_") + strtok(*argv, "=");
    const char *text = strtok(nullptr, "");
    auto *action = reinterpret_cast<void (*)(const char *)>(dlsym(RTLD_DEFAULT, name.c_str()));
    int type = 0;
    errno = EBUSY;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    action(text != nullptr ? text : "");
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
    if (type != PTHREAD_CANCEL_ASYNCHRONOUS) printf("cancel type %d ", type);
    if (errno != EBUSY) printf("errno %d ", errno);
    fflush(stdout);
  }
}
