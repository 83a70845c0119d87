// When libttydb, opened at run time, ends its tracing: if it is unloaded, not if the process exits.
//
// Built several times, as hosts that differ in what they are started with:
//   late     neither library: the stand-in comes with libttydb
//   early    the stand-in
//   linked   both libraries: libttydb stays when it is closed

#include <dlfcn.h>
#include <fcntl.h>

#include <thread>

#include "child.h"
#include "tty_platform.h"

// The host's own service, by which the tests see that tracing ends.
void tty_debug_cleanup(const char *client, tty_trace_context * /*context*/, uintptr_t /*enabled*/) {
  printf("%s: tracing has ended\n", client);
}

namespace {

// What an unload prints.
#ifdef LINKED
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

TEST(Loader, NoDllmainKeepsTheLibraryFromSettingUpAnything) {
  EXPECT_EQ(printed_by({{"NO_DLLMAIN", ""}}, [] { dlclose(open_library()); }), "");
}

#ifdef LATE
// The host's own tty_debug_cleanup() knows nothing of the file.
TEST(Loader, AnUnloadOfTheStandInClosesTheTraceFile) {
  const Variables variables = {{"TTY_TRACE", "db"}, {"TTY_TRACE_FILE", "/dev/null"}};
  const std::string printed = printed_by(variables, [] {
    const int lowest_free = dup(STDIN_FILENO);
    close(lowest_free);
    void *library = open_library();
    puts(fcntl(lowest_free, F_GETFD) != -1 ? "open" : "closed");
    dlclose(library);
    puts(fcntl(lowest_free, F_GETFD) != -1 ? "open" : "closed");
  });
  EXPECT_EQ(printed, "open\n" + kUnloaded + "closed\n");
}
#endif

}  // namespace
