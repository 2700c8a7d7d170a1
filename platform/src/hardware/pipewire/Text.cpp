#include "hardware/pipewire/Text.h"

#include <spa/utils/json.h>

#include <array>
#include <cstdlib>

namespace orv::pipewire {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
  std::size_t bytes;
  bool isValid;
};

/// Smallest code point that takes so many bytes: a shorter one must not.
constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};

std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (lead >= 0xC2 && lead < 0xE0) {
    return 2;
  }
  if (lead >= 0xE0 && lead < 0xF0) {
    return 3;
  }
  return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

Character firstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lengthByLead(lead);
  if (length <= 1) {
    return {1, length == 1};
  }
  char32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    if ((next & 0xC0U) != 0x80U) {
      return {i, false};
    }
    code = code << 6 | (next & 0x3FU);
  }
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  return {length, code >= kSmallest[length] && code <= 0x10FFFF && !isSurrogate};
}

}  // namespace

std::string validText(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  while (!text.empty()) {
    const Character next = firstCharacter(text);
    valid += next.isValid ? text.substr(0, next.bytes) : kReplacement;
    text.remove_prefix(next.bytes);
  }
  return valid;
}

long numberIn(const char* text, long otherwise) {
  if (text == nullptr) {
    return otherwise;
  }
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  return end == text ? otherwise : number;
}

std::string nameObject(const std::string& name) {
  std::string encoded(name.size() * 6 + 3, '\0');
  const int length = spa_json_encode_string(encoded.data(), static_cast<int>(encoded.size()), name.c_str());
  encoded.resize(static_cast<std::size_t>(length));
  return "{ \"name\": " + encoded + " }";
}

std::string nameInObject(const char* text) {
  if (text == nullptr) {
    return "";
  }
  const std::string copy(text);
  spa_json whole;
  spa_json object;
  spa_json_init(&whole, copy.data(), copy.size());
  if (spa_json_enter_object(&whole, &object) <= 0) {
    return "";
  }
  std::string key(copy.size() + 1, '\0');
  while (spa_json_get_string(&object, key.data(), static_cast<int>(key.size())) > 0) {
    const bool isName = std::string_view(key.c_str()) == "name";
    const char* value = nullptr;
    const int length = spa_json_next(&object, &value);
    if (length <= 0) {
      return "";
    }
    if (isName) {
      std::string name(static_cast<std::size_t>(length) + 1, '\0');
      const int parsed = spa_json_parse_stringn(value, length, name.data(), static_cast<int>(name.size()));
      return parsed > 0 ? name.substr(0, name.find('\0')) : "";
    }
  }
  return "";
}

}  // namespace orv::pipewire
