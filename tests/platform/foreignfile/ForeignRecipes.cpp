#include "ForeignRecipes.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>

#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

struct CloseFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using File = std::unique_ptr<SNDFILE, CloseFile>;

File openWithLibsndfile(const std::string& path, int mode, SF_INFO* info) {
  File file(sf_open(path.c_str(), mode, info));
  if (!file) {
    throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  }
  return file;
}

template <typename Sample, typename Read>
std::string readAll(SNDFILE* file, int channels, Read read) {
  constexpr sf_count_t kFrames = 1000;
  std::vector<Sample> samples(static_cast<std::size_t>(kFrames * channels));
  std::string bytes;
  for (sf_count_t frames = 0; (frames = read(file, samples.data(), kFrames)) > 0;) {
    bytes.append(reinterpret_cast<const char*>(samples.data()),
                 static_cast<std::size_t>(frames * channels) * sizeof(Sample));
  }
  return bytes;
}

/// Keeps the upper `bytes` of each little-endian 32-bit sample.
std::string upperBytes(const std::string& ints, std::size_t bytes) {
  std::string upper;
  for (std::size_t at = 0; at < ints.size(); at += 4) {
    upper.append(ints, at + 4 - bytes, bytes);
  }
  return upper;
}

std::vector<ForeignFile> makeList() {
  std::vector<ForeignFile> files;
  const auto written = [&](const char* name, const char* extension, int format, const char* type, std::uint32_t bits,
                           bool isLossless = true, int channels = 2) {
    const int sub = format & SF_FORMAT_SUBMASK;
    const bool isFloat = sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE || sub == SF_FORMAT_VORBIS;
    files.push_back({name, extension, format, {}, type, bits, isFloat, isLossless, channels});
  };
  written("Flac8", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8, "FLAC", 8);
  written("Flac16", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, "FLAC", 16);
  written("Flac24", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "FLAC", 24);
  written("Flac24Mono", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "FLAC", 24, true, 1);
  written("Flac16SixChannels", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, "FLAC", 16, true, 6);
  written("Vorbis", "ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, "Oggf", 32, false);
  written("Caf8", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_S8, "caff", 8);
  written("Caf16", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, "caff", 16);
  written("Caf24", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24, "caff", 24);
  written("Caf24Little", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE, "caff", 24);
  written("Caf32", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_32, "caff", 32);
  written("CafFloat", "caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, "caff", 32);
  written("CafDouble", "caf", SF_FORMAT_CAF | SF_FORMAT_DOUBLE, "caff", 64);
  written("CafULaw", "caf", SF_FORMAT_CAF | SF_FORMAT_ULAW, "caff", 16, false);
  written("CafAlac16", "caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_16, "caff", 16);
  written("CafAlac20", "caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_20, "caff", 20);
  written("CafAlac24", "caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_24, "caff", 24);
  written("CafAlac32", "caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_32, "caff", 32);
  written("W64Bytes", "w64", SF_FORMAT_W64 | SF_FORMAT_PCM_U8, "W64f", 8);
  written("W64Of16", "w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16, "W64f", 16);
  written("W64Of24", "w64", SF_FORMAT_W64 | SF_FORMAT_PCM_24, "W64f", 24);
  written("W64Float", "w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT, "W64f", 32);
  written("W64ImaAdpcm", "w64", SF_FORMAT_W64 | SF_FORMAT_IMA_ADPCM, "W64f", 16, false);
  written("Au8", "au", SF_FORMAT_AU | SF_FORMAT_PCM_S8, "NeXT", 8);
  written("Au16", "au", SF_FORMAT_AU | SF_FORMAT_PCM_16, "NeXT", 16);
  written("Au16Little", "au", SF_FORMAT_AU | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, "NeXT", 16);
  written("Au24", "au", SF_FORMAT_AU | SF_FORMAT_PCM_24, "NeXT", 24);
  written("AuFloat", "au", SF_FORMAT_AU | SF_FORMAT_FLOAT, "NeXT", 32);
  written("AuDouble", "au", SF_FORMAT_AU | SF_FORMAT_DOUBLE, "NeXT", 64);
  written("AuULaw", "au", SF_FORMAT_AU | SF_FORMAT_ULAW, "NeXT", 16, false);
  written("AuALaw", "au", SF_FORMAT_AU | SF_FORMAT_ALAW, "NeXT", 16, false);
  written("AuG721", "au", SF_FORMAT_AU | SF_FORMAT_G721_32, "NeXT", 16, false, 1);
  written("AuG723", "au", SF_FORMAT_AU | SF_FORMAT_G723_24, "NeXT", 16, false, 1);
  written("AifcULaw", "aifc", SF_FORMAT_AIFF | SF_FORMAT_ULAW, "AIFC", 16, false);
  written("AifcALaw", "aifc", SF_FORMAT_AIFF | SF_FORMAT_ALAW, "AIFC", 16, false);
  written("AifcIma4", "aifc", SF_FORMAT_AIFF | SF_FORMAT_IMA_ADPCM, "AIFC", 16, false);
  written("AifcGsm", "aifc", SF_FORMAT_AIFF | SF_FORMAT_GSM610, "AIFC", 16, false, 1);
  written("AifcDwvw16", "aifc", SF_FORMAT_AIFF | SF_FORMAT_DWVW_16, "AIFC", 16, true, 1);
  written("AifcDwvw24", "aifc", SF_FORMAT_AIFF | SF_FORMAT_DWVW_24, "AIFC", 24, true, 1);
  written("WaveULaw", "wav", SF_FORMAT_WAV | SF_FORMAT_ULAW, "WAVE", 16, false);
  written("WaveALaw", "wav", SF_FORMAT_WAV | SF_FORMAT_ALAW, "WAVE", 16, false);
  written("WaveImaAdpcm", "wav", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, "WAVE", 16, false);
  written("WaveMsAdpcm", "wav", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, "WAVE", 16, false);
  written("WaveGsm", "wav", SF_FORMAT_WAV | SF_FORMAT_GSM610, "WAVE", 16, false, 1);
  written("WaveNmsAdpcm", "wav", SF_FORMAT_WAV | SF_FORMAT_NMS_ADPCM_32, "WAVE", 16, false, 1);

  const auto encoded = [&](const char* name, const char* extension, std::vector<std::string> arguments,
                           const char* type, std::uint32_t bits = 32, bool isFloat = true, bool isLossless = false) {
    files.push_back({name, extension, 0, std::move(arguments), type, bits, isFloat, isLossless, 2});
  };
  encoded("FlacOfFfmpeg", "flac", {"-c:a", "flac"}, "FLAC", 16, false, true);
  encoded("OggVorbisOfFfmpeg", "ogg", {"-c:a", "libvorbis", "-q:a", "3"}, "Oggf");
  encoded("Opus", "opus", {"-c:a", "libopus", "-b:a", "96k"}, "Oggf");
  encoded("Mp3", "mp3", {"-c:a", "libmp3lame", "-b:a", "128k"}, "MPG3");
  encoded("Mp3Variable", "mp3", {"-c:a", "libmp3lame", "-q:a", "4"}, "MPG3");
  encoded("Mp3WithoutTags", "mp3", {"-c:a", "libmp3lame", "-b:a", "128k", "-write_xing", "0", "-id3v2_version", "0"},
          "MPG3");
  encoded("Mp3LowRate", "mp3", {"-ac", "1", "-ar", "22050", "-c:a", "libmp3lame", "-b:a", "16k"}, "MPG3");
  encoded("Mp2", "mp2", {"-c:a", "mp2", "-b:a", "192k"}, "MPG2");
  encoded("Mp3InWave", "wav", {"-c:a", "libmp3lame", "-b:a", "128k"}, "WAVE");
  encoded("AifcIma4OfFfmpeg", "aifc", {"-c:a", "adpcm_ima_qt", "-f", "aiff"}, "AIFC", 16, false);
  return files;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ForeignFile& file) {
  return out << file.name;
}

const std::vector<ForeignFile>& foreignFiles() {
  static const std::vector<ForeignFile> files = makeList();
  return files;
}

const ForeignFile& foreignFile(const std::string& name) {
  const auto& files = foreignFiles();
  const auto found =
      std::find_if(files.begin(), files.end(), [&](const ForeignFile& file) { return file.name == name; });
  if (found == files.end()) {
    throw std::runtime_error("no such kind: " + name);
  }
  return *found;
}

Source makeSource(std::int64_t frames, int bits, int channels, int sampleRate) {
  Source source{channels, sampleRate, {}};
  std::mt19937 random(7);
  // Little noise: libsndfile's ALAC encoder spoils what it can't compress.
  const std::uint32_t mask = ~std::uint32_t{0} << (32 - bits);
  for (std::int64_t frame = 0; frame < frames; ++frame) {
    for (int channel = 0; channel < channels; ++channel) {
      const double noise = static_cast<double>(random()) / static_cast<double>(std::mt19937::max()) - 0.5;
      const double tone =
          std::sin(static_cast<double>(frame) * 0.03 * (1 + channel)) * std::sin(static_cast<double>(frame) * 0.00003);
      const double value = (0.4 * tone + 0.001 * noise) * 2147483647.0;
      source.samples.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(std::llround(value)) & mask));
    }
  }
  return source;
}

void writeWithLibsndfile(const std::string& path, const Source& source, int format) {
  std::vector<double> samples(source.samples.size());
  std::transform(source.samples.begin(), source.samples.end(), samples.begin(),
                 [](std::int32_t sample) { return sample / 2147483648.0; });
  const bool isFloat =
      (format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT || (format & SF_FORMAT_SUBMASK) == SF_FORMAT_DOUBLE;
  SF_INFO info{};
  info.samplerate = source.sampleRate;
  info.channels = source.channels;
  info.format = format;
  const File file = openWithLibsndfile(path, SFM_WRITE, &info);
  // In pieces: one encoder of libsndfile's keeps all of a call on its stack.
  constexpr sf_count_t kFrames = 4096;
  for (sf_count_t done = 0; done < source.frames();) {
    const sf_count_t frames = std::min(kFrames, source.frames() - done);
    const std::ptrdiff_t at = done * source.channels;
    const sf_count_t written = isFloat ? sf_writef_double(file.get(), samples.data() + at, frames)
                                       : sf_writef_int(file.get(), source.samples.data() + at, frames);
    if (written != frames) {
      throw std::runtime_error(path + ": " + sf_strerror(file.get()));
    }
    done += frames;
  }
}

Source sourceFor(const ForeignFile& file, std::int64_t frames) {
  const int bits = file.format == 0 || !file.isLossless ? 16 : std::min(static_cast<int>(file.bits), 24);
  return makeSource(frames, bits, file.channels);
}

std::string make(const ForeignFile& file, const Source& source, const std::string& directory) {
  const std::string path = directory + "/" + file.name + "." + file.extension;
  if (file.format != 0) {
    writeWithLibsndfile(path, source, file.format);
    return path;
  }
  const std::string plain = directory + "/" + file.name + ".plain.wav";
  writeWithLibsndfile(plain, source, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  encodeWithFfmpeg(plain, file.arguments, path);
  return path;
}

void encodeWithFfmpeg(const std::string& from, const std::vector<std::string>& arguments, const std::string& to) {
  std::vector<std::string> command{"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", from};
  command.insert(command.end(), arguments.begin(), arguments.end());
  command.push_back(to);
  const ProcessResult result = run(command);
  ASSERT_EQ(result.status, 0) << result.errors;
}

std::string sequentialBytes(const std::string& path, const AudioStreamBasicDescription& format) {
  SF_INFO info{};
  const File file = openWithLibsndfile(path, SFM_READ, &info);
  if ((format.mFormatFlags & kAudioFormatFlagIsFloat) != 0) {
    return format.mBitsPerChannel == 32 ? readAll<float>(file.get(), info.channels, sf_readf_float)
                                        : readAll<double>(file.get(), info.channels, sf_readf_double);
  }
  return upperBytes(readAll<int>(file.get(), info.channels, sf_readf_int),
                    format.mBytesPerFrame / format.mChannelsPerFrame);
}

OpenedForeign openFile(const std::string& path, bool forUpdate) {
  OpenedForeign opened;
  setAudioFileProblem({});
  opened.status = audioFileService()->open(path, forUpdate, &opened.session);
  opened.problem = audioFileProblem();
  return opened;
}

std::string readBytes(AudioFileSession& session, std::int64_t start, std::uint32_t count) {
  std::string bytes(count, '\x55');
  session.readBytes(start, &count, bytes.data());
  bytes.resize(count);
  return bytes;
}

std::string allBytes(AudioFileSession& session) {
  constexpr std::uint32_t kPiece = 99'999;
  std::string bytes;
  for (std::string piece; !(piece = readBytes(session, static_cast<std::int64_t>(bytes.size()), kPiece)).empty();) {
    bytes += piece;
  }
  return bytes;
}

}  // namespace orv::test
