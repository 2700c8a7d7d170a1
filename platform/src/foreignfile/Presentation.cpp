#include "foreignfile/Presentation.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "OrvPlatform/Log.h"

namespace orv::foreignfile {
namespace {

using audiofile::PCMFormat;
using audiofile::refuse;
using audiofile::SampleKind;

struct Coding {
  int subFormat;
  SampleKind kind;
  std::uint32_t bits;
  bool seeksExactly;
};

constexpr auto kSigned = SampleKind::signedInteger;
constexpr auto kFloat = SampleKind::floatingPoint;

constexpr std::array kPlainCodings{
    Coding{SF_FORMAT_PCM_S8, kSigned, 8, true},  Coding{SF_FORMAT_PCM_U8, kSigned, 8, true},
    Coding{SF_FORMAT_PCM_16, kSigned, 16, true}, Coding{SF_FORMAT_PCM_24, kSigned, 24, true},
    Coding{SF_FORMAT_PCM_32, kSigned, 32, true}, Coding{SF_FORMAT_FLOAT, kFloat, 32, true},
    Coding{SF_FORMAT_DOUBLE, kFloat, 64, true},
};

// The decoders of the telephone and ADPCM codings yield integers of 16 bits by definition, so that these are exact.
constexpr std::array kCompressedCodings{
    Coding{SF_FORMAT_ULAW, kSigned, 16, true},          Coding{SF_FORMAT_ALAW, kSigned, 16, true},
    Coding{SF_FORMAT_IMA_ADPCM, kSigned, 16, true},     Coding{SF_FORMAT_MS_ADPCM, kSigned, 16, true},
    Coding{SF_FORMAT_GSM610, kSigned, 16, false},       Coding{SF_FORMAT_G721_32, kSigned, 16, false},
    Coding{SF_FORMAT_G723_24, kSigned, 16, false},      Coding{SF_FORMAT_G723_40, kSigned, 16, false},
    Coding{SF_FORMAT_NMS_ADPCM_16, kSigned, 16, false}, Coding{SF_FORMAT_NMS_ADPCM_24, kSigned, 16, false},
    Coding{SF_FORMAT_NMS_ADPCM_32, kSigned, 16, false}, Coding{SF_FORMAT_DWVW_16, kSigned, 16, false},
    Coding{SF_FORMAT_DWVW_24, kSigned, 24, false},      Coding{SF_FORMAT_ALAC_16, kSigned, 16, true},
    Coding{SF_FORMAT_ALAC_20, kSigned, 20, true},       Coding{SF_FORMAT_ALAC_24, kSigned, 24, true},
    Coding{SF_FORMAT_ALAC_32, kSigned, 32, true},       Coding{SF_FORMAT_VORBIS, kFloat, 32, false},
    Coding{SF_FORMAT_OPUS, kFloat, 32, false},          Coding{SF_FORMAT_MPEG_LAYER_I, kFloat, 32, false},
    Coding{SF_FORMAT_MPEG_LAYER_II, kFloat, 32, false}, Coding{SF_FORMAT_MPEG_LAYER_III, kFloat, 32, false},
};

template <std::size_t count>
const Coding* find(const std::array<Coding, count>& codings, int subFormat) {
  const auto found = std::find_if(codings.begin(), codings.end(),
                                  [subFormat](const Coding& coding) { return coding.subFormat == subFormat; });
  return found == codings.end() ? nullptr : &*found;
}

AudioFileTypeID typeOfMPEG(int subFormat) {
  switch (subFormat) {
    case SF_FORMAT_MPEG_LAYER_I:
      return kAudioFileMP1Type;
    case SF_FORMAT_MPEG_LAYER_II:
      return kAudioFileMP2Type;
    default:
      return kAudioFileMP3Type;
  }
}

/// 0: not presented.
AudioFileTypeID typeOf(int format) {
  switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_FLAC:
      return kAudioFileFLACType;
    case SF_FORMAT_OGG:
      return kAudioFileOggType;
    case SF_FORMAT_MPEG:
      return typeOfMPEG(format & SF_FORMAT_SUBMASK);
    case SF_FORMAT_CAF:
      return kAudioFileCAFType;
    case SF_FORMAT_W64:
      return kAudioFileWave64Type;
    case SF_FORMAT_AU:
      return kAudioFileNextType;
    case SF_FORMAT_AIFF:
      return kAudioFileAIFCType;
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_RF64:
      return kAudioFileWAVEType;
    default:
      return 0;
  }
}

/// Where our own container refused plain samples, it did so because something is wrong with them.
const Coding* codingOf(int format, const ForeignKind& kind) {
  const int subFormat = format & SF_FORMAT_SUBMASK;
  const Coding* const compressed = find(kCompressedCodings, subFormat);
  return compressed == nullptr && !kind.isCompressedForm ? find(kPlainCodings, subFormat) : compressed;
}

}  // namespace

OSStatus present(const SF_INFO& info, const ForeignKind& kind, Presentation* presentation) {
  const AudioFileTypeID type = typeOf(info.format);
  const Coding* const coding = codingOf(info.format, kind);
  if (type == 0 || coding == nullptr) {
    return refuse(kAudioFileUnsupportedDataFormatError,
                  formatText("%s: files of this coding can't be read", kind.name));
  }
  PCMFormat pcm;
  pcm.sampleRate = info.samplerate;
  pcm.channels = static_cast<std::uint32_t>(std::max(info.channels, 0));
  pcm.kind = coding->kind;
  pcm.order = std::endian::native == std::endian::big ? audiofile::ByteOrder::big : audiofile::ByteOrder::little;
  pcm.bits = coding->bits;
  pcm.bytesPerSample = audiofile::bytesForBits(coding->bits);
  if (const OSStatus status = checkFormat(pcm, kind.name); status != noErr) {
    return status;
  }
  presentation->type = type;
  presentation->pcm = pcm;
  presentation->seeksExactly = coding->seeksExactly && type != kAudioFileOggType;
  const std::int64_t mostFrames = std::numeric_limits<std::int64_t>::max() / std::max(pcm.bytesPerFrame(), 1U);
  if (info.frames >= 0 && info.frames <= mostFrames) {
    presentation->claimedFrames = info.frames;
  }
  return noErr;
}

}  // namespace orv::foreignfile
