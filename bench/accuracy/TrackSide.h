#pragma once

#include "accuracy/Excerpts.h"
#include "accuracy/Recipes.h"
#include "accuracy/Sides.h"

namespace orv::accuracy {

/// The passages in order, as many as fit in 28 minutes, with silence between them and at both ends. Noise is for the
/// caller to add.
Side makeTrackSide(const Recipe& recipe, std::vector<Excerpt> excerpts, Random& random);

}  // namespace orv::accuracy
