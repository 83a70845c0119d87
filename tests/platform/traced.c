/* A program that opens a file of its own, and then traces a line if tracing is on. */

#define _GNU_SOURCE /* memfd_create */
#include <stdio.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tty_platform.h"

int main(void) {
  static const char *const categories[] = {"block", NULL};
  tty_trace_context *context = NULL;
  uintptr_t enabled = 0;
  const int own_file = memfd_create("own", 0);
  tty_debug_initialize("client", 0, categories, NULL, 0, &context, &enabled);
  if (enabled == 0) {
    puts("tracing is off");
    return 0;
  }
  tty_trace(&context->categories[0], 5, 0, 0, 0, "routine", 12, "text");
  tty_debug_cleanup("client", context, enabled);
  printf("file %d has %ld bytes\n", own_file, (long)lseek(own_file, 0, SEEK_END));
  return 0;
}
