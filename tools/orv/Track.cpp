#include "Track.h"

#include "Json.h"

namespace orv::cli {

void writeTracks(const std::vector<Track>& tracks, JsonWriter& json) {
  json.beginArray();
  for (const Track& track : tracks) {
    json.beginObject();
    json.key("name").value(track.name);
    json.key("begin").value(track.begin);
    json.key("end").value(track.end);
    json.key("active").value(track.active);
    json.endObject();
  }
  json.endArray();
}

}  // namespace orv::cli
