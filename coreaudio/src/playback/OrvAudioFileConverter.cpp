#include "OrvCoreAudio/OrvAudioFileConverter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"

namespace {

constexpr std::uint32_t kBufferBytes = 0x80000;
/// 44,100 Hz, stereo, 16-bit signed big-endian integers.
constexpr int kSixteenBitFormat = 5;

std::shared_ptr<OrvObject> ifItListens(const std::shared_ptr<OrvObject>& subscriber) {
  return dynamic_cast<OrvProgressDelegate*>(subscriber.get()) != nullptr ? subscriber : nullptr;
}

const char* textOf(const std::optional<std::string>& path) {
  return path ? path->c_str() : "(null)";
}

std::shared_ptr<OrvAudioFile> uncached(const std::string& path, int accessMode) {
  auto file = OrvAudioFile::initWithPath_accessMode(path, accessMode);
  file->setUseCache(false);
  file->setUseInternalCache(false);
  return file;
}

std::shared_ptr<OrvAudioStreamBasicDescription> sixteenBitFormatLike(const OrvAudioFile& source) {
  auto format = OrvAudioStreamBasicDescription::standardFormat(kSixteenBitFormat);
  format->setSampleRate(source.sampleRate());
  format->setChannelsPerFrame(source.channelsPerFrame());
  format->setBytesPerFrame(2 * source.channelsPerFrame());
  format->setBytesPerPacket(format->bytesPerFrame());
  return format;
}

/// Frames of the destination that so many bytes of the source become and that the buffer holds; one at least.
std::uint32_t framesFor(std::uint32_t sourceBytes, const OrvAudioFile& source,
                        const OrvAudioStreamBasicDescription& format) {
  const std::uint32_t packets = sourceBytes / std::max<std::uint32_t>(source.bytesPerPacket(), 1);
  const double frames = static_cast<double>(packets) * std::max<std::uint32_t>(source.framesPerPacket(), 1) *
                        format.sampleRate() / source.sampleRate();
  const std::uint32_t most = kBufferBytes / std::max<std::uint32_t>(format.bytesPerFrame(), 1);
  return static_cast<std::uint32_t>(std::clamp<double>(frames, 1.0, std::max(most, 1U)));
}

}  // namespace

OrvAudioFileConverter::OrvAudioFileConverter(const std::shared_ptr<OrvObject>& subscriber)
    : m_progressSubscriber(ifItListens(subscriber)), m_rawByteBuffer(kBufferBytes), m_rawByteBufferSize(kBufferBytes) {}

std::shared_ptr<OrvAudioFileConverter> OrvAudioFileConverter::initWithProgressSubscriber(
    const std::shared_ptr<OrvObject>& subscriber) {
  return withoutThrowing("OrvAudioFileConverter", std::shared_ptr<OrvAudioFileConverter>(),
                         [&] { return std::shared_ptr<OrvAudioFileConverter>(new OrvAudioFileConverter(subscriber)); });
}

bool OrvAudioFileConverter::convertFile_toPath(const std::optional<std::string>& sourcePath,
                                               const std::optional<std::string>& destinationPath) {
  orv::logf("Entering convertFile with args: inSourcePath: %s, inDestinationPath: %s", textOf(sourcePath),
            textOf(destinationPath));
  if (!sourcePath || !destinationPath) {
    return convertFile_toPath_toFormat(sourcePath, destinationPath, nullptr);
  }
  return withoutThrowing("OrvAudioFileConverter", false, [&] {
    const auto source = OrvAudioFile::initWithPath_accessMode(sourcePath, OrvAudioFile::kModeRead);
    source->open();
    const auto format = sixteenBitFormatLike(*source);
    source->close();
    return convertFile_toPath_toFormat(sourcePath, destinationPath, format);
  });
}

