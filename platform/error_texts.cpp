// The texts of result codes, available once their component is registered.
// Bits 15 to 27 of a result code are its component, bits 9 to 14 its number; bits 0 to 8 are 0.

#include <errno.h>

#include "exit_watch.h"
#include "service.h"
#include "tty_platform.h"

namespace {

constexpr uint32_t kTtyDbComponent = 1200;

// By number; 0 is not used.
const char *const kTtyDbTexts[] = {
    nullptr,
    "Out of memory",
    "Invalid argument",
    "The database manages its blocks by itself",
    "A lock could not be obtained",
    "A lock could not be created",
    "No such block",
    "The range overlaps another block",
    "The item exists already",
    "The TTY is registered already",
    "No more TTYs",
    "No such item",
    "The TTY is not registered",
    "TTYs are still registered in the block",
};

struct Component {
  uint32_t id;
  const char *const *texts;
  uint32_t num_texts;
  bool registered;
};

Component components[] = {
    {kTtyDbComponent, kTtyDbTexts, sizeof(kTtyDbTexts) / sizeof(kTtyDbTexts[0]), false},
};

}  // namespace

int qerr_register_dll(uint32_t component, const char * /*path*/) {
  const ServiceCall call;
  tty_watch_for_exit();
  for (Component &known : components) {
    if (known.id != component) continue;
    known.registered = true;
    return 0;
  }
  return ENOENT;
}

const char *qerr_strerror(uint32_t code) {
  if ((code & 0x1ff) != 0) return nullptr;
  const uint32_t id = code >> 15 & 0x1fff;
  const uint32_t number = code >> 9 & 0x3f;
  for (const Component &known : components) {
    if (known.id == id && known.registered && number < known.num_texts) return known.texts[number];
  }
  return nullptr;
}
