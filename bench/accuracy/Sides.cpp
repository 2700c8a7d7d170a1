#include "accuracy/Sides.h"

#include <algorithm>

#include "accuracy/Continuous.h"
#include "accuracy/Excerpts.h"
#include "accuracy/TrackSide.h"

namespace orv::accuracy {
namespace {

Sound grooveSample() {
  return readSound("/usr/share/sonic-pi/samples/vinyl_hiss.flac");
}

Side makeWithoutNoise(const SideOrder& order, const PieceStore& store, Random& random) {
  const Excerpts excerpts(order.half, store);
  switch (order.recipe.shape) {
    case Shape::whole:
      return {makeWhole(order.half, static_cast<std::size_t>(order.seed), store), {}};
    case Shape::medley:
      return {makeMedley(excerpts.drawOfOneStyle(7, random)), {}};
    case Shape::concert:
      return {makeConcert(excerpts.draw(6, random), random), {}};
    case Shape::speech:
      return {makeSpeech(order.half, store, random), {}};
    case Shape::tracks:
      break;
  }
  const auto count = static_cast<std::size_t>(random.integer(5, 9));
  return makeTrackSide(order.recipe, excerpts.draw(count, random), random);
}

// Noise alone before and behind what is all one track.
void addEnds(Side& side, Random& random) {
  const double leadIn = random.uniform(1, 4);
  const Interval track = {leadIn, leadIn + side.sound.seconds()};
  Sound longer;
  longer.appendSilence(leadIn);
  longer.mix(side.sound, longer.frames());
  longer.appendSilence(random.uniform(1, 4));
  side = {std::move(longer), {"", {}, {track}, {"one track"}}};
}

}  // namespace

std::string SideOrder::name() const {
  return std::string(nameOf(half)) + "-" + recipe.kind + "-" + std::to_string(seed);
}

std::vector<SideOrder> ordersFor(const SideSelection& selection) {
  std::vector<SideOrder> orders;
  for (const Recipe& recipe : allRecipes()) {
    for (int i = 0; i < std::min(recipe.sides, selection.mostOfAKind); ++i) {
      SideOrder order{recipe, selection.half, selection.seedOffset + i};
      if (order.name().find(selection.only) != std::string::npos) {
        orders.push_back(std::move(order));
      }
    }
  }
  return orders;
}

Side SideMaker::make(const SideOrder& order) const {
  Random random(order.name());
  Side side = makeWithoutNoise(order, store_, random);
  if (side.truth.tracks.empty()) {
    addEnds(side, random);
  }
  side.truth.kind = order.recipe.kind;
  addNoise(order.recipe.noise, grooveSample(), random, side.sound);
  if (order.recipe.mono) {
    makeMono(side.sound);
  }
  return side;
}

}  // namespace orv::accuracy
