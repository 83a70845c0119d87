// The load and unload hooks, and the trace state that they set.
//
// The environment variable NO_DLLMAIN (any value) disables both hooks: the process then has no
// tracing and no texts for the result codes.

#include <stdlib.h>

#include "frame/messages.h"
#include "frame/operation.h"

tty_trace_context *tty_db_trace_ctx = nullptr;
uintptr_t tty_db_trace_enabled = 0;
uintptr_t tty_db_trace_reg[2] = {0, 0};

extern "C" {
// Its presence shows that the library is loaded; the value is not used.
TTY_DB_API int32_t dummy_unused_var = 0;
}

namespace {

const char *const tty_db_trace_name = "db";
const char *const tty_db_trace_categories[] = {"global", "block",     "tty",
                                               "item",   "iteration", nullptr};

// Why vu_dllmain is called.  The library has no hooks for threads.
enum : int32_t { kLoad = 0, kUnload = 1, kThreadStart = 2, kThreadEnd = 3 };

int32_t vu_dllmain(void * /*handle*/, int32_t reason, void * /*reserved*/) {
  const tty_db_speaker op(TTY_DB_TRACE_GLOBAL);
  switch (reason) {
    case kLoad:
      tty_debug_initialize(tty_db_trace_name, tty_db_trace_reg[1], tty_db_trace_categories,
                           tty_db_trace_reg, 0, &tty_db_trace_ctx, &tty_db_trace_enabled);
      qerr_register_dll(TTY_DB_COMPONENT, "qerrno/libttydb_error.dll");
      break;
    case kUnload:
      tty_debug_cleanup(tty_db_trace_name, tty_db_trace_ctx, tty_db_trace_enabled);
      break;
    case kThreadStart:
    case kThreadEnd:
      break;
    default:
      TTY_DB_ASSERT_TEXT(false, "FALSE");
  }
  return 0;
}

bool hooks_suppressed() { return getenv("NO_DLLMAIN") != nullptr; }

__attribute__((constructor)) void load_hook() {
  dummy_unused_var = 0;
  if (hooks_suppressed()) return;
  vu_dllmain(nullptr, kLoad, nullptr);
}

__attribute__((destructor)) void unload_hook() {
  dummy_unused_var = 0;
  if (hooks_suppressed()) return;
  if (__in_dlclose() == 0) return;
  vu_dllmain(nullptr, kUnload, nullptr);
}

}  // namespace
