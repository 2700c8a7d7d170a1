#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "OrvPlatform/AudioFile.h"
#include "audiofile/HeaderReader.h"

namespace orv::audiofile {

/// A stretch of a file.
struct Stretch {
  std::int64_t offset = 0;
  std::int64_t length = 0;

  std::int64_t end() const { return offset + length; }
  bool contains(const Stretch& other) const { return other.offset >= offset && other.end() <= end(); }
  bool overlaps(const Stretch& other) const { return offset < other.end() && other.offset < end(); }
};

/// Reads texts out of a resource fork: a map that leads from types and IDs to blocks of data. Every place is checked
/// before it is read, and nothing is looked at twice for one text, wherever the map leads.
class ResourceFork {
 public:
  /// `reader` must outlive the object. `fork`: where the fork lies, inside the file.
  ResourceFork(HeaderReader& reader, const Stretch& fork) : reader_(reader), fork_(fork) {}

  /// Reads where data and map are. What is wrong with the fork in words, null when nothing is.
  const char* open();

  /// The text of a 'STR ' resource: at most 255 bytes, as they are. Nothing when there is none, or none that lies in
  /// the fork's data. Of several with one ID the first counts, as in resource files.
  std::optional<std::string> text(std::uint16_t id);

 private:
  /// Bytes that must lie in `part` of the fork; an empty span when they don't, or can't be read.
  std::span<const std::uint8_t> bytes(const Stretch& part, std::int64_t offset, std::size_t length);
  std::optional<std::string> textAt(std::int64_t offset);

  HeaderReader& reader_;
  const Stretch fork_;
  Stretch data_;
  Stretch map_;
  std::int64_t references_ = 0;  // offset in the file of what leads to the texts
  std::uint32_t texts_ = 0;      // how many there are
};

/// A text resource to be written.
struct TextResource {
  std::uint16_t id = 0;
  std::string name;
  std::string text;  ///< at most 255 bytes
};

/// A resource fork that holds these texts and nothing else.
std::vector<std::uint8_t> makeResourceFork(std::span<const TextResource> texts);

}  // namespace orv::audiofile