bool OrvAudioFileConverter::convertFile_toPath_toFormat(const std::optional<std::string>& sourcePath,
                                                        const std::optional<std::string>& destinationPath,
                                                        const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  orv::logf("Entering convertFile with args: inSourcePath: %s, inDestinationPath: %s, inFormat: %s", textOf(sourcePath),
            textOf(destinationPath), format ? format->description().c_str() : "(null)");
  if (!sourcePath || !destinationPath) {
    return false;
  }
  const bool wasConverted = withoutThrowing("OrvAudioFileConverter", false,
                                            [&] { return convertFiles(*sourcePath, *destinationPath, format); });
  m_sourceFile = nullptr;
  m_destinationFile = nullptr;
  return wasConverted;
}

bool OrvAudioFileConverter::convertFiles(const std::string& sourcePath, const std::string& destinationPath,
                                         const std::shared_ptr<Format>& format) {
  std::error_code ignored;
  // Making the destination would empty the source.
  if (std::filesystem::equivalent(sourcePath, destinationPath, ignored)) {
    return false;
  }
  openFiles(sourcePath, destinationPath, format);
  const auto converter = makeConverter(format);
  const bool wasConverted = runLoop(converter.get(), format);
  m_sourceFile->close();
  return m_destinationFile->close() && wasConverted;
}

void OrvAudioFileConverter::openFiles(const std::string& sourcePath, const std::string& destinationPath,
                                      const std::shared_ptr<Format>& format) {
  m_sourceFile = uncached(sourcePath, OrvAudioFile::kModeRead);
  m_sourceFile->open();
  orv::logf("opened source file. length: %lld", static_cast<long long>(m_sourceFile->lengthInBytes()));
  m_destinationFile = uncached(destinationPath, OrvAudioFile::kModeWrite);
  m_destinationFile->setFileStreamFormat(format);
  m_destinationFile->open();
}

std::shared_ptr<OrvAudioConverter> OrvAudioFileConverter::makeConverter(const std::shared_ptr<Format>& format) {
  // Not an owner: the converter lives no longer than the conversion does.
  const std::shared_ptr<OrvObject> delegate(std::shared_ptr<void>(), this);
  auto converter = OrvAudioConverter::initWithDelegate_sourceFormat_destinationFormat(
      delegate, m_sourceFile->fileStreamFormat(), format);
  if (converter) {
    converter->setSampleRateConverterQuality(kAudioConverterQuality_Max);
    std::uint32_t size = 0;
    const std::unique_ptr<void, decltype(&std::free)> cookie(m_sourceFile->magicCookie(&size), &std::free);
    if (size > 0) {
      converter->setMagicCookie_length(cookie.get(), size);
    }
  }
  orv::log("created converter");
  return converter;
}

bool OrvAudioFileConverter::runLoop(OrvAudioConverter* converter, const std::shared_ptr<Format>& format) {
  const std::uint32_t packetBytes = std::max<std::uint32_t>(m_sourceFile->bytesPerPacket(), 1);
  std::uint64_t bytesLeft = m_sourceFile->lengthInBytes();
  bytesLeft -= bytesLeft % packetBytes;
  unreadBytes_ = bytesLeft;
  const std::uint64_t total = bytesLeft;
  std::uint32_t bytesToRead = 0;
  orv::logf("BEFORE LOOP: bytesLeftToRead: %llu, bytesToRead: %u", static_cast<unsigned long long>(bytesLeft),
            bytesToRead);
  if (bytesLeft == 0) {
    return true;
  }
  if (converter == nullptr) {
    return false;
  }
  Pass pass;
  pass.output.resize(kBufferBytes);
  while (bytesLeft != 0) {
    bytesToRead = static_cast<std::uint32_t>(std::min<std::uint64_t>(m_rawByteBufferSize, bytesLeft));
    const auto left = static_cast<unsigned long long>(bytesLeft);
    orv::logf("INSIDE LOOP: bytesLeftToRead: %llu, bytesToRead: %u", left, bytesToRead);
    fill(*converter, *format, framesFor(bytesToRead, *m_sourceFile, *format), &pass);
    orv::logf("INSIDE LOOP 1: bytesLeftToRead: %llu, bytesToRead: %u, numPackets: %u", left, bytesToRead, pass.frames);
    const bool wasWritten = write(pass, *format);
    report(bytesLeft, total);
    bytesLeft = unreadBytes_;
    orv::logf("INSIDE LOOP END: bytesLeftToRead: %llu, bytesToRead: %u, numPackets: %u",
              static_cast<unsigned long long>(bytesLeft), bytesToRead, pass.frames);
    // A pass without a frame, or trouble, before the source's end: no pass that follows would do better.
    if (!wasWritten || (bytesLeft != 0 && (pass.frames == 0 || pass.status != noErr))) {
      return false;
    }
  }
  return writeTail(*converter, *format, &pass);
}

