#include "foreignfile/ForeignKind.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace orv::foreignfile {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view begin;  ///< the file's first bytes
  std::string_view form;   ///< what stands at `kFormOffset` besides; empty: anything
  ForeignKind kind;
};

constexpr std::size_t kFormOffset = 8;

// FLAC: RFC 9639. Ogg: RFC 3533. CAF: its published specification. W64: the first of its file identifiers, "riff" as a
// GUID. AU: audio(5) of its systems, and the same with little-endian numbers. ID3: the tag in front of MP3 files.
constexpr std::array kSignatures{
    Signature{"fLaC"sv, {}, {"FLAC"}},
    Signature{"OggS"sv, {}, {"Ogg"}},
    Signature{"caff"sv, {}, {"CAF"}},
    Signature{"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv, {}, {"W64"}},
    Signature{".snd"sv, {}, {"AU"}},
    Signature{"dns."sv, {}, {"AU"}},
    Signature{"ID3"sv, {}, {"MP3", false, true}},
    Signature{"FORM"sv, "AIFC"sv, {"AIFC", true, false}},
    Signature{"RIFF"sv, "WAVE"sv, {"WAVE", true, true}},
    Signature{"RF64"sv, "WAVE"sv, {"WAVE", true, true}},
};

constexpr ForeignKind kMPEG{"MP3", false, true};

bool stands(std::string_view text, std::span<const std::uint8_t> head, std::size_t at) {
  return text.empty() ||
         (head.size() >= at + text.size() &&
          std::equal(text.begin(), text.end(), head.begin() + static_cast<std::ptrdiff_t>(at),
                     [](char expected, std::uint8_t byte) { return static_cast<std::uint8_t>(expected) == byte; }));
}

/// The header of an MPEG audio frame (ISO/IEC 11172-3): 11 bits set, then version, layer, bit rate and sample rate,
/// none of them with its reserved value.
bool isMPEGFrame(std::span<const std::uint8_t> head) {
  return head.size() >= 4 && head[0] == 0xFF && (head[1] & 0xE0) == 0xE0 && (head[1] & 0x18) != 0x08 &&
         (head[1] & 0x06) != 0 && (head[2] & 0xF0) != 0xF0 && (head[2] & 0x0C) != 0x0C;
}

}  // namespace

const ForeignKind* recognise(std::span<const std::uint8_t> head) {
  for (const Signature& signature : kSignatures) {
    if (stands(signature.begin, head, 0) && stands(signature.form, head, kFormOffset)) {
      return &signature.kind;
    }
  }
  return isMPEGFrame(head) ? &kMPEG : nullptr;
}

}  // namespace orv::foreignfile
