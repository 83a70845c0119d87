// The tool's readers of the table of drivers and of names: whatever the bytes, what comes out is
// sound.
#include <cctype>
#include <clocale>
#include <cstdlib>

#include "classify.h"
#include "parse.h"
#include "text.h"

using namespace tty_lines;

static void require(bool condition) {
  if (!condition) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const Driver& driver : parse_drivers(text)) {
    const bool found = find_driver({driver}, {driver.major, driver.first_minor}) != nullptr;
    require(found == (driver.first_minor <= driver.last_minor));
    require(!driver.path.empty());
  }
  if (const auto process = parse_process(text)) require(text.find(process->command) != text.npos);
  require(classify(text, "serial") < kNumKinds);
  if (number_in_name(text)) require(text.find_last_of("0123456789") == text.size() - 1);
  const std::string shown = printable(text);
  for (const char byte : shown) require(std::iscntrl(static_cast<unsigned char>(byte)) == 0);
  require(valid(shown) == shown);
  return 0;
}
