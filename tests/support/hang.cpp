// A hanging test is killed, and reports where it was, with the SCOPED_TRACEs around that place.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

static const auto handler = signal(SIGTERM, [](int) {
  ADD_FAILURE() << "hangs, and is ended";
  abort();
});
