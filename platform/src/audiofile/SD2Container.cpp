#include "audiofile/SD2Container.h"

#include <string_view>

namespace orv::audiofile {

SD2Container::SD2Container(const PCMFormat& format, std::int64_t fileSize) {
  format_ = describe(format);
  layout_.isChunk = false;
  layout_.dataBytes = fileSize - fileSize % format_.mBytesPerFrame;
  layout_.soundEnd = fileSize;
  layout_.gapStart = fileSize;
  layout_.tailStart = fileSize;
  layout_.tailEnd = fileSize;
  layout_.formEnd = fileSize;
  layout_.fileEnd = fileSize;
}

bool SD2Container::isName(const std::string& path) {
  constexpr std::string_view extension = ".sd2";
  if (path.size() <= extension.size()) {
    return false;
  }
  const std::string_view end = std::string_view(path).substr(path.size() - extension.size());
  for (std::size_t i = 0; i < extension.size(); ++i) {
    const char c = end[i] >= 'A' && end[i] <= 'Z' ? static_cast<char>(end[i] - 'A' + 'a') : end[i];
    if (c != extension[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace orv::audiofile
