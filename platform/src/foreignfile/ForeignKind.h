#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orv::foreignfile {

/// A family of files of other programs, as their first bytes tell it.
struct ForeignKind {
  const char* name = "";  ///< for problem lines
  /// AIFC and WAVE: our own container reads the plain samples, and only what is compressed is left to be decoded.
  bool isCompressedForm = false;
  /// Whether an MPEG stream may be inside, the length of which would be guessed from the size of the file.
  bool mayHoldMPEG = false;
};

/// As many bytes as `recognise` looks at.
inline constexpr std::size_t kSignatureBytes = 16;

/// The kind of file that begins with `head`; null when it is none that is decoded here. Knowing that costs nothing, and
/// keeps everything else away from parsers that it is not meant for.
const ForeignKind* recognise(std::span<const std::uint8_t> head);

}  // namespace orv::foreignfile
