#include "TracksReport.h"

#include <algorithm>
#include <iterator>

#include "Json.h"
#include "OrvPlatform/Log.h"
#include "Table.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

// Longer names are the exception, and would push everything else off the screen.
constexpr std::size_t kMostNameCharacters = 60;

std::string shownName(const std::string& name) {
  return shortened(printable(name), kMostNameCharacters);
}

void writeValue(const ArchiveValue& value, JsonWriter& json);

void writeDictionary(const ArchiveDictionary& dictionary, JsonWriter& json) {
  json.beginObject();
  for (const auto& [key, value] : dictionary) {
    writeValue(value, json.key(key));
  }
  json.endObject();
}

// What is no record comes from an archive, whose depth is bounded.
void writeValue(const ArchiveValue& value, JsonWriter& json) {  // NOLINT(misc-no-recursion)
  if (const auto* const text = value.text()) {
    json.value(*text);
  } else if (const auto* const truth = value.as<bool>()) {
    json.value(*truth);
  } else if (const auto* const signed32 = value.as<std::int32_t>()) {
    json.value(std::int64_t{*signed32});
  } else if (const auto* const unsigned32 = value.as<std::uint32_t>()) {
    json.value(*unsigned32);
  } else if (const auto* const signed64 = value.as<std::int64_t>()) {
    json.value(*signed64);
  } else if (const auto* const unsigned64 = value.as<std::uint64_t>()) {
    json.value(*unsigned64);
  } else if (const auto* const single = value.as<float>()) {
    json.value(*single);
  } else if (const auto* const number = value.as<double>()) {
    json.value(*number);
  } else if (const auto dictionary = value.dictionary()) {
    writeDictionary(*dictionary, json);
  } else if (const auto array = value.array()) {
    json.beginArray();
    for (const ArchiveValue& element : *array) {
      writeValue(element, json);
    }
    json.endArray();
  } else {
    json.null();
  }
}

// As in JSON, on one line.
std::string settingText(const ArchiveValue& value) {
  if (value.array() || value.dictionary()) {
    return "…";
  }
  JsonWriter json;
  writeValue(value, json);
  return shownName(json.text());
}

class TextReport {
 public:
  TextReport(const SourceFile& recording, const StoredTracks& stored)
      : recording_(recording), stored_(stored), tracks_(stored.tracks()), records_(stored.processings()) {}

  std::string text() const {
    if (!stored_.foundIn()) {
      return "No tracks are stored with " + printable(recording_.path) + "\n";
    }
    return tracks() + summary() + processing();
  }

 private:
  std::string time(std::uint64_t frames) const {
    return timeText(recording_.seconds(frames), {.hours = recording_.seconds(recording_.lengthInFrames) >= 3600});
  }

  std::string tracks() const {
    if (tracks_.empty()) {
      return "";
    }
    std::vector<Table::Column> columns{{"#", Table::Align::right},
                                       {"Name"},
                                       {"Begin", Table::Align::right},
                                       {"End", Table::Align::right},
                                       {"Length", Table::Align::right}};
    const auto active = std::ranges::count(tracks_, true, &Track::active);
    const bool tellsActive = active > 0 && active < std::ssize(tracks_);
    if (tellsActive) {
      columns.push_back({"Active"});
    }
    Table table(std::move(columns));
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
      const Track& track = tracks_[i];
      std::vector<std::string> cells{std::to_string(i + 1), shownName(track.name), time(track.begin), time(track.end),
                                     track.end < track.begin ? "?" : time(track.end - track.begin)};
      if (tellsActive) {
        cells.emplace_back(track.active ? "yes" : "no");
      }
      table.addRow(std::move(cells));
    }
    return table.text();
  }

  std::string summary() const {
    const std::string where = stored_.foundIn() == TrackStore::internal
                                  ? "in the recording"
                                  : "beside the recording, in " + printable(stored_.sideFile());
    return formatText(tracks_.size() == 1 ? "%zu track, stored " : "%zu tracks, stored ", tracks_.size()) + where +
           "\n";
  }

  std::string processing() const {
    if (records_.empty()) {
      return stored_.isProcessed() ? "The recording was processed\n" : "";
    }
    Table table({{"Processed"}, {"Begin", Table::Align::right}, {"End", Table::Align::right}, {"Settings"}});
    for (const auto& record : records_) {
      std::string settings;
      for (const auto& [key, value] : *record->processingSettings()) {
        settings += (settings.empty() ? "" : ", ") + shownName(key) + " " + settingText(value);
      }
      table.addRow({shownName(record->processName().value_or("")), time(record->processingStartFrame()),
                    time(record->processingEndFrame()), settings});
    }
    return table.text();
  }

  const SourceFile& recording_;
  const StoredTracks& stored_;
  const std::vector<Track> tracks_;
  const StoredTracks::Records records_;
};

}  // namespace

std::string tracksAsText(const SourceFile& recording, const StoredTracks& stored) {
  return TextReport(recording, stored).text();
}

std::string tracksAsJson(const SourceFile& recording, const StoredTracks& stored) {
  JsonWriter json;
  json.beginObject();
  json.key("path").value(recording.path);
  json.key("storage");
  if (stored.foundIn()) {
    json.value(nameOf(*stored.foundIn()));
  } else {
    json.null();
  }
  json.key("processed").value(stored.isProcessed());
  writeTracks(stored.tracks(), json.key("tracks"));
  json.key("processing").beginArray();
  for (const auto& record : stored.processings()) {
    json.beginObject();
    json.key("name").value(record->processName().value_or(""));
    json.key("begin").value(record->processingStartFrame());
    json.key("end").value(record->processingEndFrame());
    writeDictionary(*record->processingSettings(), json.key("settings"));
    json.endObject();
  }
  json.endArray();
  json.endObject();
  return json.text() + "\n";
}

}  // namespace orv::cli
