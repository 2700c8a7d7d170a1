#include "TrackArgument.h"

#include <algorithm>
#include <array>

namespace orv::cli {
namespace {

struct Tail {
  std::string_view head;  // up to the colon before the tail
  Position place;
  bool isTime;
};

// How many colons BEGIN and END have, the likeliest first: as many as each other, and an END that is a time rather than
// the last part of one.
struct Form {
  int begin;
  int end;
};
constexpr std::array<Form, 9> kForms{{{2, 2}, {1, 1}, {1, 2}, {2, 1}, {0, 2}, {0, 1}, {0, 0}, {1, 0}, {2, 0}}};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// In "1:2:3" a name is meant more often than a time: "1:02:03".
bool hasTwoDigitsBehindColons(std::string_view text) {
  for (std::size_t colon = text.find(':'); colon != std::string_view::npos; colon = text.find(':', colon + 1)) {
    const std::string_view digits = text.substr(colon + 1);
    const auto count = std::ranges::find_if_not(digits, isDigit) - digits.begin();
    if (count != 2) {
      return false;
    }
  }
  return true;
}

// The place behind the colon that has `colons` others behind it.
std::optional<Tail> tailOf(std::string_view text, int colons) {
  std::size_t cut = text.rfind(':');
  for (; colons > 0 && cut != std::string_view::npos && cut > 0; --colons) {
    cut = text.rfind(':', cut - 1);
  }
  if (cut == std::string_view::npos || colons > 0) {
    return std::nullopt;
  }
  const std::string_view tail = text.substr(cut + 1);
  const std::optional<Position> place = hasTwoDigitsBehindColons(tail) ? Position::parse(tail) : std::nullopt;
  const bool isTime = tail.ends_with('s') || tail.find(':') != std::string_view::npos;
  return place ? std::optional(Tail{text.substr(0, cut), *place, isTime}) : std::nullopt;
}

// Whether the two are a range, as far as that can be told without the rate.
bool isRange(const Tail& begin, const Tail& end) {
  constexpr double anyRate = 1e6;
  return begin.isTime != end.isTime || begin.place.frame(anyRate) < end.place.frame(anyRate);
}

}  // namespace

std::optional<TrackArgument> TrackArgument::parse(std::string_view text) {
  std::optional<TrackArgument> reversed;
  for (const Form& form : kForms) {
    const std::optional<Tail> end = tailOf(text, form.end);
    const std::optional<Tail> begin = end ? tailOf(end->head, form.begin) : std::nullopt;
    // Two times the wrong way round are a slip of the person's, unless they are two others the right way round.
    if (!begin || (reversed && !(begin->isTime && end->isTime))) {
      continue;
    }
    const TrackArgument argument{std::string(begin->head), begin->place, end->place};
    if (isRange(*begin, *end)) {
      return argument;
    }
    reversed = reversed ? reversed : argument;
  }
  return reversed;
}

}  // namespace orv::cli
