#include "foreignfile/Decoder.h"

#include <bit>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include "OrvPlatform/Log.h"
#include "audiofile/PCMFormat.h"

namespace orv::foreignfile {
namespace {

using audiofile::refuse;

/// Opening sets up state that libsndfile and its decoders share between all files, the text of the last error among it.
std::mutex& libraryMutex() {
  static std::mutex mutex;
  return mutex;
}

/// "Error : flac decoder lost sync." becomes "flac decoder lost sync".
std::string oneLine(std::string_view text) {
  constexpr std::string_view kPrefix = "Error : ";
  if (text.starts_with(kPrefix)) {
    text.remove_prefix(kPrefix.size());
  }
  text = text.substr(0, text.find('\n'));
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) {
    text.remove_suffix(1);
  }
  return std::string(text);
}

}  // namespace

void Decoder::Close::operator()(SNDFILE* file) const {
  const std::lock_guard guard(libraryMutex());
  sf_close(file);
}

Decoder::Decoder(std::unique_ptr<FileHandle> file, const ForeignKind& kind)
    : kind_(kind),
      io_(std::move(file), kind.mayHoldMPEG ? HandleIO::SeekFromEnd::refused : HandleIO::SeekFromEnd::allowed) {}

OSStatus Decoder::open(std::unique_ptr<FileHandle> file, const ForeignKind& kind, std::unique_ptr<Decoder>* decoder) {
  std::unique_ptr<Decoder> opened(new Decoder(std::move(file), kind));
  SF_INFO info{};
  OSStatus status = opened->openLibrary(&info);
  if (status == noErr) {
    status = present(info, kind, &opened->presentation_);
  }
  if (status == noErr) {
    *decoder = std::move(opened);
  }
  return status;
}

OSStatus Decoder::openLibrary(SF_INFO* info) {
  file_.reset();
  if (const OSStatus status = io_.takeFailure(); status != noErr) {
    return refuse(status, describeStatus(status));
  }
  io_.restart();
  std::string reason;
  bool isOtherCoding = false;
  {
    const std::lock_guard guard(libraryMutex());
    file_.reset(sf_open_virtual(HandleIO::calls(), SFM_READ, info, &io_));
    if (!file_) {
      isOtherCoding = sf_error(nullptr) == SF_ERR_UNSUPPORTED_ENCODING;
      reason = oneLine(sf_strerror(nullptr));
    }
  }
  if (file_) {
    return noErr;
  }
  if (const OSStatus status = io_.takeFailure(); status != noErr) {
    return refuse(status, describeStatus(status));
  }
  return refuse(isOtherCoding ? kAudioFileUnsupportedDataFormatError : kAudioFileInvalidFileError,
                formatText("%s: the file can't be decoded (%s)", kind_.name, reason.c_str()));
}

OSStatus Decoder::decode(std::uint8_t* to, std::int64_t frames, std::int64_t* decoded) {
  *decoded = 0;
  if (!file_) {
    return refuseDamage("it could not be opened again");
  }
  const std::uint32_t sampleBytes = presentation_.pcm.bytesPerSample;
  *decoded = std::has_single_bit(sampleBytes) && sampleBytes > 1 ? decodeAligned(to, frames) : decodePacked(to, frames);
  if (const OSStatus status = io_.takeFailure(); status != noErr) {
    return refuse(status, describeStatus(status));
  }
  const int error = sf_error(file_.get());
  return error == SF_ERR_NO_ERROR ? noErr : refuseDamage(oneLine(sf_error_number(error)).c_str());
}

sf_count_t Decoder::decodeAligned(std::uint8_t* to, sf_count_t frames) {
  auto* const at = static_cast<void*>(to);
  if (presentation_.pcm.isFloat()) {
    return presentation_.pcm.bytesPerSample == sizeof(float)
               ? sf_readf_float(file_.get(), static_cast<float*>(at), frames)
               : sf_readf_double(file_.get(), static_cast<double*>(at), frames);
  }
  return presentation_.pcm.bytesPerSample == sizeof(short)
             ? sf_readf_short(file_.get(), static_cast<short*>(at), frames)
             : sf_readf_int(file_.get(), static_cast<int*>(at), frames);
}

/// The upper bytes of what libsndfile gives as 32 bits, left-justified.
sf_count_t Decoder::decodePacked(std::uint8_t* to, sf_count_t frames) {
  const std::size_t sampleBytes = presentation_.pcm.bytesPerSample;
  ints_.resize(static_cast<std::size_t>(frames) * presentation_.pcm.channels);
  const sf_count_t decoded = sf_readf_int(file_.get(), ints_.data(), frames);
  const std::size_t samples = static_cast<std::size_t>(decoded) * presentation_.pcm.channels;
  constexpr bool kIsBig = std::endian::native == std::endian::big;
  const std::size_t skipped = kIsBig ? 0 : sizeof(int) - sampleBytes;
  for (std::size_t i = 0; i < samples; ++i) {
    std::memcpy(to + i * sampleBytes, reinterpret_cast<const std::uint8_t*>(&ints_[i]) + skipped, sampleBytes);
  }
  return decoded;
}

OSStatus Decoder::seek(std::int64_t frame) {
  if (!file_) {
    return refuseDamage("it could not be opened again");
  }
  const sf_count_t reached = sf_seek(file_.get(), frame, SEEK_SET);
  if (const OSStatus status = io_.takeFailure(); status != noErr) {
    return refuse(status, describeStatus(status));
  }
  return reached == frame ? noErr : refuseDamage("a place in it can't be found");
}

OSStatus Decoder::restart() {
  SF_INFO info{};
  return openLibrary(&info);
}

OSStatus Decoder::refuseDamage(const char* reason) const {
  return refuse(kAudioFileInvalidFileError, formatText("%s: the file is damaged (%s)", kind_.name, reason));
}

}  // namespace orv::foreignfile
