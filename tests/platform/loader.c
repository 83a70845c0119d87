/* Does what its arguments say, one after the other, and tells when the library ends its tracing. */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tty_platform.h"

/* The program's own comes first for the library, too. */
void tty_debug_cleanup(const char *name, tty_trace_context *context, uintptr_t enabled) {
  (void)enabled;
  printf("cleanup-%s ", name);
  fflush(stdout);
  free(context);
}

static void *call_exit(void *unused) {
  (void)unused;
  exit(0);
}

int main(int argc, char **argv) {
  void *library = RTLD_DEFAULT;
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "open") == 0) {
      library = dlopen(LIBRARY, RTLD_NOW);
      if (library == NULL) return 1;
    } else if (strcmp(argv[i], "close") == 0) {
      if (dlclose(library) != 0) return 1;
    } else if (strcmp(argv[i], "text") == 0) {
      const char *(*strerror_of)(uint32_t);
      *(void **)&strerror_of = dlsym(library, "qerr_strerror");
      if (strerror_of == NULL) return 1;
      printf("%s ", strerror_of(0xc2580200u) != NULL ? "text" : "none");
    } else if (strcmp(argv[i], "thread-exit") == 0) {
      pthread_t thread;
      if (pthread_create(&thread, NULL, call_exit, NULL) != 0) return 1;
      pthread_join(thread, NULL);
    }
  }
  return 0;
}
