#include "text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace tty_lines {
namespace {

bool is_continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

// The size of the UTF-8 character that the text begins with; 0 if it begins with none.
std::size_t character_size(std::string_view text) {
  struct Form {
    std::uint32_t mask, lead, least;  // `least`: what a shorter form could not say
  };
  constexpr std::array<Form, 4> kForms = {
      {{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};
  const std::uint32_t lead = static_cast<unsigned char>(text[0]);
  for (std::size_t i = 0; i < kForms.size(); ++i) {
    if ((lead & kForms[i].mask) != kForms[i].lead) continue;
    std::uint32_t point = lead & ~kForms[i].mask;
    for (std::size_t k = 1; k <= i; ++k) {
      if (k == text.size() || !is_continuation(text[k])) return 0;
      point = point << 6U | (static_cast<unsigned char>(text[k]) & 0x3FU);
    }
    const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
    return point < kForms[i].least || surrogate || point > 0x10FFFF ? 0 : i + 1;
  }
  return 0;
}

// Control characters of one byte, and those of two that terminals take for the like (U+0080..9F).
bool is_control(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  return first < 0x20 || first == 0x7F ||
         (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

// Appends each character, changed by `convert`, or the substitute for a byte that is in none.
template <class Convert>
std::string convert_text(std::string_view text, std::string_view substitute, Convert convert) {
  std::string out;
  while (!text.empty()) {
    const std::size_t size = character_size(text);
    if (size == 0) {
      out += substitute;
    } else {
      out += convert(text.substr(0, size));
    }
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) {
  return convert_text(text, "?", [](std::string_view character) {
    return is_control(character) ? std::string("?") : std::string(character);
  });
}

std::size_t width(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !is_continuation(c); }));
}

std::string json_string(std::string_view text) {
  return '"' +
         convert_text(text, "\xEF\xBF\xBD",
                      [](std::string_view character) {
                        if (character == "\"" || character == "\\")
                          return '\\' + std::string(character);
                        if (static_cast<unsigned char>(character[0]) >= 0x20)
                          return std::string(character);
                        std::array<char, 8> escape;
                        std::snprintf(
                            escape.data(), escape.size(), "\\u%04x",
                            static_cast<unsigned>(static_cast<unsigned char>(character[0])));
                        return std::string(escape.data());
                      }) +
         '"';
}

}  // namespace tty_lines
