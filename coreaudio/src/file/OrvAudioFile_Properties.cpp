// Magic cookie, report, properties, and names for what the platform says in codes.
#include <cstdlib>
#include <iterator>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvPlatform/Log.h"

using orv::formatText;

namespace {

struct Name {
  std::uint32_t code;
  const char* name;
};

constexpr Name kPropertyNames[] = {
    {kAudioFilePropertyFileFormat, "kAudioFilePropertyFileFormat"},
    {kAudioFilePropertyDataFormat, "kAudioFilePropertyDataFormat"},
    {kAudioFilePropertyDataFormatName, "kAudioFilePropertyDataFormatName"},
    {kAudioFilePropertyIsOptimized, "kAudioFilePropertyIsOptimized"},
    {kAudioFilePropertyMagicCookieData, "kAudioFilePropertyMagicCookieData"},
    {kAudioFilePropertyAudioDataByteCount, "kAudioFilePropertyAudioDataByteCount"},
    {kAudioFilePropertyAudioDataPacketCount, "kAudioFilePropertyAudioDataPacketCount"},
    {kAudioFilePropertyMaximumPacketSize, "kAudioFilePropertyMaximumPacketSize"},
};

constexpr Name kStatusNames[] = {
    {orv::fourCC("wht?"), "kAudioFileUnspecifiedError"},
    {orv::fourCC("typ?"), "kAudioFileUnsupportedFileTypeError"},
    {orv::fourCC("fmt?"), "kAudioFileUnsupportedDataFormatError"},
    {orv::fourCC("pty?"), "kAudioFileUnsupportedPropertyError"},
    {orv::fourCC("!siz"), "kAudioFileBadPropertySizeError"},
    {orv::fourCC("prm?"), "kAudioFilePermissionsError"},
    {orv::fourCC("optm"), "kAudioFileNotOptimizedError"},
    {orv::fourCC("nme?"), "kAudioFileFormatNameUnavailableError"},
    {orv::fourCC("chk?"), "kAudioFileInvalidChunkError"},
    {orv::fourCC("off?"), "kAudioFileDoesNotAllow64BitDataSizeError"},
    {orv::fourCC("pck?"), "kAudioFileInvalidPacketOffsetError"},
    {orv::fourCC("dta?"), "kAudioFileInvalidFileError"},
    {orv::fourCC("op??"), "kAudioFileOperationNotSupportedError"},
};

template <std::size_t count>
const char* nameIn(const Name (&table)[count], std::uint32_t code) {
  for (const Name& entry : table) {
    if (entry.code == code) {
      return entry.name;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<std::string> OrvAudioFile::formatIDName() const {
  if (!_fileStreamFormat) {
    return std::nullopt;
  }
  return _fileStreamFormat->formatIDName();
}

void* OrvAudioFile::magicCookie(std::uint32_t* size) {
  *size = 0;
  std::uint32_t isWritable = 0;
  std::uint32_t cookieSize = 0;
  if (AudioFileGetPropertyInfo(audioFileID_, kAudioFilePropertyMagicCookieData, &cookieSize, &isWritable) != noErr) {
    return nullptr;
  }
  void* const cookie = std::calloc(1, cookieSize);
  if (cookie == nullptr ||
      AudioFileGetProperty(audioFileID_, kAudioFilePropertyMagicCookieData, &cookieSize, cookie) != noErr) {
    std::free(cookie);
    return nullptr;
  }
  *size = cookieSize;
  return cookie;
}

OSStatus OrvAudioFile::setMagicCookie_size(const void* cookie, std::uint32_t size) {
  return AudioFileSetProperty(audioFileID_, kAudioFilePropertyMagicCookieData, size, cookie);
}

std::string OrvAudioFile::dumpDebugInfo() {
  std::string text = formatText("\nDebug information <OrvAudioFile: 0x%llX>:\n",
                                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(this)));
  text += formatText("\nPath: %s", originalFilePath->c_str());
  text += formatText("\nName: %s\n", fileName->c_str());
  text += formatText("\n            fileOffset: %lld", static_cast<long long>(_fileOffset));
  text += formatText("\n         lengthInBytes: %llu", static_cast<unsigned long long>(lengthInBytes()));
  text += formatText("\n        lengthInFrames: %u\n\n", lengthInFrames());
  text += formatText("\n  lengthInMilliSeconds: %llu", static_cast<unsigned long long>(lengthInMilliSeconds()));
  if (_fileStreamFormat) {
    text += formatText("File stream format:\n%s\n", _fileStreamFormat->debugDescription().c_str());
  }
  return text;
}

/// Takes the result of a call to the audio file service.
bool OrvAudioFile::succeeded(OSStatus status) {
  if (status != noErr) {
    remember(status, orv::audioFileProblem());
  }
  return status == noErr;
}

/// As `succeeded`, and logs a failure.
bool OrvAudioFile::succeededOrPrinted(OSStatus status) {
  if (status != noErr) {
    printOSStatusCode(status);
  }
  return succeeded(status);
}

void OrvAudioFile::remember(OSStatus status, const std::string& problem) {
  _lastStatus = status;
  _lastProblem = problem.empty() ? orv::describeStatus(status) : problem;
}

std::uint32_t OrvAudioFile::sizeOfPropertyData_propertyID(AudioFileID file, std::uint32_t propertyID) {
  std::uint32_t size = 0;
  std::uint32_t isWritable = 0;
  const OSStatus status = AudioFileGetPropertyInfo(file, propertyID, &size, &isWritable);
  if (status != noErr) {
    orv::logf("ERROR READING AUDIO FILE PROPERTY SIZE FOR: %s", propertyName(propertyID).c_str());
    printOSStatusCode(status);
    return 0;
  }
  return size;
}

void* OrvAudioFile::anyProperty_propertyID(AudioFileID file, std::uint32_t propertyID) {
  std::uint32_t size = sizeOfPropertyData_propertyID(file, propertyID);
  void* const block = size > 0 ? std::calloc(1, size) : nullptr;
  if (block == nullptr) {
    return nullptr;
  }
  if (const OSStatus status = AudioFileGetProperty(file, propertyID, &size, block); status != noErr) {
    orv::logf("ERR READ AUDIO FILE PROP: %s", propertyName(propertyID).c_str());
    printOSStatusCode(status);
    std::free(block);
    return nullptr;
  }
  return block;
}

std::string OrvAudioFile::propertyName(std::uint32_t propertyID) {
  const char* const name = nameIn(kPropertyNames, propertyID);
  return name != nullptr ? name : "Unknown property: " + orv::fourCCInMemoryOrder(propertyID);
}

void OrvAudioFile::printOSStatusCode(OSStatus status) {
  const auto code = static_cast<std::uint32_t>(status);
  if (const char* const name = nameIn(kStatusNames, code)) {
    orv::logf("OS Status: %s", name);
  } else {
    orv::logf("OrvAudioFile: OS Status: %s (%d)", orv::fourCCInMemoryOrder(code).c_str(), status);
  }
}
