#include "OrvCoreAudio/ByteUtility.h"

#include <algorithm>

void ByteUtility::swapBytes_wordLength_length(void* bytes, std::uint32_t wordLength, std::uint32_t length) {
  if (bytes == nullptr || wordLength < 2) {
    return;
  }
  auto* word = static_cast<std::uint8_t*>(bytes);
  for (std::uint32_t left = length; left >= wordLength; left -= wordLength, word += wordLength) {
    std::reverse(word, word + wordLength);
  }
}

void ByteUtility::swapBytes32bit(void* bytes) {
  swapBytes_wordLength_length(bytes, 4, 4);
}

void ByteUtility::swapBytes64bit(void* bytes) {
  swapBytes_wordLength_length(bytes, 8, 8);
}
