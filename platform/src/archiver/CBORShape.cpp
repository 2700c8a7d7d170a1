#include "archiver/CBORShape.h"

#include <limits>
#include <vector>

namespace orv::archiver {
namespace {

// Values of the low five bits, RFC 8949 section 3.
constexpr std::uint8_t kOneByteFollows = 24;
constexpr std::uint8_t kEightBytesFollow = 27;
// Simple values, section 3.3. Floats of 2, 4 and 8 bytes have the infos 25 to 27.
constexpr std::uint8_t kFalse = 20;
constexpr std::uint8_t kNull = 22;
constexpr std::uint8_t kHalfFloat = 25;

/// Whether archives have such numbers and simple values.
bool isKnownScalar(const CBORHead& head) {
  switch (head.kind) {
    case CBORKind::unsignedInteger:
      return true;
    case CBORKind::negativeInteger:  // −1 − argument
      return head.argument <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    case CBORKind::simple:
      return (head.info >= kFalse && head.info <= kNull) || head.info >= kHalfFloat;
    default:
      return false;
  }
}

}  // namespace

std::optional<CBORHead> readHead(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) {
    return std::nullopt;
  }
  CBORHead head;
  head.kind = static_cast<CBORKind>(bytes[0] >> 5);
  head.info = bytes[0] & 0x1F;
  head.length = 1;
  if (head.info < kOneByteFollows) {
    head.argument = head.info;
    return head;
  }
  if (head.info > kEightBytesFollow) {
    return std::nullopt;
  }
  head.length += std::size_t{1} << (head.info - kOneByteFollows);
  if (bytes.size() < head.length) {
    return std::nullopt;
  }
  for (const std::uint8_t byte : bytes.first(head.length).subspan(1)) {
    head.argument = head.argument << 8 | byte;
  }
  return head;
}

std::optional<std::size_t> itemLength(std::span<const std::uint8_t> bytes, int deepest) {
  std::vector<std::uint64_t> missing{1};  // items that each open container still wants; the outermost is the whole
  auto rest = bytes;
  while (true) {
    while (!missing.empty() && missing.back() == 0) {
      missing.pop_back();
    }
    if (missing.empty()) {
      return bytes.size() - rest.size();
    }
    --missing.back();
    const auto head = readHead(rest);
    if (!head) {
      return std::nullopt;
    }
    rest = rest.subspan(head->length);
    if (head->kind == CBORKind::text) {
      if (head->argument > rest.size()) {
        return std::nullopt;
      }
      rest = rest.subspan(static_cast<std::size_t>(head->argument));
    } else if (head->kind == CBORKind::array || head->kind == CBORKind::map) {
      const std::uint64_t each = head->kind == CBORKind::map ? 2 : 1;
      // Every item takes a byte at least.
      if (head->argument > rest.size() / each || missing.size() > static_cast<std::size_t>(deepest)) {
        return std::nullopt;
      }
      missing.push_back(head->argument * each);
    } else if (!isKnownScalar(*head)) {
      return std::nullopt;
    }
  }
}

}  // namespace orv::archiver
