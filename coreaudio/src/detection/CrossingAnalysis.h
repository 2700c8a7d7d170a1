#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/// The parts that the exported functions and the re-entrant track definition share. Counts are crossings per block of a
/// fifth of a second; boundaries are block numbers.
namespace orv::crossings {

/// Called after each step; may be empty.
using Step = std::function<void()>;

/// Most tracks that the caller's split array of 99 entries has room for in threshold mode.
inline constexpr std::size_t kMostThresholdTracks = 98;

/// Frames in a fifth of a second, rounded down. 0 for a rate of less than 5 Hz, and for one that is no number.
std::uint32_t framesPerBlock(double sampleRate);

/// Blocks for a recording: `fifths` is its length in frames times 5. One more than whole blocks, so that there is one
/// for the rest.
std::uint32_t numberOfBlocks(std::uint64_t fifths, double sampleRate);

/// Milliseconds as blocks, rounded down in single precision: 1400 gives 7, 1399 gives 6.
std::int64_t silenceInBlocks(float milliSeconds);

/// Begins of the tracks, the first of them 0, at most `mostTracks`.
///
/// A boundary lies in the middle between the begin of a quiet stretch (fewer crossings than `sensitivity`) and the
/// begin of the busy one behind it, both of which last at least `lengthOfSilence` blocks. Block 0 is never looked at,
/// and a block that completes a stretch is not looked at again for the next.
std::vector<std::uint32_t> thresholdSplits(const std::uint32_t* counts, std::uint32_t count, std::uint32_t sensitivity,
                                           std::uint32_t lengthOfSilence, std::size_t mostTracks, const Step& step);

/// 0, the picks in ascending order, and `count`. Each pick is the lowest of the smoothed counts, the first of equals;
/// the ends and every pick push later ones away.
std::vector<std::uint32_t> countedSplits(const std::uint32_t* counts, std::int16_t count, std::int16_t numberOfSplits,
                                         const Step& step);

}  // namespace orv::crossings
