#include "audiofile/ResourceFork.h"

#include <utility>

#include "audiofile/ByteOrder.h"
#include "audiofile/HeaderBuilder.h"

namespace orv::audiofile {
namespace {

constexpr FourCharCode kTextType = fourCC("STR ");

// Header: offset and length of data and map, 4 bytes each in the order data offset, map offset, data length, map
// length.
constexpr std::int64_t kHeaderBytes = 16;
// Behind the header 112 bytes belong to the system, 128 to the program; the data begin behind them.
constexpr std::int64_t kDataStart = 256;

// Map: copy of the header 16, handle 4, file 2, attributes 2, offset of the type list 2, offset of the name list 2.
constexpr std::int64_t kTypeListField = 24;
constexpr std::int64_t kMapHeaderBytes = 28;

// Type list: number of types less one 2; then for each its code 4, number of resources less one 2, offset of their
// references, from the begin of the type list, 2.
constexpr std::int64_t kCountBytes = 2;
constexpr std::int64_t kTypeBytes = 8;

// Reference: ID 2, offset of the name 2, attributes 1, offset in the data 3, handle 4.
constexpr std::int64_t kReferenceBytes = 12;
constexpr std::size_t kDataOffsetInReference = 5;

// Block of data: length 4; a text is its length 1 and its characters.
constexpr std::int64_t kLengthBytes = 4;

std::int64_t number32(const std::uint8_t* from) {
  return load32(from, ByteOrder::big);
}

/// The numbers of types and resources are stored less one.
std::uint32_t count16(const std::uint8_t* from) {
  return static_cast<std::uint16_t>(load16(from, ByteOrder::big) + 1U);
}

}  // namespace

std::span<const std::uint8_t> ResourceFork::bytes(const Stretch& part, std::int64_t offset, std::size_t length) {
  return part.contains({offset, static_cast<std::int64_t>(length)}) ? reader_.bytes(offset, length)
                                                                    : std::span<const std::uint8_t>();
}

const char* ResourceFork::open() {
  const auto header = bytes(fork_, fork_.offset, static_cast<std::size_t>(kHeaderBytes));
  if (header.empty()) {
    return "the resource fork is cut short";
  }
  data_ = {fork_.offset + number32(header.data()), number32(header.data() + 8)};
  map_ = {fork_.offset + number32(header.data() + 4), number32(header.data() + 12)};
  if (!fork_.contains(data_) || !fork_.contains(map_)) {
    return "the resource fork is cut short";
  }
  if (data_.overlaps(map_) || map_.offset < fork_.offset + kHeaderBytes) {
    return "the resource fork is damaged: its parts overlap";
  }
  const auto mapHeader = bytes(map_, map_.offset, static_cast<std::size_t>(kMapHeaderBytes));
  if (mapHeader.empty()) {
    return "the resource map is cut short";
  }
  const std::int64_t typeList = map_.offset + load16(mapHeader.data() + kTypeListField, ByteOrder::big);
  const auto typeCount = bytes(map_, typeList, static_cast<std::size_t>(kCountBytes));
  if (typeCount.empty()) {
    return "the resource map is cut short";
  }
  const std::uint32_t types = count16(typeCount.data());
  for (std::uint32_t i = 0; i < types; ++i) {
    const auto type = bytes(map_, typeList + kCountBytes + i * kTypeBytes, static_cast<std::size_t>(kTypeBytes));
    if (type.empty()) {
      return "the resource map is cut short";
    }
    if (loadCode(type.data()) == kTextType) {
      texts_ = count16(type.data() + 4);
      references_ = typeList + load16(type.data() + 6, ByteOrder::big);
      return nullptr;
    }
  }
  return "the resource fork holds no texts";
}

std::optional<std::string> ResourceFork::text(std::uint16_t id) {
  for (std::uint32_t i = 0; i < texts_; ++i) {
    const auto reference = bytes(map_, references_ + i * kReferenceBytes, static_cast<std::size_t>(kReferenceBytes));
    if (reference.empty()) {
      return std::nullopt;
    }
    if (load16(reference.data(), ByteOrder::big) == id) {
      const auto offset = loadNumber(reference.data() + kDataOffsetInReference, 3, ByteOrder::big);
      return textAt(data_.offset + static_cast<std::int64_t>(offset));
    }
  }
  return std::nullopt;
}

std::optional<std::string> ResourceFork::textAt(std::int64_t offset) {
  const auto lengths = bytes(data_, offset, static_cast<std::size_t>(kLengthBytes) + 1);
  if (lengths.empty()) {
    return std::nullopt;
  }
  const Stretch block{offset + kLengthBytes, number32(lengths.data())};
  const std::size_t characters = lengths[static_cast<std::size_t>(kLengthBytes)];
  if (!data_.contains(block) || block.length < 1) {
    return std::nullopt;
  }
  if (characters == 0) {
    return std::string();
  }
  const auto text = bytes(block, block.offset + 1, characters);
  return text.empty() ? std::nullopt : std::optional<std::string>(std::in_place, text.begin(), text.end());
}

std::vector<std::uint8_t> makeResourceFork(std::span<const TextResource> texts) {
  HeaderBuilder data(ByteOrder::big);
  HeaderBuilder references(ByteOrder::big);
  HeaderBuilder names(ByteOrder::big);
  std::uint32_t dataLength = 0;
  std::uint32_t namesLength = 0;
  for (const TextResource& resource : texts) {
    references.number16(resource.id);
    references.number16(namesLength);
    references.number32(dataLength);  // attributes: none, the highest byte; no text lies 16 MiB behind the first
    references.number32(0);           // handle
    data.number32(static_cast<std::uint32_t>(resource.text.size()) + 1);
    for (const auto& [builder, text] : {std::pair(&data, &resource.text), {&names, &resource.name}}) {
      builder->number8(static_cast<std::uint32_t>(text->size()));
      builder->text(*text);
    }
    dataLength += static_cast<std::uint32_t>(kLengthBytes + 1 + static_cast<std::int64_t>(resource.text.size()));
    namesLength += 1 + static_cast<std::uint32_t>(resource.name.size());
  }
  const auto referencesLength = static_cast<std::uint32_t>(texts.size() * static_cast<std::size_t>(kReferenceBytes));
  const auto referencesInList = static_cast<std::uint32_t>(kCountBytes + kTypeBytes);
  const auto typeList = static_cast<std::uint32_t>(kMapHeaderBytes);
  const std::uint32_t nameList = typeList + referencesInList + referencesLength;
  const auto dataStart = static_cast<std::uint32_t>(kDataStart);

  HeaderBuilder fork(ByteOrder::big);
  const auto header = [&] {
    fork.number32(dataStart);
    fork.number32(dataStart + dataLength);
    fork.number32(dataLength);
    fork.number32(nameList + namesLength);
  };
  header();
  fork.zeros(static_cast<std::size_t>(kDataStart - kHeaderBytes));
  fork.bytes(data.take());
  header();
  fork.zeros(8);  // handle, file, attributes
  fork.number16(typeList);
  fork.number16(nameList);
  fork.number16(0);  // one type
  fork.code(kTextType);
  fork.number16(static_cast<std::uint32_t>(texts.size()) - 1);
  fork.number16(referencesInList);
  fork.bytes(references.take());
  fork.bytes(names.take());
  return fork.take();
}

}  // namespace orv::audiofile
