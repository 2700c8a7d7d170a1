#pragma once

#include <string>
#include <vector>

#include "accuracy/Pieces.h"
#include "accuracy/Recipes.h"
#include "accuracy/Sound.h"
#include "accuracy/Truth.h"

namespace orv::accuracy {

/// A recording whose boundaries are known.
struct Side {
  Sound sound;
  Truth truth;
};

/// A side that is to be made. The same order makes the same side.
struct SideOrder {
  Recipe recipe;
  Half half = Half::tuning;
  int seed = 0;

  /// Names the side: half, kind, seed.
  std::string name() const;
};

/// Which sides there are to be.
struct SideSelection {
  Half half = Half::tuning;
  int seedOffset = 0;  ///< other sides of the same kinds
  int mostOfAKind = 99;
  std::string only;  ///< a text that the name must contain
};

std::vector<SideOrder> ordersFor(const SideSelection& selection);

/// Makes sides. Holds nothing that changes: may be used by several threads at once.
class SideMaker {
 public:
  /// `cacheFolder` keeps decoded pieces.
  explicit SideMaker(const std::string& cacheFolder) : store_(cacheFolder) {}

  Side make(const SideOrder& order) const;

 private:
  PieceStore store_;
};

}  // namespace orv::accuracy
