#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TimeText.h"

namespace orv::cli {

/// A track as the person gives it: "NAME:BEGIN:END". The name may hold colons, and so may times, whose colons are
/// followed by two digits. Where a text can be read in several ways, BEGIN lies before END, the two have as many colons
/// as each other, or else END the more, and are as long as can be.
struct TrackArgument {
  std::string name;
  Position begin;
  Position end;

  /// Nothing for text of another form.
  static std::optional<TrackArgument> parse(std::string_view text);
};

}  // namespace orv::cli
