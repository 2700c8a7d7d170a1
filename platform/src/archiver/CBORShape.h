#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// The outer shape of CBOR (RFC 8949): what kind of item begins where, and how long it is.
namespace orv::archiver {

/// Major types, section 3.1.
enum class CBORKind : std::uint8_t { unsignedInteger, negativeInteger, bytes, text, array, map, tag, simple };

/// The first bytes of an item.
struct CBORHead {
  CBORKind kind = CBORKind::simple;
  std::uint8_t info = 0;       ///< low five bits of the first byte
  std::uint64_t argument = 0;  ///< the number itself, the count of bytes or items, or the bits of a float
  std::size_t length = 0;      ///< bytes of the head
};

/// Nothing when the bytes end before, or the item is of a length to be found out (which archives have none of).
std::optional<CBORHead> readHead(std::span<const std::uint8_t> bytes);

/// Bytes of the one item that `bytes` begin with. Nothing unless it is made of the kinds that archives have, with all
/// lengths told beforehand and inside the bytes, nested at most `deepest` levels. The JSON library, which follows
/// nesting by recursion, is only handed what passes.
std::optional<std::size_t> itemLength(std::span<const std::uint8_t> bytes, int deepest);

}  // namespace orv::archiver
