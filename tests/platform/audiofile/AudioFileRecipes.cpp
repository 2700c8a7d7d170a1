#include "AudioFileRecipes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

AudioStreamBasicDescription linear(std::uint32_t flags, std::uint32_t bits, std::uint32_t channels, double rate) {
  AudioStreamBasicDescription format{};
  format.mSampleRate = rate;
  format.mFormatID = kAudioFormatLinearPCM;
  format.mFormatFlags = flags;
  format.mChannelsPerFrame = channels;
  format.mBitsPerChannel = bits;
  format.mBytesPerFrame = channels * ((bits + 7) / 8);
  format.mBytesPerPacket = format.mBytesPerFrame;
  format.mFramesPerPacket = 1;
  return format;
}

Bytes padded(Bytes chunk, std::size_t bodySize, Padding padding) {
  if (bodySize % 2 == 1 && padding == Padding::asRequired) {
    chunk.push_back(0);
  }
  return chunk;
}

Opened opened(OSStatus status, std::unique_ptr<AudioFileSession> session) {
  return {status, std::move(session), status == noErr ? std::string() : audioFileProblem()};
}

}  // namespace

Bytes bigEndian(std::uint64_t value, int bytes) {
  Bytes result = littleEndian(value, bytes);
  std::reverse(result.begin(), result.end());
  return result;
}

Bytes littleEndian(std::uint64_t value, int bytes) {
  Bytes result;
  for (int i = 0; i < bytes; ++i) {
    result.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
  return result;
}

Bytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Bytes bigChunk(std::string_view id, const Bytes& body, Padding padding) {
  return padded(text(id) + bigEndian(body.size(), 4) + body, body.size(), padding);
}

Bytes littleChunk(std::string_view id, const Bytes& body, Padding padding) {
  return padded(text(id) + littleEndian(body.size(), 4) + body, body.size(), padding);
}

Bytes form(std::string_view type, const Bytes& chunks) {
  return bigChunk("FORM", text(type) + chunks);
}

Bytes riff(const Bytes& chunks) {
  return littleChunk("RIFF", text("WAVE") + chunks);
}

Bytes rate44100() {
  return {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};
}

Bytes commonChunk(std::uint32_t channels, std::uint32_t frames, std::uint32_t bits, const Bytes& rate) {
  return bigChunk("COMM", bigEndian(channels, 2) + bigEndian(frames, 4) + bigEndian(bits, 2) + rate);
}

Bytes commonChunkAIFC(std::uint32_t channels, std::uint32_t frames, std::uint32_t bits, std::string_view code) {
  return bigChunk("COMM", bigEndian(channels, 2) + bigEndian(frames, 4) + bigEndian(bits, 2) + rate44100() +
                              text(code) + Bytes{0, 0});
}

Bytes soundChunk(const Bytes& audio, std::uint32_t offset, std::uint32_t blockSize, Padding padding) {
  return bigChunk("SSND", bigEndian(offset, 4) + bigEndian(blockSize, 4) + Bytes(offset, 0xEE) + audio, padding);
}

Bytes formatBody(std::uint32_t tag, std::uint32_t channels, std::uint32_t rate, std::uint32_t blockAlign,
                 std::uint32_t bits) {
  return littleEndian(tag, 2) + littleEndian(channels, 2) + littleEndian(rate, 4) +
         littleEndian(std::uint64_t{rate} * blockAlign, 4) + littleEndian(blockAlign, 2) + littleEndian(bits, 2);
}

Bytes formatChunk(std::uint32_t channels, std::uint32_t bits, std::uint32_t rate) {
  return littleChunk("fmt ", formatBody(1, channels, rate, channels * ((bits + 7) / 8), bits));
}

Bytes audioBytes(std::size_t count, unsigned seed) {
  Bytes audio(count);
  std::uint32_t state = seed * 2654435761U + 1;
  for (std::uint8_t& byte : audio) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(0x80 | (state >> 25));
  }
  return audio;
}

