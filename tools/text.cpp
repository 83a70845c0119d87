#include "text.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace tty_lines {
namespace {

// Copies the characters of the locale for which `good` holds, and replaces other bytes by `escape`.
template <class Good, class Escape>
std::string convert(std::string_view text, Good good, Escape escape) {
  std::string out;
  while (!text.empty()) {
    wchar_t character = 0;
    std::mbstate_t state{};
    std::size_t size = std::mbrtowc(&character, text.data(), text.size(), &state);
    // The two highest sizes are errors, 0 is NUL.
    if (size != 0 && size <= text.size() && good(character, text)) {
      out += text.substr(0, size);
    } else {
      out += escape(text[0]);
      size = 1;
    }
    text.remove_prefix(size);
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) {
  const auto good = [](wchar_t character, std::string_view rest) {
    return std::iswprint(static_cast<std::wint_t>(character)) != 0 && wcwidth(character) > 0 &&
           rest.substr(0, 2) != "\\x";
  };
  return convert(text, good, [](char byte) {
    std::array<char, 5> escape;
    std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned char>(byte));
    return std::string(escape.data());
  });
}

std::string valid(std::string_view text) {
  constexpr wchar_t kLast = 0x10FFFF;  // mbrtowc accepts more
  const auto good = [](wchar_t character, std::string_view) { return character <= kLast; };
  return convert(text, good, [](char) { return "\xEF\xBF\xBD"; });
}

}  // namespace tty_lines
