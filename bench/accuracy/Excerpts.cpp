#include "accuracy/Excerpts.h"

#include <algorithm>

namespace orv::accuracy {
namespace {

constexpr double kShortest = 40;
constexpr double kJoint = 0.008;  // seconds of fade where a piece is cut off, so that no click tells

template <typename T>
void shuffle(std::vector<T>& list, Random& random) {
  for (std::size_t i = list.size(); i > 1; --i) {
    std::swap(list[i - 1], list[static_cast<std::size_t>(random.integer(0, static_cast<std::int64_t>(i) - 1))]);
  }
}

// A piece as it is where it is short enough; else its beginning, ended by a fade or all at once, or its end.
Sound passageOf(const Sound& piece, Random& random) {
  const std::size_t length = framesIn(random.uniform(90, 300));
  const double which = random.uniform(0, 1);
  const double fade = random.uniform(2, 8);
  if (length >= piece.frames()) {
    return piece;
  }
  if (which < 0.4) {
    Sound tail = piece.excerpt(piece.frames() - length, length);
    fadeIn(tail, kJoint);
    return tail;
  }
  Sound head = piece.excerpt(0, length);
  fadeOut(head, which < 0.7 ? fade : kJoint);
  return head;
}

}  // namespace

std::vector<Excerpt> Excerpts::draw(std::size_t count, Random& random) const {
  return take(pieces_, count, random);
}

std::vector<Excerpt> Excerpts::drawOfOneStyle(std::size_t count, Random& random) const {
  const auto& chosen =
      pieces_[static_cast<std::size_t>(random.integer(0, static_cast<std::int64_t>(pieces_.size()) - 1))];
  std::vector<Piece> pieces;
  std::copy_if(pieces_.begin(), pieces_.end(), std::back_inserter(pieces),
               [&](const Piece& piece) { return piece.package == chosen.package; });
  return take(std::move(pieces), count, random);
}

std::vector<Excerpt> Excerpts::take(std::vector<Piece> pieces, std::size_t count, Random& random) const {
  shuffle(pieces, random);
  std::vector<Excerpt> excerpts;
  for (const Piece& piece : pieces) {
    if (excerpts.size() == count) {
      break;
    }
    Excerpt excerpt{passageOf(store_->load(piece), random), piece.name};
    normalise(excerpt.sound, random.uniform(-23, -17));
    trimSilence(excerpt.sound);
    if (excerpt.sound.seconds() >= kShortest) {
      excerpts.push_back(std::move(excerpt));
    }
  }
  return excerpts;
}

}  // namespace orv::accuracy
