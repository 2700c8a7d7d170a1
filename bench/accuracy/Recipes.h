#pragma once

#include <string>
#include <vector>

#include "accuracy/Noise.h"

namespace orv::accuracy {

/// What a side is made of.
enum class Shape {
  tracks,   ///< pieces with gaps between them
  whole,    ///< one long piece: no boundary
  medley,   ///< passages faded into each other: no boundary
  concert,  ///< pieces with applause that lies over the end of one and the beginning of the next: no boundary
  speech,   ///< one reader who pauses: no boundary
};

/// How pieces end before a gap.
enum class Ending {
  natural,   ///< as the piece does, or where it was cut off
  fade,      ///< over 4 to 12 s; the next one fades in over up to 1 s
  applause,  ///< that dies away before the gap
};

/// A kind of side.
struct Recipe {
  std::string kind;
  Shape shape = Shape::tracks;
  NoiseRecipe noise = {};
  Ending ending = Ending::natural;
  double longestGap = 5;  ///< seconds; the shortest is half a second
  bool mono = false;
  int sides = 3;  ///< how many of them a half has
};

/// All kinds, in the order in which they are reported.
const std::vector<Recipe>& allRecipes();

}  // namespace orv::accuracy
