#include "CompanionRecipes.h"

#include <algorithm>

namespace orv::test {

ForkRecipe soundTexts(const std::string& sampleSize, const std::string& rate, const std::string& channels) {
  return {{{1000, sampleSize}, {1001, rate}, {1002, channels}}, "STR "};
}

Bytes resourceFork(const ForkRecipe& recipe) {
  const std::vector<std::string> names{"sample-size", "sample-rate", "channels"};
  Bytes data;
  Bytes references;
  Bytes nameList;
  for (std::size_t i = 0; i < recipe.texts.size(); ++i) {
    const TextRecipe& resource = recipe.texts[i];
    const std::string& name = names[std::min(i, names.size() - 1)];
    references = references + bigEndian(resource.id, 2) + bigEndian(nameList.size(), 2) + Bytes{0} +
                 bigEndian(data.size(), 3) + Bytes(4, 0);
    data = data + bigEndian(resource.text.size() + 1, 4) + bigEndian(resource.text.size(), 1) + text(resource.text);
    nameList = nameList + bigEndian(name.size(), 1) + text(name);
  }
  const Bytes types =
      Bytes{0, 0} + text(recipe.type) + bigEndian(recipe.texts.size() - 1, 2) + Bytes{0, 10} + references;
  const std::size_t mapLength = 28 + types.size() + nameList.size();
  const Bytes header =
      bigEndian(256, 4) + bigEndian(256 + data.size(), 4) + bigEndian(data.size(), 4) + bigEndian(mapLength, 4);
  return header + Bytes(240, 0) + data + header + Bytes(8, 0) + bigEndian(28, 2) + bigEndian(28 + types.size(), 2) +
         types + nameList;
}

Bytes appleDouble(const Bytes& fork) {
  const Bytes entries = bigEndian(9, 4) + bigEndian(50, 4) + bigEndian(32, 4) +  // Finder info
                        bigEndian(2, 4) + bigEndian(82, 4) + bigEndian(fork.size(), 4);
  return Bytes{0, 5, 0x16, 7, 0, 2, 0, 0} + Bytes(16, 0) + Bytes{0, 2} + entries + text("Sd2f") + Bytes(28, 0) + fork;
}

std::string companionOf(const std::string& path) {
  const std::size_t name = path.rfind('/') + 1;  // 0 without a slash
  return path.substr(0, name) + "._" + path.substr(name);
}

Bytes patched(Bytes bytes, std::size_t offset, const Bytes& replacement) {
  std::copy(replacement.begin(), replacement.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  return bytes;
}

}  // namespace orv::test
