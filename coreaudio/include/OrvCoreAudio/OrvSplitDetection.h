#pragma once

#include <cstdint>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"

class OrvAudioFile;

/// Finds the boundaries between the tracks of a recording by counting, in blocks of a fifth of a second, how often the
/// signal crosses a level.
///
/// - Threshold mode: a boundary goes into the middle of every stretch of quiet blocks that lasts long enough and is
///   followed by as many busy ones.
/// - Counted mode: the counts are smoothed, weighted against the file's ends and the boundaries chosen so far, and the
///   lowest points picked one by one.
///
/// Samples are analysed as interleaved signed 16-bit values in host byte order; `format` describes them (its bytes per
/// frame, channels and sample rate are used). The progress and the cancel switch of `zeroCrossingSplitFile` are
/// process-wide: one run at a time. `OrvAudioTrackAutoDefiner::defineTracks` has no such limit.
extern "C" {

/// Smoothing weights; they sum to 1, the fifth is the centre tap.
ORV_API extern const double dWeights[9];
/// Kept for hosts that look it up; the library neither reads nor writes it.
ORV_API extern std::uint32_t counter;

/// Entries that the caller's split array holds.
inline constexpr int kSplitArrayEntries = 99;
/// Tracks that a counted run can be asked for; more are clamped to it.
inline constexpr int kMostCountedTracks = 97;

/// Analyses an open file.
/// - `sensitivity`: crossings per block below which a block is quiet.
/// - `lengthOfSilence`: blocks that a quiet stretch lasts at least; 0 counts as 1.
/// - `zeroOffset`: the level whose crossings are counted.
/// - `splits`: 99 entries, zero-filled by the caller. Gets 0, the begins of the following tracks, and the file's
/// length,
///   in frames.
/// - `trackCount`: in, the number of tracks wanted, 0 for threshold mode; out, the number of tracks found.
///
/// Returns 0 when done or cancelled (then `splits` and `trackCount` are as they were), −1 without memory for the block
/// buffer. 16-bit files are read directly, in blocks of the size that two channels need whatever their number: for
/// recordings that are not stereo use `OrvAudioTrackAutoDefiner::defineTracks`. Counted mode is for recordings of at
/// most 32,767 blocks.
ORV_API std::int32_t zeroCrossingSplitFile(OrvAudioFile* file, std::uint16_t sensitivity, std::uint32_t lengthOfSilence,
                                           std::int16_t zeroOffset, std::uint32_t* splits, std::int32_t* trackCount);

/// The largest crossing count of any channel, over the first ceil(frames / channels) frames of the block: the
/// thresholds are tuned to that. A channel begins above the level; a sample on the level changes nothing. 0 without
/// channels or bytes per frame.
ORV_API std::uint32_t countZeroCrossings(const AudioStreamBasicDescription* format, const std::int16_t* samples,
                                         std::uint32_t byteCount, std::int16_t level);

/// 1 if the block has fewer crossings than `crossingsPerTenth` for each tenth of a second that it lasts. `unused` is
/// not looked at.
ORV_API std::int32_t isSilence(const AudioStreamBasicDescription* format, const std::int16_t* samples,
                               std::int16_t byteCount, std::int16_t crossingsPerTenth, std::uint32_t unused,
                               std::int16_t level);

/// The count at `index` smoothed over its neighbours, each term truncated on its own; neighbours past either end are
/// left out. `counts` holds `count` entries.
ORV_API std::uint32_t weightedAverage(const std::uint32_t* counts, std::int16_t count, std::int16_t index);

/// The penalty for a boundary `distance` blocks away from another one: 1000 at 0, else 700 / |distance|.
ORV_API std::int32_t fudge(std::int16_t distance);

/// Threshold mode over given counts; returns the number of tracks, 98 at most. `splits` gets their begins, in blocks.
ORV_API std::int32_t findThresholdSplits(const std::uint32_t* counts, std::uint32_t count, std::int16_t sensitivity,
                                         std::uint32_t lengthOfSilence, std::uint32_t* splits);

/// Counted mode over given counts. `splits` gets 0, the picks in ascending order and `count`, in blocks: room for
/// `numberOfSplits` + 2 entries, 97 splits at most. Returns `numberOfSplits` (97 when it was more). A negative `count`
/// is analysed as none.
ORV_API std::uint32_t findCountedSplits(const std::uint32_t* counts, std::int16_t count, std::int16_t numberOfSplits,
                                        std::uint32_t* splits);

/// The low 32 bits of a mod b; 0 for b = 0.
ORV_API std::uint32_t myMod(std::uint64_t a, std::uint64_t b);

}  // extern "C"
