// When libttydb, opened at run time, ends its tracing: if it is unloaded, not if the process exits.
//
// Built several times, as hosts that differ in what they are started with:
//   late     neither library: the stand-in comes with libttydb
//   early    the stand-in
//   linked   both libraries: libttydb stays when it is closed

#include <dlfcn.h>

#include <thread>

#include "child.h"
#include "tty_platform.h"

// The host's own service, by which the tests see that tracing ends.
void tty_debug_cleanup(const char *client, tty_trace_context * /*context*/, uintptr_t /*enabled*/) {
  printf("%s: tracing has ended\n", client);
}

namespace {

// What an unload prints.
#ifdef HOST_linked
const std::string kUnloaded;
#else
const std::string kUnloaded = "db: tracing has ended\n";
#endif

void *open_library() {
  void *library = dlopen(LIBRARY, RTLD_NOW);
  if (library == nullptr) puts(dlerror());
  return library;
}

TEST(Loader, AnUnloadEndsTheTracing) {
  const std::string printed = printed_by({}, [] {
    dlclose(open_library());
    puts("opened again");
    dlclose(open_library());
  });
  EXPECT_EQ(printed, kUnloaded + "opened again\n" + kUnloaded);
}

TEST(Loader, TheExitOfTheProcessDoesNot) {
  EXPECT_EQ(printed_by({}, [] { open_library(); }), "");
  const std::string opened_again = printed_by({}, [] {
    dlclose(open_library());
    open_library();
  });
  EXPECT_EQ(opened_again, kUnloaded);
}

TEST(Loader, TheExitByAnotherThreadDoesNot) {
  const std::string printed = printed_by({}, [] {
    open_library();
    std::thread(exit, 0).join();
  });
  EXPECT_EQ(printed, "");
}

#ifndef HOST_linked
TEST(Loader, WithNoDllmainAnUnloadEndsNoTracing) {
  EXPECT_EQ(printed_by({{"NO_DLLMAIN", ""}}, [] { dlclose(open_library()); }), "");
}
#endif

}  // namespace
