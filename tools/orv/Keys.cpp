#include "Keys.h"

#include <optional>

namespace orv::cli {
namespace {

constexpr char kEscape = '\x1B';
/// Longer than any sequence that means something.
constexpr std::size_t kLongestSequence = 32;

std::optional<Key> plainKey(char byte) {
  switch (byte) {
    case ' ':
      return Key::pause;
    case 'q':
    case 'Q':
      return Key::quit;
    default:
      return std::nullopt;
  }
}

/// By the last byte of "ESC [ C", and of "ESC O C" as terminals in application mode send it.
std::optional<Key> arrow(char last) {
  switch (last) {
    case 'A':
      return Key::up;
    case 'B':
      return Key::down;
    case 'C':
      return Key::right;
    case 'D':
      return Key::left;
    default:
      return std::nullopt;
  }
}

/// How many bytes the escape sequence at the begin of `text` has; 0: it is not complete.
std::size_t sequenceLength(std::string_view text) {
  if (text.size() < 2) {
    return 0;
  }
  if (text[1] == 'O') {
    return text.size() < 3 ? 0 : 3;
  }
  if (text[1] != '[') {
    return text[1] == kEscape ? 1 : 2;  // Escape twice, or a key with Alt
  }
  for (std::size_t i = 2; i < text.size(); ++i) {
    if (text[i] >= '@' && text[i] <= '~') {
      return i + 1;
    }
  }
  return text.size() < kLongestSequence ? 0 : text.size();
}

std::optional<Key> sequenceKey(std::string_view sequence) {
  if (sequence.size() == 1) {
    return Key::quit;
  }
  return sequence.size() == 3 ? arrow(sequence[2]) : std::nullopt;  // longer: an arrow with a modifier, or another key
}

}  // namespace

std::vector<Key> KeyReader::take(std::string_view bytes) {
  std::vector<Key> keys;
  const auto add = [&](std::optional<Key> key) {
    if (key) {
      keys.push_back(*key);
    }
  };
  if (bytes.empty()) {
    if (!waiting_.empty()) {
      add(waiting_.size() == 1 ? std::optional(Key::quit) : std::nullopt);
      waiting_.clear();
    }
    return keys;
  }
  const std::string text = waiting_ + std::string(bytes);
  waiting_.clear();
  for (std::string_view rest = text; !rest.empty();) {
    std::size_t length = 1;
    if (rest[0] == kEscape) {
      length = sequenceLength(rest);
      if (length == 0) {
        waiting_ = rest;
        break;
      }
      add(sequenceKey(rest.substr(0, length)));
    } else {
      add(plainKey(rest[0]));
    }
    rest.remove_prefix(length);
  }
  return keys;
}

}  // namespace orv::cli
