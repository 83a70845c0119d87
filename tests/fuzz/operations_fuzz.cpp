// Operations on a database, read from bytes: the model's, compared with the model.

#include <stdint.h>
#include <stdlib.h>

#include "support/model.h"

namespace {

// Draws numbers from bytes: from one byte for a bound of up to 256, else from two, and 0 once there
// are none left.
class Bytes {
 public:
  Bytes(const uint8_t *data, size_t size) : data_(data), end_(data + size) {}
  bool empty() const { return data_ == end_; }
  uint32_t below(uint32_t bound) {
    uint32_t number = next();
    if (bound > 256) number = number << 8 | next();
    return number % bound;
  }

 private:
  uint32_t next() { return empty() ? 0 : *data_++; }

  const uint8_t *data_;
  const uint8_t *end_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Bytes bytes(data, size);
  const uint32_t options = bytes.below(TTY_DB_OPT_ALL + 1);
  host::trace(bytes.below(2) != 0);
  {
    Model model(options, [&bytes](uint32_t bound) { return bytes.below(bound); });
    while (!bytes.empty() && !testing::Test::HasFailure()) model.step();
    model.check();
  }
  host::trace(false);
  if (testing::Test::HasFailure()) abort();
  return 0;
}
