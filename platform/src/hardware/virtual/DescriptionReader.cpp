#include "hardware/virtual/DescriptionReader.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "OrvPlatform/JSON.h"
#include "OrvPlatform/Log.h"
#include "hardware/virtual/DescriptionCheck.h"
#include "hardware/virtual/Model.h"
#include "hardware/virtual/ObjectReader.h"

namespace orv::virtualhardware {
namespace {

/// Longer than any description, and than what the parser takes.
constexpr std::uintmax_t kLongestFile = std::uintmax_t{4} << 20;

/// Reads one description. Everything goes into `problem`, the first thing that is wrong.
class Reader {
 public:
  Reader(std::string folder, std::string* problem) : folder_(std::move(folder)), problem_(problem) {}

  HardwareDescription read(const ArchiveValue& value) {
    HardwareDescription description;
    ObjectReader reader(value, "", problem_);
    if (reader.isGood()) {
      reader.readChoice("clock",
                        {{"realTime", VirtualClock::realTime},
                         {"accelerated", VirtualClock::accelerated},
                         {"asFastAsItGoes", VirtualClock::asFastAsItGoes},
                         {"byHand", VirtualClock::byHand}},
                        &description.options.clock);
      reader.read("acceleration", &description.options.acceleration);
      const double acceleration = description.options.acceleration;
      if (!(acceleration >= kSlowestClock && acceleration <= kFastestClock)) {
        reader.refuse("acceleration", formatText("it is not between %g and %g", kSlowestClock, kFastestClock));
      }
      reader.readList("devices", [&](const ArchiveValue& element, const std::string& /*place*/) {
        description.devices.push_back(device(element, description.devices.size()));
      });
      reader.finish();
    }
    return description;
  }

 private:
  /// "device "usb-1": ", or "device 2: " (counted from 1) when it does not say its UID.
  static std::string nameOf(const ArchiveValue& value, std::size_t index) {
    const auto object = value.dictionary();
    const auto found = object == nullptr ? ArchiveDictionary::iterator() : object->find("uid");
    const std::string* const uid = object == nullptr || found == object->end() ? nullptr : found->second.text();
    return uid == nullptr || uid->empty() || uid->size() > kLongestText ? formatText("device %zu: ", index + 1)
                                                                        : formatText("device \"%s\": ", uid->c_str());
  }

  VirtualDevice device(const ArchiveValue& value, std::size_t index) {
    VirtualDevice device;
    const std::string name = nameOf(value, index);
    if (index >= kMostDevices) {
      *problem_ = formatText("devices: more than %zu", kMostDevices);
      return device;
    }
    ObjectReader reader(value, name, problem_);
    if (!reader.isGood()) {
      return device;
    }
    reader.read("id", &device.id);
    reader.read("uid", &device.uid);
    reader.read("name", &device.name);
    reader.read("manufacturer", &device.manufacturer);
    reader.readCode("transport", &device.transport);
    readRates(reader, &device);
    reader.read("nominalSampleRate", &device.nominalSampleRate);
    reader.read("bufferFrameSize", &device.bufferFrameSize);
    reader.readObject("bufferFrameSizes", [&](ObjectReader& range) { readRange(range, &device.bufferFrameSizes); });
    reader.read("canBeDefault", &device.canBeDefault);
    reader.read("canBeSystemDefault", &device.canBeSystemDefault);
    reader.read("supportsMixing", &device.supportsMixing);
    reader.read("hasPlayThru", &device.hasPlayThru);
    reader.readObject("input", [&](ObjectReader& section) { readSection(section, &device.input); });
    reader.readObject("output", [&](ObjectReader& section) { readSection(section, &device.output); });
    reader.readObject("source", [&](ObjectReader& source) { readSource(source, &device.source); });
    reader.readObject("sink", [&](ObjectReader& sink) {
      sink.read("file", &device.sink.file);
      if (device.sink.file) {
        device.sink.file = pathOf(*device.sink.file);
      }
    });
    reader.finish();
    if (reader.isGood()) {
      const std::string problem = problemOf(device);
      *problem_ = problem.empty() ? "" : name + problem;
    }
    return device;
  }

