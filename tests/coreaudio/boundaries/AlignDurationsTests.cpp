#include "detection/boundaries/AlignDurations.h"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using boundaries::alignDurations;
using boundaries::Limits;
using boundaries::Place;

/// A recording of tracks of these lengths, with a gap of two seconds behind each but the last, and a dip that looks
/// better than any gap in the middle of each track.
struct Recording {
  std::vector<Place> places;
  std::vector<std::size_t> gaps;  ///< their indexes
  Limits limits;

  explicit Recording(const std::vector<double>& lengths) {
    double second = 0;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
      add(second + lengths[i] / 2, 5);
      second += lengths[i];
      if (i + 1 < lengths.size()) {
        second += 2;
        gaps.push_back(places.size());
        add(second, -1);
      }
    }
    limits = {{0, 0, 0}, {second, second, 0}, 0};
  }

 private:
  void add(double second, double chance) { places.push_back({second, second, chance}); }
};

TEST(AlignDurations, TheListingOutweighsWhatGapsLookLike) {
  const Recording recording({200, 180, 240, 150});
  EXPECT_EQ(alignDurations(recording.places, recording.limits, std::vector<double>{200, 180, 240, 150}),
            recording.gaps);
}

TEST(AlignDurations, FollowsATurntableThatRunsFastOrSlow) {
  for (const double speed : {0.985, 0.99, 1.01, 1.015}) {
    const std::vector<double> listed{200, 180, 240, 150, 205, 215, 170};
    std::vector<double> played;
    played.reserve(listed.size());
    for (const double duration : listed) {
      played.push_back(duration * speed);
    }
    const Recording recording(played);
    EXPECT_EQ(alignDurations(recording.places, recording.limits, listed), recording.gaps) << speed;
  }
}

TEST(AlignDurations, OneWrongDurationDoesNotMoveTheOthers) {
  const Recording recording({200, 180, 240, 150});
  const std::vector<std::size_t> chosen =
      alignDurations(recording.places, recording.limits, std::vector<double>{200, 190, 240, 150});
  EXPECT_EQ(chosen, recording.gaps);
}

TEST(AlignDurations, AnswersNothingWhereNothingComesNear) {
  const Recording recording({200, 180});
  EXPECT_TRUE(alignDurations(recording.places, recording.limits, std::vector<double>{20, 20, 20}).empty());
  EXPECT_TRUE(alignDurations({}, recording.limits, std::vector<double>{200, 180}).empty());
}

TEST(AlignDurations, OneTrackHasNoBoundary) {
  const Recording recording({200, 180});
  EXPECT_TRUE(alignDurations(recording.places, recording.limits, std::vector<double>{380}).empty());
  EXPECT_TRUE(alignDurations(recording.places, recording.limits, {}).empty());
}

}  // namespace
}  // namespace orv::test
