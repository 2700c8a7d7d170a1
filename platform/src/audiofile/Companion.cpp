#include "audiofile/Companion.h"

#include "OrvPlatform/Log.h"
#include "audiofile/ByteOrder.h"
#include "audiofile/FileBytes.h"
#include "audiofile/HeaderBuilder.h"
#include "audiofile/PCMFormat.h"

namespace orv::audiofile {
namespace {

// AppleDouble, RFC 1740, appendix B. Header: magic 4, version 4, filler 16, number of entries 2; then for each entry
// its ID 4, offset in the file 4, length 4.
constexpr std::uint32_t kMagic = 0x00051607;
constexpr std::uint32_t kVersion = 0x00020000;
constexpr std::int64_t kFillerBytes = 16;
constexpr std::size_t kEntryCountField = 24;
constexpr std::int64_t kHeaderBytes = 26;
constexpr std::int64_t kEntryBytes = 12;

constexpr std::uint32_t kResourceForkEntry = 2;
constexpr std::uint32_t kFinderInfoEntry = 9;

// Finder info: type of the file 4, creator 4, and 24 bytes about windows and icons.
constexpr std::size_t kFinderInfoBytes = 32;

// Common readers look for the resource fork where it lies behind two entries and the Finder info, and nowhere else.
constexpr std::uint32_t kFinderInfoOffset = 50;
constexpr std::uint32_t kResourceForkOffset = 82;
static_assert(kFinderInfoOffset == kHeaderBytes + 2 * kEntryBytes);
static_assert(kResourceForkOffset == kFinderInfoOffset + kFinderInfoBytes);

constexpr const char* kCutShort = "the companion is cut short";

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

std::string companionPath(const std::string& path) {
  const std::string directory = directoryOf(path);
  return directory + "._" + path.substr(directory.size());
}

bool hasCompanion(const std::string& path) {
  const auto attributes = fileManager()->attributes(companionPath(path));
  return attributes && !attributes->isDirectory;
}

const char* findResourceFork(HeaderReader& reader, Stretch* fork) {
  const Stretch file{0, reader.fileSize()};
  const auto start = reader.bytes(0, 4);
  if (start.empty()) {
    return kCutShort;
  }
  if (load32(start.data(), ByteOrder::big) != kMagic) {
    *fork = file;
    return nullptr;
  }
  const auto header = reader.bytes(0, static_cast<std::size_t>(kHeaderBytes));
  if (header.empty()) {
    return kCutShort;
  }
  const std::uint32_t entries = load16(header.data() + kEntryCountField, ByteOrder::big);
  for (std::uint32_t i = 0; i < entries; ++i) {
    const auto entry = reader.bytes(kHeaderBytes + i * kEntryBytes, static_cast<std::size_t>(kEntryBytes));
    if (entry.empty()) {
      return kCutShort;
    }
    if (load32(entry.data(), ByteOrder::big) == kResourceForkEntry) {
      *fork = {load32(entry.data() + 4, ByteOrder::big), load32(entry.data() + 8, ByteOrder::big)};
      return file.contains(*fork) ? nullptr : kCutShort;
    }
  }
  return "the companion has no resource fork";
}

std::vector<std::uint8_t> makeCompanion(FourCharCode fileType, std::span<const std::uint8_t> resourceFork) {
  HeaderBuilder companion(ByteOrder::big);
  companion.number32(kMagic);
  companion.number32(kVersion);
  companion.zeros(static_cast<std::size_t>(kFillerBytes));
  companion.number16(2);
  companion.number32(kFinderInfoEntry);
  companion.number32(kFinderInfoOffset);
  companion.number32(static_cast<std::uint32_t>(kFinderInfoBytes));
  companion.number32(kResourceForkEntry);
  companion.number32(kResourceForkOffset);
  companion.number32(static_cast<std::uint32_t>(resourceFork.size()));
  companion.code(fileType);
  companion.zeros(kFinderInfoBytes - 4);
  companion.bytes(resourceFork);
  return companion.take();
}

CompanionWriter::~CompanionWriter() {
  if (isNew_) {
    fileManager()->remove(path_);
  }
}

OSStatus CompanionWriter::open() {
  OSStatus status = fileManager()->open(path_, FileAccess::readWrite, &file_);
  if (status == kFileNotFoundStatus) {
    status = fileManager()->open(path_, FileAccess::create, &file_);
    isNew_ = status == noErr;
  }
  return status == noErr
             ? noErr
             : refuse(status, formatText("the companion '%s': %s", path_.c_str(), describeStatus(status).c_str()));
}

OSStatus CompanionWriter::write(std::span<const std::uint8_t> bytes) {
  OSStatus status = writeAll(*file_, 0, bytes);
  if (status == noErr) {
    status = file_->setSize(static_cast<std::int64_t>(bytes.size()));
  }
  return status == noErr ? noErr : refuse(status, describeStatus(status));
}

}  // namespace orv::audiofile
