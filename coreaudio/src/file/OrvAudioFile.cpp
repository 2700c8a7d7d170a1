#include "OrvCoreAudio/OrvAudioFile.h"

#include <cstdlib>
#include <filesystem>

#include "OrvPlatform/AudioFileMoves.h"
#include "OrvPlatform/Log.h"
#include "file/OrvReadAheadCache.h"
#include "file/OrvWriteBehindCache.h"

namespace {

constexpr FourCharCode kCreatorCode = orv::fourCC("tOrQ");

using FormatRecord = std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)>;

FormatRecord recordOf(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  return {format ? format->audioStreamBasicDescription() : nullptr, &std::free};
}

}  // namespace

OrvAudioFile::OrvAudioFile(int accessMode) : _fileType(kAudioFileAIFFType), fileAccessMode(accessMode) {}

OrvAudioFile::~OrvAudioFile() {
  close();
  disposeOfHandleLeftOpen();
}

std::shared_ptr<OrvAudioFile> OrvAudioFile::initWithPath_accessMode(std::optional<std::string> path, int accessMode) {
  if (!path) {
    return nullptr;
  }
  std::shared_ptr<OrvAudioFile> file(new OrvAudioFile(accessMode));
  file->updatePath(std::move(path));
  return file;
}

void OrvAudioFile::updatePath(std::optional<std::string> path) {
  if (!path) {
    return;
  }
  const std::filesystem::path parts(*path);
  originalFilePath = std::move(path);
  parentDirPath = parts.parent_path().string();
  fileName = parts.filename().string();
  audioFileRef.path = *originalFilePath;
  parentDirRef.path = parentDirPath->empty() ? "." : *parentDirPath;

  fileIsOpen = false;
  fileIsOpenForReading = false;
  fileIsOpenForWriting = false;
  fileSizeIsDirty = true;
  _fileOffset = 0;
  _fileLength = 0;
  _packetOffset = 0;
  _sampleRate = 0;
  _formatID = 0;
  _formatFlags = 0;
  _bytesPerPacket = 0;
  _framesPerPacket = 0;
  _bytesPerFrame = 0;
  _channelsPerFrame = 0;
  _bitsPerChannel = 0;
}

bool OrvAudioFile::moveToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler) {
  const OSStatus status = orv::moveAudioFile(*originalFilePath, newPath);
  if (status != noErr) {
    remember(status);
    if (handler != nullptr) {
      handler->shouldProceedAfterError(lastProblem());
    }
    return false;
  }
  updatePath(newPath);
  return true;
}

bool OrvAudioFile::copyToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler) {
  const OSStatus status = orv::copyAudioFile(*originalFilePath, newPath);
  if (status == noErr) {
    return true;
  }
  remember(status);
  if (handler != nullptr) {
    handler->shouldProceedAfterError(lastProblem());
  }
  return false;
}

void OrvAudioFile::changeAccessMode(int accessMode) {
  if (accessMode == fileAccessMode || !fileIsOpen) {
    return;
  }
  close();
  fileAccessMode = accessMode;
  if (accessMode != kModeRead && accessMode != kModeWrite) {
    setUseCache(false);
  }
}

bool OrvAudioFile::setFileStreamFormat(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  if (fileAccessMode == kModeRead || !format) {
    return false;
  }
  const bool wasOpen = fileIsOpen;
  close();
  _setFileStreamFormat(format);
  if (wasOpen) {
    open();
  }
  return true;
}

void OrvAudioFile::_setFileStreamFormat(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  const FormatRecord record = recordOf(format);
  _fileStreamFormat = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(record.get());
  determineFileType(_fileStreamFormat);
  _sampleRate = _fileStreamFormat->sampleRate();
  _formatID = _fileStreamFormat->formatID();
  _formatFlags = _fileStreamFormat->formatFlags();
  _bytesPerPacket = _fileStreamFormat->bytesPerPacket();
  _framesPerPacket = _fileStreamFormat->framesPerPacket();
  _bytesPerFrame = _fileStreamFormat->bytesPerFrame();
  _channelsPerFrame = _fileStreamFormat->channelsPerFrame();
  _bitsPerChannel = _fileStreamFormat->bitsPerChannel();
}

void OrvAudioFile::determineFileType(const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  _fileType = format && format->isFloat() ? kAudioFileAIFCType : kAudioFileAIFFType;
}

bool OrvAudioFile::open() {
  if (fileIsOpen || fileAccessMode == kModeWrite) {
    return create();
  }
  if (fileAccessMode == kModeReadWrite) {
    return openInModeReadWrite();
  }
  if (openExisting(kFileReadPermission)) {
    return true;
  }
  orv::log("OrvAudioFile: Error opening audio file in read mode");
  printOSStatusCode(_lastStatus);
  orv::log("OrvAudioFile: Error opening audio file");
  printOSStatusCode(_lastStatus);
  return false;
}

