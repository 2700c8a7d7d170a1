#include "Text.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace orv::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
  std::size_t bytes;  // taken from the text
  char32_t code;
  bool valid;
};

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The character that `text`, which is not empty, begins with. Overlong forms, surrogates and codes past U+10FFFF are
// not valid.
Character firstCharacter(std::string_view text) {
  constexpr Character invalid{1, 0, false};
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) {
    return {1, lead, true};
  }
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) {
    return invalid;
  }
  char32_t code = lead & (0x7FU >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if (!isContinuation(text[i])) {
      return invalid;
    }
    code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < smallest[bytes] || code > 0x10FFFF || surrogate ? invalid : Character{bytes, code, true};
}

bool anyCharacter(char32_t) {
  return true;
}

bool printsOnOneLine(char32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool lineSeparator = code == 0x2028 || code == 0x2029;
  const bool noXMLCharacter = code == 0xFFFE || code == 0xFFFF;
  return !control && !lineSeparator && !noXMLCharacter;
}

std::string replacing(std::string_view text, bool (*keeps)(char32_t)) {
  std::string result;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    result += character.valid && keeps(character.code) ? text.substr(0, character.bytes) : kReplacement;
    text.remove_prefix(character.bytes);
  }
  return result;
}

template <typename Number>
std::string shortestDecimals(Number value) {
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

}  // namespace

std::string validUtf8(std::string_view text) {
  return replacing(text, anyCharacter);
}

std::string printable(std::string_view text) {
  return replacing(text, printsOnOneLine);
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (const char byte : text) {
    count += isContinuation(byte) ? 0 : 1;
  }
  return count;
}

std::string shortened(std::string_view text, std::size_t count) {
  if (characterCount(text) <= count) {
    return std::string(text);
  }
  std::size_t end = 0;
  for (std::size_t kept = 0; kept + 1 < count; ++kept) {
    end += firstCharacter(text.substr(end)).bytes;
  }
  return std::string(text.substr(0, end)) + "…";
}

std::string_view clipped(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) {
    return text;
  }
  while (bytes > 0 && isContinuation(text[bytes])) {
    --bytes;
  }
  return text.substr(0, bytes);
}

std::string exactNumber(double value) {
  return shortestDecimals(value);
}

std::string exactNumber(float value) {
  return shortestDecimals(value);
}

}  // namespace orv::cli
