#include "archiver/ArchiveFrame.h"

#include <algorithm>
#include <array>

#include "archiver/CBORShape.h"
#include "archiver/Checksum.h"

namespace orv::archiver {
namespace {

constexpr std::size_t kNameBytes = 7;      // array head, text head, five characters
constexpr std::size_t kChecksumBytes = 5;  // head and 32 bits
constexpr std::size_t kFillerHeadBytes = 5;
constexpr std::size_t kChecksumEnd = kNameBytes + kChecksumBytes;
static_assert(kArchiveFillerOffset == kChecksumEnd + kFillerHeadBytes);
static_assert(kFrameBytes == kArchiveFillerOffset + kFillerHeadBytes);

constexpr std::uint8_t kArrayOfFive = 0x85;
constexpr std::uint8_t kTextOfFive = 0x65;
constexpr std::uint8_t kNumberOf32Bits = 0x1A;
constexpr std::uint8_t kBytesOf32BitLength = 0x5A;

using Name = std::array<std::uint8_t, kNameBytes>;

constexpr Name nameOf(ArchiveForm form) {
  const auto last = static_cast<std::uint8_t>(form == ArchiveForm::keyed ? 'k' : 's');
  return {kArrayOfFive, kTextOfFive, 'o', 'r', 'v', '1', last};
}

void append32(ArchiveBytes& bytes, std::uint8_t head, std::size_t value) {
  bytes.push_back(head);
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

/// Of everything but the checksum itself.
std::uint32_t checksumOf(std::span<const std::uint8_t> bytes) {
  return checksum(bytes.subspan(kChecksumEnd), checksum(bytes.first(kNameBytes)));
}

void storeChecksum(ArchiveBytes& bytes) {
  const std::uint32_t sum = checksumOf(bytes);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[kChecksumEnd - 1 - i] = static_cast<std::uint8_t>(sum >> (8 * i));
  }
}

std::optional<ArchiveForm> formOf(std::span<const std::uint8_t> bytes) {
  for (const ArchiveForm form : {ArchiveForm::sequential, ArchiveForm::keyed}) {
    const Name name = nameOf(form);
    if (std::equal(name.begin(), name.end(), bytes.begin())) {
      return form;
    }
  }
  return std::nullopt;
}

/// Length of the filler, head included, that the bytes begin with.
std::optional<std::size_t> fillerLength(std::span<const std::uint8_t> bytes) {
  const auto head = readHead(bytes);
  if (!head || bytes[0] != kBytesOf32BitLength || head->argument > bytes.size() - head->length) {
    return std::nullopt;
  }
  return head->length + static_cast<std::size_t>(head->argument);
}

}  // namespace

ArchiveBytes makeFrame(const ArchiveFrame& frame, std::span<const std::uint8_t> front) {
  ArchiveBytes bytes;
  bytes.reserve(kFrameBytes + front.size() + frame.object.size() + frame.zerosBehind);
  const Name name = nameOf(frame.form);
  bytes.assign(name.begin(), name.end());
  append32(bytes, kNumberOf32Bits, 0);
  append32(bytes, kBytesOf32BitLength, front.size());
  bytes.insert(bytes.end(), front.begin(), front.end());
  bytes.insert(bytes.end(), frame.object.begin(), frame.object.end());
  append32(bytes, kBytesOf32BitLength, frame.zerosBehind);
  bytes.resize(bytes.size() + frame.zerosBehind);
  storeChecksum(bytes);
  return bytes;
}

std::optional<ArchiveFrame> readFrame(std::span<const std::uint8_t> bytes, const char** problem) {
  *problem = "not an archive";
  const auto form = bytes.size() < kFrameBytes ? std::nullopt : formOf(bytes);
  if (!form || bytes[kNameBytes] != kNumberOf32Bits) {
    return std::nullopt;
  }
  *problem = "the archive is damaged";
  if (readHead(bytes.subspan(kNameBytes))->argument != checksumOf(bytes)) {
    return std::nullopt;
  }
  const auto frontLength = fillerLength(bytes.subspan(kChecksumEnd));
  if (!frontLength) {
    return std::nullopt;
  }
  const auto rest = bytes.subspan(kChecksumEnd + *frontLength);
  const auto objectLength = itemLength(rest, kDeepestArchive);
  const auto behind = objectLength ? fillerLength(rest.subspan(*objectLength)) : std::nullopt;
  if (!behind || *objectLength + *behind != rest.size()) {
    return std::nullopt;
  }
  return ArchiveFrame{*form, rest.first(*objectLength), *behind - kFillerHeadBytes};
}

}  // namespace orv::archiver
