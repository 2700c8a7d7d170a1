#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/FileManager.h"

class OrvReadAheadCache;
class OrvWriteBehindCache;

/// An audio file: through it the framework reads and writes audio data, in bytes or in packets.
///
///   host ──► OrvAudioFile ──(cache off)──────────────────────────────► audio file service
///                  └──────(cache on)──► two buffers ◄──► worker thread ──┘
///
/// Opened for reading, the cache is read ahead; made for writing, it is written behind. Each of its two buffers holds
/// 768 KiB, made on first use.
///
/// Access modes: 0 read, 1 read and write in place, 2 write (the file is made or emptied when it is opened).
///
/// One thread at a time. Offsets and lengths are bytes of audio data unless said otherwise. Operations that answer
/// `bool` log a line when the platform refuses; `lastStatus` and `lastProblem` say why.
class ORV_API OrvAudioFile : public OrvObject {
 public:
  static constexpr int kModeRead = 0;
  static constexpr int kModeReadWrite = 1;
  static constexpr int kModeWrite = 2;

  /// A closed file object without a format, of type 'AIFF'. Null when `path` is.
  static std::shared_ptr<OrvAudioFile> initWithPath_accessMode(std::optional<std::string> path, int accessMode);
  ~OrvAudioFile() override;

  /// @name Paths
  /// Points the object at another path and forgets state and format fields. Does not close an open file: a handle that
  /// is still open is closed, its data saved, by the next `open` or `create` or with the object. Ignored without a
  /// path.
  void updatePath(std::optional<std::string> path);
  std::optional<std::string> path() const { return originalFilePath; }
  std::optional<std::string> name() const { return fileName; }
  /// The platform's handle; meaningful while the file is open, owned by this object.
  AudioFileID audioFileID() const { return audioFileID_; }
  /// Moves the file, with the companion that belongs to it, and points the object at the new path. Not for a file that
  /// is open. `handler` (may be null) is told when it fails. False, and nothing changed, when the destination exists.
  bool moveToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler);
  /// Copies the file, with its companion; the object keeps its path. False, and nothing changed, when the destination
  /// exists.
  bool copyToPath_handler(const std::string& newPath, orv::FileManagerHandler* handler);

  /// @name Mode and format
  /// Closes an open file and takes on the mode, without opening again. A closed file keeps its mode.
  void changeAccessMode(int accessMode);
  int accessMode() const { return fileAccessMode; }
  /// Gives a file that is to be written its format, and its type with it ('AIFC' for float, else 'AIFF'). A file that
  /// is open is closed and opened again, which in mode 2 empties it. False in mode 0 and without a format.
  bool setFileStreamFormat(const std::shared_ptr<OrvAudioStreamBasicDescription>& format);
  std::shared_ptr<OrvAudioStreamBasicDescription> fileStreamFormat() const { return _fileStreamFormat; }
  /// Sets what type of file fits the format: 'AIFC' for float, else 'AIFF'.
  void determineFileType(const std::shared_ptr<OrvAudioStreamBasicDescription>& format);
  std::uint32_t fileType() const { return _fileType; }
  void setFileType(std::uint32_t fileType) { _fileType = fileType; }
  bool usesCache() const { return _useCache; }
  /// Turning the cache off while it holds bytes that are not written yet writes them first.
  void setUseCache(bool useCache);
  bool usesInternalCache() const { return _useInternalCache; }
  void setUseInternalCache(bool useCache) { _useInternalCache = useCache; }
  bool isOpen() const { return fileIsOpen; }

  /// Fields of the format; 0 without one.
  double sampleRate() const { return _sampleRate; }  ///< Hz
  std::uint32_t formatID() const { return _formatID; }
  std::optional<std::string> formatIDName() const;
  std::uint32_t formatFlags() const { return _formatFlags; }
  std::uint32_t bytesPerPacket() const { return _bytesPerPacket; }
  std::uint32_t framesPerPacket() const { return _framesPerPacket; }
  std::uint32_t bytesPerFrame() const { return _bytesPerFrame; }
  std::uint32_t channelsPerFrame() const { return _channelsPerFrame; }
  std::uint32_t bitsPerChannel() const { return _bitsPerChannel; }

  /// @name Opening and closing
  /// Opens by the mode. Mode 1 falls back to `create` when the file can't be opened, and `create` empties a file that
  /// exists: where that is not wanted use `openForUpdateOnly`. False when the file is open already.
  bool open();
  /// Opens for reading and writing in place, whatever the mode, and never makes or empties a file.
  bool openForUpdateOnly();
  /// Makes the file, or empties one that exists, in the object's type and format. False when it is open.
  bool create();
  /// As `create`, for a file that exists.
  bool initializeFile();
  /// Writes what the cache holds, however long that takes, closes, and stamps the HFS codes. False when the file could
  /// not be closed, or when bytes that were accepted could not be written.
  bool close();
  /// Hands what the cache holds to the writer and waits for it 0.3 seconds at most; the header then follows. Always
  /// true.
  bool flush();

  /// @name Offsets and lengths
  std::int64_t offset() const { return _fileOffset; }
  /// Where the next `read_length` begins, in bytes. Ignored in mode 2.
  void setOffset(std::int64_t offset);
  void rewind() { setOffset(0); }
  /// In mode 2 with the cache on the position that is written next, otherwise what the file says.
  std::uint64_t lengthInBytes();
  /// Cut to 32 bits. 0 without a format.
  std::uint32_t lengthInFrames();
  /// Rounded down. 0 without a format.
  std::int64_t lengthInMilliSeconds();

  /// @name Bytes. `*length`: bytes asked for, then bytes moved
  /// True, and nothing done, on a file that is not open. With the cache on, a read that meets the end of the data
  /// answers false with the bytes before it counted in `*length`.
  bool read_length(void* buffer, std::uint32_t* length);
  bool read_length_fromOffset(void* buffer, std::uint32_t* length, std::int64_t offset);
  /// Appends at the current offset. False on a file that is not open.
  bool write_length(const void* buffer, std::uint32_t* length);
  /// True, and nothing done, on a file that is not open. With the cache on, an offset inside the range that is being
  /// buffered appends to what was written last, wherever it points; write elsewhere than behind the last byte with the
  /// cache off.
  bool write_length_atOffset(const void* buffer, std::uint32_t* length, std::int64_t offset);

  /// @name Packets. Never through the cache; false on a file that is not open
  bool readPackets_numBytes_outPacketDescriptions_startingPacket_numPackets(
      void* buffer, std::uint32_t* numBytes, AudioStreamPacketDescription* packetDescriptions,
      std::int64_t startingPacket, std::uint32_t* numPackets);
  /// False also while the cache is on.
  bool writePackets_numBytes_inPacketDescriptions_startingPacket_numPackets(
      const void* buffer, std::uint32_t numBytes, const AudioStreamPacketDescription* packetDescriptions,
      std::int64_t startingPacket, std::uint32_t* numPackets);
  /// The same at a packet position of their own, which advances by `*numPackets` whether or not the call succeeds.
  bool readPackets_numBytes_outPacketDescriptions_numPackets(void* buffer, std::uint32_t* numBytes,
                                                             AudioStreamPacketDescription* packetDescriptions,
                                                             std::uint32_t* numPackets);
  bool writePackets_numBytes_inPacketDescriptions_numPackets(const void* buffer, std::uint32_t numBytes,
                                                             const AudioStreamPacketDescription* packetDescriptions,
                                                             std::uint32_t* numPackets);

  /// @name Magic cookie and report
  /// A `malloc`ed block of `*size` bytes that the caller frees with `std::free`; null, with size 0, when there is none.
  void* magicCookie(std::uint32_t* size);
  OSStatus setMagicCookie_size(const void* cookie, std::uint32_t size);
  std::string dumpDebugInfo();

  /// @name What went wrong
  /// Status of the last platform call that failed on this object, 0 if none did.
  OSStatus lastStatus() const { return _lastStatus; }
  /// The same in one line for the person who uses the program.
  std::string lastProblem() const { return _lastProblem; }

  /// @name Properties and names
  /// 0, and a line in the log, on failure.
  static std::uint32_t sizeOfPropertyData_propertyID(AudioFileID file, std::uint32_t propertyID);
  /// A `malloc`ed block that the caller frees with `std::free`; null, and a line in the log, on failure.
  static void* anyProperty_propertyID(AudioFileID file, std::uint32_t propertyID);
  static std::string propertyName(std::uint32_t propertyID);
  /// Logs one line that names the status.
  static void printOSStatusCode(OSStatus status);

 protected:
  explicit OrvAudioFile(int accessMode);

 private:
  bool openExisting(std::int8_t permissions);
  bool openInModeReadWrite();
  bool makeFile(const char* failureLine, bool exists);
  void adoptFormatOfFile();
  void disposeOfHandleLeftOpen();
  bool closeHandle();
  void _setFileStreamFormat(const std::shared_ptr<OrvAudioStreamBasicDescription>& format);
  void stampHFSCodes();

  OrvReadAheadCache* readAhead();
  OrvWriteBehindCache* writeBehind();
  bool writesBehind() const { return _useCache && !fileIsOpenForReading; }
  bool readDirectly(void* buffer, std::uint32_t* length, std::int64_t offset);
  bool writeDirectly(const void* buffer, std::uint32_t* length, std::int64_t offset);

  bool succeeded(OSStatus status);
  bool succeededOrPrinted(OSStatus status);
  void remember(OSStatus status, const std::string& problem = {});

  // Constant after updatePath.
  std::optional<std::string> originalFilePath;
  std::optional<std::string> parentDirPath;
  std::optional<std::string> fileName;
  FSRef parentDirRef;
  FSRef audioFileRef;

  std::shared_ptr<OrvAudioStreamBasicDescription> _fileStreamFormat;
  double _sampleRate = 0;
  std::uint32_t _formatID = 0;
  std::uint32_t _formatFlags = 0;
  std::uint32_t _bytesPerPacket = 0;
  std::uint32_t _framesPerPacket = 0;
  std::uint32_t _bytesPerFrame = 0;
  std::uint32_t _channelsPerFrame = 0;
  std::uint32_t _bitsPerChannel = 0;

  AudioFileID audioFileID_ = nullptr;
  std::int64_t _fileOffset = 0;
  std::int64_t _packetOffset = 0;
  std::int64_t _fileLength = 0;
  bool fileIsOpen = false;
  bool fileIsOpenForReading = false;
  bool fileIsOpenForWriting = false;
  bool _useCache = false;
  std::atomic<bool> _useInternalCache{false};  // read by the workers
  bool fileSizeIsDirty = false;
  std::uint32_t _fileType;
  int fileAccessMode;

  std::mutex platformCallMutex;                           // a file that is written is called by one thread at a time
  std::unique_ptr<OrvReadAheadCache> readAheadCache;      // while open for reading, from the first cached read on
  std::unique_ptr<OrvWriteBehindCache> writeBehindCache;  // while open after create, from the first cached write on

  OSStatus _lastStatus = noErr;
  std::string _lastProblem;
};