  static void readRange(ObjectReader& reader, AudioValueRange* range) {
    reader.read("minimum", &range->mMinimum);
    reader.read("maximum", &range->mMaximum);
  }

  void readRates(ObjectReader& reader, VirtualDevice* device) {
    if (reader.has("nominalSampleRates")) {
      device->nominalSampleRates.clear();
    }
    reader.readList("nominalSampleRates", [&](const ArchiveValue& element, const std::string& place) {
      AudioValueRange range = {0.0, 0.0};
      if (const auto rate = numberOf(element)) {
        range = {*rate, *rate};
      } else {
        ObjectReader ends(element, place + ".", problem_);
        if (ends.isGood()) {
          readRange(ends, &range);
          ends.finish();
        }
      }
      device->nominalSampleRates.push_back(range);
    });
  }

  void readSection(ObjectReader& reader, VirtualSection* section) {
    reader.readList("streams", [&](const ArchiveValue& element, const std::string& place) {
      section->streams.push_back(stream(element, place));
    });
    reader.readList("controls", [&](const ArchiveValue& element, const std::string& place) {
      section->controls.push_back(control(element, place));
    });
    reader.read("quietestDecibels", &section->quietestDecibels);
    reader.read("loudestDecibels", &section->loudestDecibels);
    reader.readList("dataSources", [&](const ArchiveValue& element, const std::string& place) {
      ObjectReader source(element, place + ".", problem_);
      VirtualDataSource& added = section->dataSources.emplace_back();
      if (source.isGood()) {
        source.readCode("id", &added.id);
        source.read("name", &added.name);
        source.finish();
      }
    });
    reader.readCode("currentDataSource", &section->currentDataSource);
    reader.read("jackIsConnected", &section->jackIsConnected);
    std::vector<std::uint32_t> stereo = numbers(reader, "preferredStereo");
    if (reader.has("preferredStereo") && stereo.size() != 2) {
      reader.refuse("preferredStereo", "it is no list of two channels");
    } else if (!stereo.empty()) {
      section->preferredStereo[0] = stereo[0];
      section->preferredStereo[1] = stereo[1];
    }
    section->channelLabels = numbers(reader, "channelLabels");
    reader.read("latency", &section->latency);
    reader.read("safetyOffset", &section->safetyOffset);
  }

  std::vector<std::uint32_t> numbers(ObjectReader& reader, const std::string& key) {
    std::vector<std::uint32_t> numbers;
    reader.readList(key, [&](const ArchiveValue& element, const std::string& place) {
      const auto number = wholeNumberOf(element);
      numbers.push_back(number.value_or(0));
      if (!number) {
        *problem_ = place + ": it is no whole number from 0 to 4294967295";
      }
    });
    return numbers;
  }

  VirtualStream stream(const ArchiveValue& value, const std::string& place) {
    VirtualStream stream;
    ObjectReader reader(value, place + ".", problem_);
    if (!reader.isGood()) {
      return stream;
    }
    std::uint32_t channels = 2;
    reader.read("channels", &channels);
    if (channels == 0 || channels > kMostChannels) {
      reader.refuse("channels", formatText("%u is not between 1 and %u", channels, kMostChannels));
    }
    reader.readCode("terminalType", &stream.terminalType);
    reader.readList("physicalFormats", [&](const ArchiveValue& element, const std::string& formatPlace) {
      stream.physicalFormats.push_back(format(element, formatPlace, channels));
    });
    if (!reader.has("physicalFormats")) {
      stream.physicalFormats = {hardwaremodel::packedFormat(channels, 24, false, false),
                                hardwaremodel::packedFormat(channels, 16, false, false)};
    }
    reader.finish();
    return stream;
  }

