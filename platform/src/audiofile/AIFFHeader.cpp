#include "audiofile/AIFCCoding.h"
#include "audiofile/AIFFContainer.h"
#include "audiofile/ExtendedFloat80.h"
#include "audiofile/HeaderBuilder.h"

namespace orv::audiofile {
namespace {

/// Date of the one published version of AIFC: 23 May 1990, 14:40, in seconds since 1904 (AIFF-C, FVER chunk).
constexpr std::uint32_t kAIFCVersion1 = 0xA2805140;

bool fitsAIFF(const PCMFormat& format) {
  return format.kind == SampleKind::signedInteger && format.bytesPerSample == bytesForBits(format.bits) &&
         (format.order == ByteOrder::big || format.bytesPerSample == 1);
}

void addCommon(HeaderBuilder& header, const PCMFormat& format) {
  header.number16(format.channels);
  header.number32(0);  // frames
  header.number16(format.bits);
  header.bytes(extendedFromDouble(format.sampleRate));
}

/// A text behind its length, filled up to an even number of bytes.
void addPascalText(HeaderBuilder& header, std::string_view text) {
  header.number8(static_cast<std::uint8_t>(text.size()));
  header.text(text);
  if (text.size() % 2 == 0) {
    header.number8(0);
  }
}

}  // namespace

OSStatus makeAIFFHeader(AudioFileTypeID type, const PCMFormat& format, std::vector<std::uint8_t>* header) {
  const bool isAIFC = type == kAudioFileAIFCType;
  const auto coding = aifcCodingFor(format);
  if (!isAIFC && !fitsAIFF(format)) {
    return refuse(kAudioFileUnsupportedDataFormatError,
                  "AIFF holds big-endian signed integers of 1 to 32 bits in as few bytes as they need");
  }
  if (isAIFC && !coding) {
    return refuse(kAudioFileUnsupportedDataFormatError,
                  "AIFC holds signed integers in as few bytes as they need, big-endian floats and unsigned bytes");
  }
  HeaderBuilder builder(ByteOrder::big);
  builder.beginChunk(fourCC("FORM"));
  builder.code(type);
  if (isAIFC) {
    builder.beginChunk(fourCC("FVER"));
    builder.number32(kAIFCVersion1);
    builder.endChunk();
  }
  builder.beginChunk(fourCC("COMM"));
  addCommon(builder, format);
  if (isAIFC) {
    builder.code(coding->code);
    addPascalText(builder, coding->name);
  }
  builder.endChunk();
  builder.beginChunk(fourCC("SSND"));
  builder.number32(0);  // offset
  builder.number32(0);  // block size
  builder.endChunk();
  builder.endChunk();
  *header = builder.take();
  return noErr;
}

}  // namespace orv::audiofile
