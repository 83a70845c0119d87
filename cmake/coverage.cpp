// Part of every program and library of a coverage build: a process that ends by abort or _exit
// writes its counts too.

#include <signal.h>
#include <stdlib.h>

extern "C" void __gcov_dump();  // writes the counts of this program or library

// The handler that was there before: the test's, or that of another library with this file.
static const sighandler_t others = signal(SIGABRT, [](int number) {
  __gcov_dump();
  if (others != SIG_DFL) others(number);
});

void _exit(int status) {
  signal(SIGABRT, SIG_DFL)(SIGABRT);
  _Exit(status);
}
