#include "TrackSeeds.h"

#include <OrvCoreAudio/OrvTrackAndProcessingInfo.h>

#include <filesystem>
#include <fstream>

#include "MemoryFiles.h"
#include "archiver/ArchiveFrame.h"

namespace orv::fuzz {
namespace {

using test::Bytes;

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Bytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

Bytes number(std::size_t value) {
  Bytes bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
  return bytes;
}

Bytes chunk(std::string_view id, const Bytes& body) {
  return text(id) + number(body.size()) + body + Bytes(body.size() % 2);
}

Bytes form(const Bytes& chunks) {
  return text("FORM") + number(4 + chunks.size()) + text("AIFF") + chunks;
}

/// Eight-bit mono.
Bytes soundOf(std::size_t frames) {
  const Bytes rate{0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};
  return chunk("COMM", Bytes{0, 1} + number(frames) + Bytes{0, 8} + rate) +
         chunk("SSND", Bytes(8) + Bytes(frames, 0x80));
}

class Folder {
 public:
  explicit Folder(std::string path) : path_(std::move(path)) { std::filesystem::create_directories(path_); }

  void add(const Bytes& bytes) {
    std::ofstream out(path_ + "/" + std::to_string(count_++), std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

 private:
  const std::string path_;
  unsigned count_ = 0;
};

std::shared_ptr<OrvTrackAndProcessingInfo> tracks(int count) {
  auto info = OrvTrackAndProcessingInfo::init();
  for (int i = 0; i < count; ++i) {
    info->addTrackInfo(OrvAudioTrackInfo::initWithTrackName("Track " + std::to_string(i)));
    const auto processing = OrvAudioProcessingRangeInfo::initWithProcessName("Gain");
    processing->addProcessingSettingFloat_value("dB", -6);
    processing->addProcessingSettingInt_value("passes", i);
    info->addAudioProcessingInfo(processing);
  }
  return info;
}

void addArchives(Folder& folder) {
  for (const int count : {0, 1, 3}) {
    for (const ArchiveForm archiveForm : {ArchiveForm::sequential, ArchiveForm::keyed}) {
      const ArchiveBytes bytes = archive(tracks(count), archiveForm);
      folder.add(bytes);
      const char* problem = nullptr;
      const auto object = archiver::readFrame(bytes, &problem)->object;
      folder.add(Bytes(object.begin(), object.end()));
    }
  }
  // One object of each kind.
  folder.add({0x8B, 0,    0xF6, 0xF5, 0x82, 1, 0x20, 0x82, 2, 1,    0x82, 3,    1,    0x82, 4,    1, 0x82,
              5,    0xF9, 0x3C, 0,    0x82, 6, 0xF9, 0x3C, 0, 0x61, 'a',  0xA1, 0x61, 'k',  0x81, 0});
}

/// Behind the script byte.
void addFiles(Folder& folder) {
  const Bytes compact = archive(tracks(1), ArchiveForm::sequential);
  const auto own = [&](std::uint8_t version, const Bytes& data) {
    return chunk("APPL", text("Vorn") + Bytes{version, 0, 0, 0} + number(data.size()) + data);
  };
  const Bytes name = chunk("NAME", text("odd"));
  std::uint8_t script = 1;
  for (const std::size_t frames : {0U, 7U, 64U}) {
    const Bytes sound = soundOf(frames);
    for (const Bytes& chunks :
         {sound, sound + name, name + sound, sound + own(2, compact), own(2, compact) + sound + name,
          own(3, compact) + sound, sound + own(2, compact) + name + own(2, compact),
          sound + chunk("APPL", text("Else") + compact), own(3, Bytes(300)) + own(2, Bytes(244)) + sound}) {
      folder.add(Bytes{script} + form(chunks));
      script = static_cast<std::uint8_t>(script * 7 + 3);
    }
  }
}

}  // namespace

void makeTrackSeeds(const std::string& directory) {
  Folder archives(directory + "/archive");
  addArchives(archives);
  Folder chunks(directory + "/chunks");
  addFiles(chunks);
  Folder tracksFolder(directory + "/tracks");
  addFiles(tracksFolder);
}

}  // namespace orv::fuzz
