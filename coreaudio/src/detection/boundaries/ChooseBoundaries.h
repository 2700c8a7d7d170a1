#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace orv::boundaries {

/// A place where a recording could be cut.
struct Place {
  double second = 0;  ///< from the begin of the recording
  double music = 0;   ///< seconds that are louder than the noise floor, from the begin of the recording
  double chance = 0;  ///< log odds that it is a boundary
};

/// What the choice is bound by.
struct Limits {
  Place begin;                    ///< of the recording
  Place end;                      ///< of the recording
  double minimumTrackLength = 0;  ///< seconds
};

/// How much less likely two neighbouring boundaries are because the track between them would be so short; 0 or less.
/// Only music counts: a groove before the first track or behind the last one is not a track.
double lengthChance(const Place& begin, const Place& end, const Limits& limits);

/// What boundaries without guidance must be worth together, as log odds. A recording with one doubtful boundary has
/// none: one piece, a concert.
inline constexpr double kLeastWorth = 3.5;

/// The most likely set of boundaries: indexes into `places`, which are in order of time.
std::vector<std::size_t> chooseBoundaries(std::span<const Place> places, const Limits& limits);

/// The most likely set of exactly `count` boundaries; fewer where there are not so many that go together.
std::vector<std::size_t> chooseCountedBoundaries(std::span<const Place> places, const Limits& limits,
                                                 std::size_t count);

}  // namespace orv::boundaries
