#include "audiofile/AIFCCoding.h"

#include <algorithm>
#include <array>

namespace orv::audiofile {
namespace {

constexpr FourCharCode kPlain = fourCC("NONE");
constexpr FourCharCode kLittleEndian = fourCC("sowt");
constexpr FourCharCode kFloat = fourCC("fl32");
constexpr FourCharCode kDouble = fourCC("fl64");
constexpr FourCharCode kOffsetBinary = fourCC("raw ");

constexpr auto kSigned = SampleKind::signedInteger;

constexpr std::array kCodings{
    AIFCCoding{kPlain, kSigned, ByteOrder::big, 0, "not compressed"},
    AIFCCoding{fourCC("twos"), kSigned, ByteOrder::big, 0, ""},
    AIFCCoding{kLittleEndian, kSigned, ByteOrder::little, 0, ""},
    AIFCCoding{kFloat, SampleKind::floatingPoint, ByteOrder::big, 32, "32-bit floating point"},
    AIFCCoding{fourCC("FL32"), SampleKind::floatingPoint, ByteOrder::big, 32, ""},
    AIFCCoding{kDouble, SampleKind::floatingPoint, ByteOrder::big, 64, "64-bit floating point"},
    AIFCCoding{fourCC("FL64"), SampleKind::floatingPoint, ByteOrder::big, 64, ""},
    AIFCCoding{fourCC("in24"), kSigned, ByteOrder::big, 24, ""},
    AIFCCoding{fourCC("in32"), kSigned, ByteOrder::big, 32, ""},
    AIFCCoding{kOffsetBinary, SampleKind::unsignedInteger, ByteOrder::little, 8, ""},
};

FourCharCode codeFor(const PCMFormat& format) {
  switch (format.kind) {
    case SampleKind::signedInteger:
      return format.order == ByteOrder::big ? kPlain : kLittleEndian;
    case SampleKind::unsignedInteger:
      return format.bits == 8 ? kOffsetBinary : 0;
    case SampleKind::floatingPoint:
      if (format.order != ByteOrder::big) {
        return 0;
      }
      return format.bits == 32 ? kFloat : kDouble;
  }
  return 0;
}

}  // namespace

std::optional<AIFCCoding> aifcCodingOf(FourCharCode code) {
  const auto* found =
      std::find_if(kCodings.begin(), kCodings.end(), [code](const AIFCCoding& coding) { return coding.code == code; });
  return found == kCodings.end() ? std::nullopt : std::optional(*found);
}

std::optional<AIFCCoding> aifcCodingFor(const PCMFormat& format) {
  if (format.bytesPerSample != bytesForBits(format.bits)) {
    return std::nullopt;
  }
  return aifcCodingOf(codeFor(format));
}

std::string_view aifcCompressionName(FourCharCode code) {
  switch (code) {
    case fourCC("ima4"):
      return "IMA 4:1 ADPCM";
    case fourCC("ulaw"):
    case fourCC("ULAW"):
      return "mu-law";
    case fourCC("alaw"):
    case fourCC("ALAW"):
      return "A-law";
    case fourCC("MAC3"):
      return "MACE 3:1";
    case fourCC("MAC6"):
      return "MACE 6:1";
    case fourCC("GSM "):
      return "GSM 6.10";
    case fourCC("ACE2"):
    case fourCC("ACE8"):
      return "ACE";
    default:
      return {};
  }
}

}  // namespace orv::audiofile
