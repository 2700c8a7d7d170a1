#include "audiofile/SD2Companion.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>

#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "audiofile/Companion.h"
#include "audiofile/HeaderReader.h"
#include "audiofile/ResourceFork.h"

namespace orv::audiofile {
namespace {

// Texts of a Sound Designer II file: numbers in decimal digits, the sample size in bytes. The IDs decide; some programs
// garble the names.
constexpr std::uint16_t kSampleSize = 1000;
constexpr std::uint16_t kSampleRate = 1001;
constexpr std::uint16_t kChannels = 1002;

constexpr const char* kContainer = "Sound Designer II";

/// Longest text of a resource.
constexpr std::size_t kLongestText = 255;

OSStatus refuseCompanion(const std::string& problem) {
  return refuse(kAudioFileInvalidFileError, formatText("%s: %s", kContainer, problem.c_str()));
}

OSStatus refuseMissing(const std::string& path) {
  const std::string name = std::filesystem::path(companionPath(path)).filename().string();
  return refuseCompanion(formatText("the file '%s' that says the format is missing", name.c_str()));
}

/// Rates come with digits behind a point, or a comma where a program's language has one there.
std::optional<double> numberIn(std::string text) {
  std::replace(text.begin(), text.end(), ',', '.');
  const auto first = std::find_if(text.begin(), text.end(), [](char c) { return c != ' '; });
  text.erase(text.begin(), first);
  text.erase(text.find_last_not_of(std::string_view(" \0", 2)) + 1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = error == std::errc() && end == text.data() + text.size() && !text.empty();
  return isNumber ? std::optional(number) : std::nullopt;
}

/// 0 for what is no count at all: no container takes that.
std::uint32_t countFrom(double number) {
  const bool isCount =
      number >= 0 && number <= std::numeric_limits<std::uint16_t>::max() && number == std::floor(number);
  return isCount ? static_cast<std::uint32_t>(number) : 0;
}

class Texts {
 public:
  explicit Texts(HeaderReader& reader, const Stretch& fork) : fork_(reader, fork) {}

  OSStatus open() {
    const char* const problem = fork_.open();
    return problem == nullptr ? noErr : refuseCompanion(problem);
  }

  OSStatus number(std::uint16_t id, const char* name, double* number) {
    const auto text = fork_.text(id);
    if (!text) {
      return refuseCompanion(formatText("the companion does not say the %s", name));
    }
    const auto value = numberIn(*text);
    if (!value) {
      return refuseCompanion(formatText("what the companion says for the %s is no number", name));
    }
    *number = *value;
    return noErr;
  }

 private:
  ResourceFork fork_;
};

OSStatus readFormat(HeaderReader& reader, PCMFormat* format) {
  Stretch fork;
  if (const char* const problem = findResourceFork(reader, &fork); problem != nullptr) {
    return refuseCompanion(problem);
  }
  Texts texts(reader, fork);
  double sampleSize = 0;
  double channels = 0;
  OSStatus status = texts.open();
  if (status == noErr) {
    status = texts.number(kSampleSize, "sample size", &sampleSize);
  }
  if (status == noErr) {
    status = texts.number(kSampleRate, "sample rate", &format->sampleRate);
  }
  if (status == noErr) {
    status = texts.number(kChannels, "number of channels", &channels);
  }
  if (status != noErr) {
    return status;
  }
  format->channels = countFrom(channels);
  format->kind = SampleKind::signedInteger;
  format->order = ByteOrder::big;
  format->bytesPerSample = countFrom(sampleSize);
  format->bits = 8 * format->bytesPerSample;
  return checkFormat(*format, kContainer);
}

/// In full, without an exponent: six digits behind the point where they say it all, as other programs write them.
std::string textOf(double number) {
  std::array<char, kLongestText + 1> digits{};
  const auto short6 = std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed, 6);
  std::string text(digits.data(), short6.ec == std::errc() ? short6.ptr : digits.data());
  if (numberIn(text) == number) {
    return text;
  }
  const auto exact = std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
  return {digits.data(), exact.ec == std::errc() ? exact.ptr : digits.data()};
}

}  // namespace

OSStatus readSD2Companion(const std::string& path, PCMFormat* format) {
  std::unique_ptr<FileHandle> file;
  const OSStatus status = fileManager()->open(companionPath(path), FileAccess::read, &file);
  if (status == kFileNotFoundStatus) {
    return refuseMissing(path);
  }
  if (status != noErr) {
    return refuse(status, formatText("%s: the companion: %s", kContainer, describeStatus(status).c_str()));
  }
  HeaderReader reader(*file);
  const OSStatus read = readFormat(reader, format);
  return reader.status() == noErr ? read : refuse(reader.status(), describeStatus(reader.status()));
}

OSStatus makeSD2Companion(const PCMFormat& format, std::vector<std::uint8_t>* companion) {
  if (format.kind != SampleKind::signedInteger || format.bits != 8 * format.bytesPerSample ||
      (format.order != ByteOrder::big && format.bytesPerSample > 1)) {
    return refuse(kAudioFileUnsupportedDataFormatError,
                  "Sound Designer II holds big-endian signed integers of 8, 16, 24 or 32 bits");
  }
  const std::array texts{
      TextResource{kSampleSize, "sample-size", std::to_string(format.bytesPerSample)},
      TextResource{kSampleRate, "sample-rate", textOf(format.sampleRate)},
      TextResource{kChannels, "channels", std::to_string(format.channels)},
  };
  if (texts[1].text.empty() || texts[1].text.size() > kLongestText) {
    return refuse(kAudioFileUnsupportedDataFormatError, "Sound Designer II can't hold this sample rate");
  }
  *companion = makeCompanion(kAudioFileSoundDesigner2Type, makeResourceFork(texts));
  return noErr;
}

void removeSD2Companion(const std::string& path) {
  const std::string problem = audioFileProblem();
  PCMFormat format;
  if (readSD2Companion(path, &format) == noErr) {
    fileManager()->remove(companionPath(path));
  }
  setAudioFileProblem(problem);  // that there is none is no problem
}

}  // namespace orv::audiofile
