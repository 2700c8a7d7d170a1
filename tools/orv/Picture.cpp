#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "Failure.h"
#include "Interruption.h"

namespace orv::cli {
namespace {

using Block = OrvLevelEnvelope::Block;

constexpr float kFullScale = 32'767;
constexpr float kHundredths = 100;

OrvLevelEnvelope measure(const SourceFile& source, ProgressBar& progress) {
  progress.begin("Drawing");
  OrvLevelEnvelope::Measurement measurement =
      OrvLevelEnvelope::measure({.path = source.path, .cancel = &interruption(), .progress = [&](double fraction) {
                                   progress.update(fraction);
                                 }});
  if (measurement.cancelled) {
    throw Cancelled();
  }
  if (!measurement.done) {
    throw Failure(source.path, measurement.problem);
  }
  return std::move(measurement.envelope);
}

// Requires: a block at least.
Picture::Column columnOf(const Block* begin, const Block* end) {
  const auto [lowest, highest] = std::minmax_element(
      begin, end, [](const Block& first, const Block& second) { return first.level < second.level; });
  Picture::Column column;
  column.quietest = static_cast<float>(lowest->level) / kHundredths;
  column.loudest = static_cast<float>(highest->level) / kHundredths;
  column.minimum = 1;
  column.maximum = -1;
  for (const Block* block = begin; block != end; ++block) {
    column.minimum = std::min(column.minimum, static_cast<float>(block->minimum) / kFullScale);
    column.maximum = std::max(column.maximum, static_cast<float>(block->maximum) / kFullScale);
  }
  return column;
}

std::vector<OrvTrackBoundaryDetector::FloorPoint> thinned(
    const std::vector<OrvTrackBoundaryDetector::FloorPoint>& floor) {
  const std::size_t count = std::min(floor.size(), Picture::kMostColumns);
  std::vector<OrvTrackBoundaryDetector::FloorPoint> result;
  for (std::size_t i = 0; i < count; ++i) {
    result.push_back(floor[count < 2 ? 0 : i * (floor.size() - 1) / (count - 1)]);
  }
  return result;
}

}  // namespace

std::vector<Picture::Column> columnsOf(const OrvLevelEnvelope& envelope) {
  const std::size_t blocks = envelope.blocks.size();
  const std::size_t count = std::min(blocks, Picture::kMostColumns);
  std::vector<Picture::Column> columns;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t first = i * blocks / count;
    columns.push_back(columnOf(&envelope.blocks[first], envelope.blocks.data() + (i + 1) * blocks / count));
    columns.back().begin = std::uint64_t{first} * envelope.framesPerBlock;
  }
  return columns;
}

Picture makePicture(const SourceFile& source, const Detection& detection, ProgressBar& progress) {
  Picture picture;
  picture.name = std::filesystem::path(source.path).filename().string();
  picture.description = source.file->fileStreamFormat()->description();
  picture.sampleRate = source.file->sampleRate();
  picture.lengthInFrames = source.lengthInFrames;
  std::optional<OrvLevelEnvelope> measured;
  if (!detection.envelope) {
    measured = measure(source, progress);
  }
  picture.columns = columnsOf(measured ? *measured : *detection.envelope);
  for (const Picture::Column& column : picture.columns) {
    picture.peak = std::max({picture.peak, std::abs(column.minimum), std::abs(column.maximum)});
  }
  picture.floor = thinned(detection.floor);
  picture.tracks = detection.tracks;
  picture.cuts = detection.boundaries;
  picture.doubtful = detection.doubtful;
  return picture;
}

}  // namespace orv::cli