  AudioStreamBasicDescription format(const ArchiveValue& value, const std::string& place, std::uint32_t channels) {
    std::uint32_t bits = 16;
    double rate = 0.0;
    bool isFloat = false;
    bool isBigEndian = false;
    ObjectReader reader(value, place + ".", problem_);
    if (!reader.isGood()) {
      return {};
    }
    reader.read("bits", &bits);
    reader.read("sampleRate", &rate);
    reader.read("isFloat", &isFloat);
    reader.read("isBigEndian", &isBigEndian);
    reader.finish();
    if (isFloat ? bits != 32 && bits != 64 : bits < 8 || bits > 32) {
      reader.refuse("bits", formatText("%u is not possible: 8 to 32, or 32 or 64 for floats", bits));
      return {};
    }
    AudioStreamBasicDescription format = hardwaremodel::packedFormat(channels, bits, isFloat, isBigEndian);
    format.mSampleRate = rate;
    return format;
  }

  VirtualControl control(const ArchiveValue& value, const std::string& place) {
    VirtualControl control;
    ObjectReader reader(value, place + ".", problem_);
    if (reader.isGood()) {
      reader.read("channel", &control.channel);
      reader.read("hasVolume", &control.hasVolume);
      reader.read("hasMute", &control.hasMute);
      reader.read("volume", &control.volume);
      reader.read("isMuted", &control.isMuted);
      reader.read("isWritable", &control.isWritable);
      reader.finish();
    }
    return control;
  }

  void readSource(ObjectReader& reader, VirtualInput* source) {
    reader.readChoice("kind",
                      {{"silence", VirtualInput::Kind::silence},
                       {"tone", VirtualInput::Kind::tone},
                       {"files", VirtualInput::Kind::files},
                       {"loopback", VirtualInput::Kind::loopback}},
                      &source->kind);
    reader.read("toneHertz", &source->toneHertz);
    reader.read("toneLevel", &source->toneLevel);
    reader.readList("files", [&](const ArchiveValue& element, const std::string& place) {
      const std::string* const file = element.text();
      source->files.push_back(file == nullptr ? "" : pathOf(*file));
      if (file == nullptr) {
        *problem_ = place + ": it is no text";
      }
    });
    reader.read("gapSeconds", &source->gapSeconds);
    reader.read("repeats", &source->repeats);
    reader.read("loopbackUID", &source->loopbackUID);
  }

  std::string pathOf(const std::string& path) const { return (std::filesystem::path(folder_) / path).string(); }

  const std::string folder_;
  std::string* const problem_;
};

void report(std::string* problem, const std::string& text) {
  if (problem != nullptr) {
    *problem = text;
  }
}

}  // namespace

std::optional<HardwareDescription> readDescription(const std::string& text, const std::string& folder,
                                                   std::string* problem) {
  const auto value = parseJSON(text, problem);
  if (!value) {
    return std::nullopt;
  }
  problem->clear();
  HardwareDescription description = Reader(folder, problem).read(*value);
  return problem->empty() ? std::optional(std::move(description)) : std::nullopt;
}

std::shared_ptr<VirtualHardware> makeFromJSON(const std::string& text, const std::string& folder,
                                              std::string* problem) {
  std::string why;
  const auto description = readDescription(text, folder, &why);
  if (!description) {
    report(problem, why);
    return nullptr;
  }
  auto hardware = VirtualHardware::make(description->options);
  for (const VirtualDevice& device : description->devices) {
    if (hardware->plug(device, &why) == kAudioDeviceUnknown) {
      report(problem, why);
      return nullptr;
    }
  }
  return hardware;
}

std::shared_ptr<VirtualHardware> makeFromJSONFile(const std::string& path, std::string* problem) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) {
    report(problem, path + ": it can't be read" + (error ? ": " + error.message() : ""));
    return nullptr;
  }
  if (size > kLongestFile) {
    report(problem, path + ": it is too long");
    return nullptr;
  }
  std::ostringstream text;
  text << file.rdbuf();
  std::string why;
  auto hardware = makeFromJSON(text.str(), std::filesystem::path(path).parent_path().string(), &why);
  if (hardware == nullptr) {
    report(problem, path + ": " + why);
  }
  return hardware;
}

}  // namespace orv::virtualhardware
