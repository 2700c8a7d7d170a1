#include "Json.h"
#include "SplitReport.h"

namespace orv::cli {
namespace {

void writeBoundaries(const std::vector<Detection::Boundary>& boundaries, JsonWriter& json) {
  json.beginArray();
  for (const Detection::Boundary& boundary : boundaries) {
    json.beginObject();
    json.key("frame").value(boundary.frame);
    json.key("quietBegin").value(boundary.quietBegin);
    json.key("quietEnd").value(boundary.quietEnd);
    json.key("depth").value(boundary.depth);
    json.key("confidence").value(boundary.confidence);
    json.key("reason").value(boundary.reason);
    json.endObject();
  }
  json.endArray();
}

void writeTexts(const std::vector<std::string>& texts, JsonWriter& json) {
  json.beginArray();
  for (const std::string& text : texts) {
    json.value(text);
  }
  json.endArray();
}

std::string write(const SplitReport& report) {
  JsonWriter json;
  json.beginObject();
  json.key("path").value(report.path);
  json.key("sampleRate").value(report.sampleRate);
  json.key("lengthInFrames").value(report.lengthInFrames);
  json.key("method").value(report.method);
  writeTracks(report.detection.tracks, json.key("tracks"));
  writeBoundaries(report.detection.boundaries, json.key("boundaries"));
  writeBoundaries(report.detection.doubtful, json.key("doubtful"));
  writeTexts(report.detection.notes, json.key("notes"));
  writeTexts(report.exported, json.key("exported"));
  json.endObject();
  return json.text() + "\n";
}

}  // namespace

const ReportFormat kJsonFormat{"json", write, nullptr};

}  // namespace orv::cli
