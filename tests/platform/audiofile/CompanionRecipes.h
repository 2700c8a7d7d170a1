#pragma once

#include <string>
#include <vector>

#include "AudioFileRecipes.h"

/// Companions of Sound Designer II files put together by hand, independent of the code under test.
namespace orv::test {

struct TextRecipe {
  std::uint32_t id;
  std::string text;
};

/// What a resource fork says, and ways to say it wrong. Offsets and counts that are not given are the right ones.
struct ForkRecipe {
  std::vector<TextRecipe> texts{{1000, "2"}, {1001, "44100.000000"}, {1002, "2"}};
  std::string type = "STR ";
};

/// Texts of a file.
ForkRecipe soundTexts(const std::string& sampleSize, const std::string& rate, const std::string& channels);

Bytes resourceFork(const ForkRecipe& recipe = {});
/// AppleDouble with the Finder info and this fork.
Bytes appleDouble(const Bytes& fork);

/// What a file's companion is called.
std::string companionOf(const std::string& path);

/// The same bytes with `replacement` at `offset`.
Bytes patched(Bytes bytes, std::size_t offset, const Bytes& replacement);

}  // namespace orv::test
