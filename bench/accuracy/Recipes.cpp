#include "accuracy/Recipes.h"

namespace orv::accuracy {
namespace {

const NoiseRecipe kClean;
const NoiseRecipe kHiss60 = {.hiss = -60};
const NoiseRecipe kHissAndClicks60 = {.hiss = -60, .clickPeak = -20};
const NoiseRecipe kHissAndClicks45 = {.hiss = -45, .clickPeak = -8};

}  // namespace

const std::vector<Recipe>& allRecipes() {
  static const std::vector<Recipe> recipes = {
      {.kind = "clean", .noise = kClean, .sides = 6},
      {.kind = "hiss-60+clicks", .noise = kHissAndClicks60, .sides = 6},
      {.kind = "hiss-45+clicks", .noise = kHissAndClicks45, .sides = 6},
      {.kind = "dithered", .noise = {.hiss = -90}},
      {.kind = "hum", .noise = {.hiss = -65, .hum = -50}},
      {.kind = "rumble", .noise = {.hiss = -60, .rumble = -35}},
      {.kind = "drift", .noise = {.hiss = -52, .hissDrift = 6}},
      {.kind = "groove-50", .noise = {.groove = -50}},
      {.kind = "groove-42", .noise = {.groove = -42}},
      {.kind = "fades", .noise = kHiss60, .ending = Ending::fade},
      {.kind = "applause", .noise = kHiss60, .ending = Ending::applause},
      {.kind = "mono", .noise = kHissAndClicks60, .mono = true},
      {.kind = "short-gaps", .noise = kHiss60, .longestGap = 1},
      {.kind = "whole", .shape = Shape::whole, .noise = kClean, .sides = 3},
      {.kind = "whole-hiss-60", .shape = Shape::whole, .noise = kHissAndClicks60, .sides = 3},
      {.kind = "medley", .shape = Shape::medley, .noise = kClean, .sides = 2},
      {.kind = "medley-hiss-60", .shape = Shape::medley, .noise = kHissAndClicks60, .sides = 2},
      {.kind = "concert", .shape = Shape::concert, .noise = kClean, .sides = 2},
      {.kind = "concert-hiss-60", .shape = Shape::concert, .noise = kHissAndClicks60, .sides = 2},
      {.kind = "speech", .shape = Shape::speech, .noise = kClean, .sides = 1},
      {.kind = "speech-hiss-60", .shape = Shape::speech, .noise = kHissAndClicks60, .sides = 1},
  };
  return recipes;
}

}  // namespace orv::accuracy
