#pragma once

#include <string>
#include <vector>

#include "accuracy/Pieces.h"
#include "accuracy/Random.h"

namespace orv::accuracy {

/// A passage that makes a track.
struct Excerpt {
  Sound sound;
  std::string name;
};

/// Passages out of the pieces of a half, between 40 s and 5 minutes long, at about the same loudness.
class Excerpts {
 public:
  Excerpts(Half half, const PieceStore& store) : pieces_(piecesOf(half)), store_(&store) {}

  /// A passage from each of `count` different pieces, drawn. Pieces that are too short are left out.
  std::vector<Excerpt> draw(std::size_t count, Random& random) const;
  /// The same from the pieces of one package alone, which is drawn too: music of one style. Fewer where it has fewer.
  std::vector<Excerpt> drawOfOneStyle(std::size_t count, Random& random) const;

 private:
  std::vector<Excerpt> take(std::vector<Piece> pieces, std::size_t count, Random& random) const;

  std::vector<Piece> pieces_;
  const PieceStore* store_;
};

}  // namespace orv::accuracy
