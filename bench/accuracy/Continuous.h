#pragma once

#include "accuracy/Excerpts.h"

namespace orv::accuracy {

/// The longest piece of the half, or the one that has `rank` longer ones; its first 20 minutes.
Sound makeWhole(Half half, std::size_t rank, const PieceStore& store);

/// Passages faded into each other over 4 s.
Sound makeMedley(const std::vector<Excerpt>& excerpts);

/// Passages with applause between them that begins before one is over and lasts until the next one has begun.
Sound makeConcert(const std::vector<Excerpt>& excerpts, Random& random);

/// Ten minutes of one reader who pauses for up to a second.
Sound makeSpeech(Half half, const PieceStore& store, Random& random);

}  // namespace orv::accuracy
