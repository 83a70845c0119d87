// The tool's readers of the table of drivers and of names: whatever the bytes, what comes out is
// sound.
#include <clocale>
#include <cstdlib>

#include "classify.h"
#include "parse.h"
#include "text.h"

using namespace tty_lines;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  const std::string text(reinterpret_cast<const char*>(data), size);
  bool sound = true;
  for (const Driver& driver : parse_drivers(text)) {
    const bool found = find_driver({driver}, {driver.major, driver.first_minor}) != nullptr;
    sound = sound && !driver.path.empty() && found == (driver.first_minor <= driver.last_minor);
  }
  if (const auto process = parse_process(text)) sound = text.find(process->command) != text.npos;
  sound = sound && classify(text, "serial") < kNumKinds;
  if (number_in_name(text)) sound = sound && text.find_last_of("0123456789") == text.size() - 1;
  for (const char byte : printable(text)) {
    const auto code = static_cast<unsigned char>(byte);
    sound = sound && (code >= 128 || (code >= ' ' && code < 127));
  }
  if (!sound || valid(printable(text)) != printable(text)) std::abort();
  return 0;
}
