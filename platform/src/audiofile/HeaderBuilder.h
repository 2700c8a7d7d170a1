#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "audiofile/ByteOrder.h"
#include "audiofile/ChunkWalker.h"

namespace orv::audiofile {

/// Puts the header of a new file together, chunk within chunk.
class HeaderBuilder {
 public:
  explicit HeaderBuilder(ByteOrder order) : order_(order) {}

  void beginChunk(FourCharCode id) {
    code(id);
    number32(0);
    open_.push_back(bytes_.size());
  }
  /// Fills in the size of the chunk begun last.
  void endChunk() {
    const std::size_t body = open_.back();
    open_.pop_back();
    storeNumber(bytes_.data() + body - 4, 4, order_, bytes_.size() - body);
  }

  void number8(std::uint32_t value) { number(1, value); }
  void number16(std::uint32_t value) { number(2, value); }
  void number32(std::uint32_t value) { number(4, value); }
  void code(FourCharCode id) {
    bytes_.resize(bytes_.size() + 4);
    storeCode(bytes_.data() + bytes_.size() - 4, id);
  }
  void bytes(std::span<const std::uint8_t> block) { bytes_.insert(bytes_.end(), block.begin(), block.end()); }
  void text(std::string_view characters) { bytes_.insert(bytes_.end(), characters.begin(), characters.end()); }
  void zeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }

  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  void number(std::size_t bytes, std::uint64_t value) {
    bytes_.resize(bytes_.size() + bytes);
    storeNumber(bytes_.data() + bytes_.size() - bytes, bytes, order_, value);
  }

  const ByteOrder order_;
  std::vector<std::uint8_t> bytes_;
  std::vector<std::size_t> open_;  // where the bodies of the chunks that are not ended begin
};

}  // namespace orv::audiofile
