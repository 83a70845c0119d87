// Says where a test was, with the SCOPED_TRACEs around that place, when it is ended because it
// hangs.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

static const auto previous = signal(SIGTERM, [](int) {
  ADD_FAILURE() << "hangs, and is ended";
  abort();
});