AudioStreamBasicDescription signedBig(std::uint32_t bits, std::uint32_t channels, double rate) {
  return linear(14, bits, channels, rate);
}
AudioStreamBasicDescription signedLittle(std::uint32_t bits, std::uint32_t channels, double rate) {
  return linear(12, bits, channels, rate);
}
AudioStreamBasicDescription unsignedBytes(std::uint32_t channels, double rate) {
  return linear(8, 8, channels, rate);
}
AudioStreamBasicDescription floatBig(std::uint32_t bits, std::uint32_t channels, double rate) {
  return linear(11, bits, channels, rate);
}
AudioStreamBasicDescription floatLittle(std::uint32_t bits, std::uint32_t channels, double rate) {
  return linear(9, bits, channels, rate);
}

bool isSameFormat(const AudioStreamBasicDescription& a, const AudioStreamBasicDescription& b) {
  const auto fields = [](const AudioStreamBasicDescription& f) {
    return std::tie(f.mSampleRate, f.mFormatID, f.mFormatFlags, f.mBytesPerPacket, f.mFramesPerPacket, f.mBytesPerFrame,
                    f.mChannelsPerFrame, f.mBitsPerChannel, f.mReserved);
  };
  return fields(a) == fields(b);
}

Opened openForReading(const std::string& path) {
  std::unique_ptr<AudioFileSession> session;
  const OSStatus status = audioFileService()->open(path, false, &session);
  return opened(status, std::move(session));
}

Opened openForUpdate(const std::string& path) {
  std::unique_ptr<AudioFileSession> session;
  const OSStatus status = audioFileService()->open(path, true, &session);
  return opened(status, std::move(session));
}

Opened create(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format) {
  std::unique_ptr<AudioFileSession> session;
  const OSStatus status = audioFileService()->create(path, type, format, &session);
  return opened(status, std::move(session));
}

Bytes audioOf(AudioFileSession& session) {
  Bytes audio(static_cast<std::size_t>(session.dataByteCount()));
  auto count = static_cast<std::uint32_t>(audio.size());
  EXPECT_EQ(session.readBytes(0, &count, audio.data()), noErr);
  EXPECT_EQ(count, audio.size());
  return audio;
}

Bytes audioOf(const std::string& path) {
  const Opened file = openForReading(path);
  if (file.status != noErr) {
    ADD_FAILURE() << path << ": " << file.problem;
    return {};
  }
  return audioOf(*file.session);
}

void append(AudioFileSession& session, const Bytes& audio) {
  auto count = static_cast<std::uint32_t>(audio.size());
  ASSERT_EQ(session.writeBytes(session.dataByteCount(), &count, audio.data()), noErr);
  ASSERT_EQ(count, audio.size());
}

void writeAudioFile(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                    const Bytes& audio) {
  const Opened file = create(path, type, format);
  ASSERT_EQ(file.status, noErr) << file.problem;
  append(*file.session, audio);
  ASSERT_EQ(file.session->close(), noErr);
}

std::vector<Bytes> chunksNamed(const Bytes& file, std::string_view id) {
  const bool isBig = text("FORM") == Bytes(file.begin(), file.begin() + 4);
  const auto sizeAt = [&](std::size_t at) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      size = size << 8 | file[at + (isBig ? i : 3 - i)];
    }
    return size;
  };
  const std::size_t end = 8 + sizeAt(4);
  std::vector<Bytes> bodies;
  std::size_t at = 12;
  while (at + 8 <= end && at + 8 <= file.size()) {
    const std::size_t size = sizeAt(at + 4);
    if (size > file.size() - at - 8) {
      ADD_FAILURE() << "a chunk reaches beyond the file";
      return bodies;
    }
    const auto body = file.begin() + static_cast<std::ptrdiff_t>(at + 8);
    if (std::equal(id.begin(), id.end(), body - 8)) {
      bodies.emplace_back(body, body + static_cast<std::ptrdiff_t>(size));
    }
    at += 8 + size + size % 2;
  }
  EXPECT_EQ(at, end) << "the chunks do not fill their form";
  return bodies;
}

Bytes bytesOfFile(const std::string& path) {
  return text(readWholeFile(path));
}

void writeBytesToFile(const std::string& path, const Bytes& bytes) {
  writeWholeFile(path, std::string(bytes.begin(), bytes.end()));
}

}  // namespace orv::test