/// What comes out of the converter after the last byte of the source went in.
bool OrvAudioFileConverter::writeTail(OrvAudioConverter& converter, const Format& format, Pass* pass) {
  while (pass->status == noErr) {
    fill(converter, format, framesFor(m_rawByteBufferSize, *m_sourceFile, format), pass);
    if (!write(*pass, format)) {
      return false;
    }
  }
  return pass->status == kEndOfFileStatus;
}

void OrvAudioFileConverter::fill(OrvAudioConverter& converter, const Format& format, std::uint32_t frames, Pass* pass) {
  AudioBufferList list{1, {{format.channelsPerFrame(), kBufferBytes, pass->output.data()}}};
  pass->status = converter.fillComplexBuffer_buffer_packetDescription(&frames, &list, nullptr);
  pass->frames = converter.framesFilled();
}

bool OrvAudioFileConverter::write(const Pass& pass, const Format& format) {
  std::uint32_t frames = pass.frames;
  return frames == 0 || m_destinationFile->writePackets_numBytes_inPacketDescriptions_numPackets(
                            pass.output.data(), frames * format.bytesPerFrame(), nullptr, &frames);
}

void OrvAudioFileConverter::report(std::uint64_t bytesLeft, std::uint64_t total) {
  if (auto* const subscriber = dynamic_cast<OrvProgressDelegate*>(m_progressSubscriber.get())) {
    const auto progress = static_cast<float>(1.0 - static_cast<double>(bytesLeft) / static_cast<double>(total));
    // A few bytes of many are less than a float can tell from none.
    subscriber->progressUpdate(std::min(progress, std::nextafter(1.0F, 0.0F)));
  }
}

OSStatus OrvAudioFileConverter::audioConverterCallback_data_packetDescription(
    std::uint32_t* numPackets, AudioBufferList* data, AudioStreamPacketDescription** packetDescriptions) {
  const std::uint32_t packetBytes = m_sourceFile ? m_sourceFile->bytesPerPacket() : 0;
  if (*numPackets == 0 || packetBytes == 0) {
    *numPackets = 0;
    return kEndOfFileStatus;
  }
  const std::uint64_t there = std::min<std::uint64_t>(m_rawByteBufferSize, unreadBytes_) / packetBytes;
  *numPackets = static_cast<std::uint32_t>(std::min<std::uint64_t>(*numPackets, there));
  std::uint32_t bytes = 0;
  const bool wasRead =
      *numPackets > 0 &&
      m_sourceFile->readPackets_numBytes_outPacketDescriptions_numPackets(
          m_rawByteBuffer.data(), &bytes, packetDescriptions != nullptr ? *packetDescriptions : nullptr, numPackets);
  if (!wasRead) {
    *numPackets = 0;
    bytes = 0;
  }
  unreadBytes_ -= std::min<std::uint64_t>(bytes, unreadBytes_);
  data->mBuffers[0].mData = m_rawByteBuffer.data();
  data->mBuffers[0].mDataByteSize = bytes;
  return wasRead ? noErr : kEndOfFileStatus;
}