bool OrvAudioFile::openInModeReadWrite() {
  if (openExisting(kFileReadWritePermission)) {
    return true;
  }
  orv::log("OrvAudioFile: Error opening audio file in read/write mode");
  printOSStatusCode(_lastStatus);
  return create();
}

bool OrvAudioFile::openForUpdateOnly() {
  if (fileIsOpen) {
    return false;
  }
  if (openExisting(kFileReadWritePermission)) {
    return true;
  }
  printOSStatusCode(_lastStatus);
  return false;
}

bool OrvAudioFile::openExisting(std::int8_t permissions) {
  disposeOfHandleLeftOpen();
  const OSStatus status = AudioFileOpen(&audioFileRef, permissions, 0, &audioFileID_);
  if (!succeeded(status)) {
    audioFileID_ = nullptr;
    return false;
  }
  adoptFormatOfFile();
  fileIsOpen = true;
  fileIsOpenForReading = true;
  fileIsOpenForWriting = permissions == kFileReadWritePermission;
  _fileOffset = 0;
  _fileLength = 0;
  fileSizeIsDirty = true;
  lengthInBytes();
  return true;
}

void OrvAudioFile::adoptFormatOfFile() {
  const FormatRecord record(
      static_cast<AudioStreamBasicDescription*>(anyProperty_propertyID(audioFileID_, kAudioFilePropertyDataFormat)),
      &std::free);
  if (record) {
    _setFileStreamFormat(OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(record.get()));
  }
  const std::unique_ptr<AudioFileTypeID, decltype(&std::free)> type(
      static_cast<AudioFileTypeID*>(anyProperty_propertyID(audioFileID_, kAudioFilePropertyFileFormat)), &std::free);
  if (type) {
    _fileType = *type;
  }
}

bool OrvAudioFile::create() {
  if (fileIsOpen) {
    return false;
  }
  changeAccessMode(kModeWrite);
  if (orv::fileManager()->exists(*originalFilePath)) {
    return initializeFile();
  }
  return makeFile("OrvAudioFile: Error creating audio file", false);
}

bool OrvAudioFile::initializeFile() {
  if (fileIsOpen) {
    return false;
  }
  return makeFile("OrvAudioFile: Error initializing audio file", true);
}

bool OrvAudioFile::makeFile(const char* failureLine, bool exists) {
  disposeOfHandleLeftOpen();
  const FormatRecord record = recordOf(_fileStreamFormat);
  const OSStatus status = exists ? AudioFileInitialize(&audioFileRef, _fileType, record.get(), 0, &audioFileID_)
                                 : AudioFileCreate(&parentDirRef, fileName->c_str(), _fileType, record.get(), 0,
                                                   &audioFileRef, &audioFileID_);
  if (!succeeded(status)) {
    audioFileID_ = nullptr;
    orv::log(failureLine);
    printOSStatusCode(status);
    return false;
  }
  fileIsOpen = true;
  fileIsOpenForWriting = true;
  fileIsOpenForReading = false;
  _fileOffset = 0;
  _fileLength = 0;
  return true;
}

bool OrvAudioFile::close() {
  if (!fileIsOpen) {
    return true;
  }
  const bool closed = closeHandle();
  fileIsOpen = false;
  fileIsOpenForReading = false;
  fileIsOpenForWriting = false;
  stampHFSCodes();
  _fileOffset = 0;
  return closed;
}

/// Saves what the cache holds before the platform closes the file.
bool OrvAudioFile::closeHandle() {
  readAheadCache.reset();
  bool saved = true;
  if (writeBehindCache) {
    saved = writeBehindCache->drain();
    if (!saved) {
      remember(writeBehindCache->takeFailure());
    }
    writeBehindCache.reset();
  }
  const OSStatus status = AudioFileClose(audioFileID_);
  audioFileID_ = nullptr;
  return succeeded(status) && saved;
}

void OrvAudioFile::disposeOfHandleLeftOpen() {
  if (audioFileID_ != nullptr) {
    closeHandle();
  }
}

void OrvAudioFile::stampHFSCodes() {
  const bool isNamedType =
      _fileType == kAudioFileAIFFType || _fileType == kAudioFileSoundDesigner2Type || _fileType == kAudioFileWAVEType;
  const FourCharCode type = isNamedType ? _fileType : kAudioFileAIFCType;
  // A stamp that can't be set changes nothing about the audio: the file was closed all the same.
  orv::fileManager()->setHFSCodes(*originalFilePath, {type, kCreatorCode});
}
