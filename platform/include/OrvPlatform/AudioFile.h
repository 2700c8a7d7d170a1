#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/FileSystem.h"
#include "OrvPlatform/Status.h"

/// The audio file service: byte-exact access to the audio data of AIFF, AIFC, WAVE and Sound Designer II files.
///
///   AudioFileOpen / AudioFileCreate … ──► orv::AudioFileService ──► orv::AudioFileSession (one open file)
///
/// The free functions forward to the service in force. Offsets and lengths count bytes of audio data: 0 is the first
/// byte of the first frame, wherever the file keeps it. Bytes are passed on as the file stores them; the file's
/// format says what they mean.
///
/// A file that is opened for update keeps every chunk that is not the service's own, before and behind the sound data.
/// While it grows, its header follows at least once a second and after `AudioFileUpdateSizes`, so that a process that
/// is killed leaves a file that opens.
///
/// Files of other programs (FLAC, Ogg, MP3, CAF, W64, AU, compressed AIFC and WAVE) are opened for reading and decoded:
/// their bytes are those of linear PCM in the host's byte order.
///
/// A Sound Designer II file is nothing but audio. Its format is in the companion `._NAME` in the same folder, which is
/// made with the file and stays as it is; to move both, see `OrvPlatform/AudioFileMoves.h`.

using AudioFileTypeID = FourCharCode;

inline constexpr AudioFileTypeID kAudioFileAIFFType = orv::fourCC("AIFF");
inline constexpr AudioFileTypeID kAudioFileAIFCType = orv::fourCC("AIFC");
inline constexpr AudioFileTypeID kAudioFileWAVEType = orv::fourCC("WAVE");
inline constexpr AudioFileTypeID kAudioFileSoundDesigner2Type = orv::fourCC("Sd2f");

/// Types that are only read, and only where the library was built with libsndfile: see `docs/formats.md`.
inline constexpr AudioFileTypeID kAudioFileFLACType = orv::fourCC("FLAC");
inline constexpr AudioFileTypeID kAudioFileOggType = orv::fourCC("Oggf");
inline constexpr AudioFileTypeID kAudioFileMP1Type = orv::fourCC("MPG1");
inline constexpr AudioFileTypeID kAudioFileMP2Type = orv::fourCC("MPG2");
inline constexpr AudioFileTypeID kAudioFileMP3Type = orv::fourCC("MPG3");
inline constexpr AudioFileTypeID kAudioFileCAFType = orv::fourCC("caff");
inline constexpr AudioFileTypeID kAudioFileWave64Type = orv::fourCC("W64f");
inline constexpr AudioFileTypeID kAudioFileNextType = orv::fourCC("NeXT");  ///< AU

inline constexpr OSStatus kAudioFileUnspecifiedError = orv::statusCC("wht?");
inline constexpr OSStatus kAudioFileUnsupportedFileTypeError = orv::statusCC("typ?");
inline constexpr OSStatus kAudioFileUnsupportedDataFormatError = orv::statusCC("fmt?");
inline constexpr OSStatus kAudioFileUnsupportedPropertyError = orv::statusCC("pty?");
inline constexpr OSStatus kAudioFileBadPropertySizeError = orv::statusCC("!siz");
inline constexpr OSStatus kAudioFilePermissionsError = orv::statusCC("prm?");
inline constexpr OSStatus kAudioFileNotOptimizedError = orv::statusCC("optm");
inline constexpr OSStatus kAudioFileFormatNameUnavailableError = orv::statusCC("nme?");
inline constexpr OSStatus kAudioFileInvalidChunkError = orv::statusCC("chk?");
inline constexpr OSStatus kAudioFileDoesNotAllow64BitDataSizeError = orv::statusCC("off?");
inline constexpr OSStatus kAudioFileInvalidPacketOffsetError = orv::statusCC("pck?");
inline constexpr OSStatus kAudioFileInvalidFileError = orv::statusCC("dta?");
inline constexpr OSStatus kAudioFileOperationNotSupportedError = orv::statusCC("op??");

using AudioFilePropertyID = FourCharCode;

inline constexpr AudioFilePropertyID kAudioFilePropertyFileFormat = orv::fourCC("ffmt");  ///< AudioFileTypeID
inline constexpr AudioFilePropertyID kAudioFilePropertyDataFormat =
    orv::fourCC("dfmt");  ///< AudioStreamBasicDescription
inline constexpr AudioFilePropertyID kAudioFilePropertyDataFormatName = orv::fourCC("fnme");   ///< UTF-8 text, no zero
inline constexpr AudioFilePropertyID kAudioFilePropertyIsOptimized = orv::fourCC("optm");      ///< uint32: 1 when
                                                                                               ///< nothing lies
                                                                                               ///< behind the audio
inline constexpr AudioFilePropertyID kAudioFilePropertyMagicCookieData = orv::fourCC("mgic");  ///< bytes
inline constexpr AudioFilePropertyID kAudioFilePropertyAudioDataByteCount = orv::fourCC("bcnt");    ///< uint64
inline constexpr AudioFilePropertyID kAudioFilePropertyAudioDataPacketCount = orv::fourCC("pcnt");  ///< uint64
inline constexpr AudioFilePropertyID kAudioFilePropertyMaximumPacketSize = orv::fourCC("psze");     ///< uint32, bytes

/// What `AudioFileOpen` may do with the file.
inline constexpr std::int8_t kFileReadPermission = 1;       ///< read
inline constexpr std::int8_t kFileReadWritePermission = 3;  ///< read and write

namespace orv {

/// One open audio file. One thread at a time, except that reads may run beside each other.
/// Destroying it without `close` leaves the header as it was last written.
class ORV_API AudioFileSession {
 public:
  AudioFileSession() = default;
  AudioFileSession(const AudioFileSession&) = delete;
  AudioFileSession& operator=(const AudioFileSession&) = delete;
  virtual ~AudioFileSession();

  /// Constant while the file is open.
  virtual AudioFileTypeID fileType() const = 0;
  virtual const AudioStreamBasicDescription& format() const = 0;

  /// Bytes of audio data, as far as they really are in the file.
  virtual std::int64_t dataByteCount() const = 0;
  /// Whether nothing lies behind the audio data, so that growing the file moves nothing.
  virtual bool isOptimized() const = 0;

  /// Reads up to `*count` bytes from `start` on; `*count` gets the bytes read: fewer than asked for, with success, just
  /// before the end of the data; none, with `kEndOfFileStatus`, at or past it (asking for 0 bytes always succeeds).
  virtual OSStatus readBytes(std::int64_t start, std::uint32_t* count, void* buffer) = 0;

  /// Writes `*count` bytes at `start`, which may be at most the end of the audio data; `*count` gets the bytes that are
  /// in the file. `kDiskFullStatus` when the disk is full; `kAudioFileDoesNotAllow64BitDataSizeError`, and nothing
  /// written, when the header could not say the size.
  virtual OSStatus writeBytes(std::int64_t start, std::uint32_t* count, const void* buffer) = 0;

  /// Makes the sizes in the header say what is in the file.
  virtual OSStatus updateSizes() = 0;

  /// `updateSizes`, puts the chunks behind the audio data in their final place, and closes.
  virtual OSStatus close() = 0;
};

/// Opens and makes audio files. A host or a test may install its own. Thread-safe.
class ORV_API AudioFileService {
 public:
  virtual ~AudioFileService();

  /// Makes `path` a new file that holds a header and no audio. `kFileExistsStatus` when it exists already.
  virtual OSStatus create(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                          std::unique_ptr<AudioFileSession>* session) = 0;
  /// Empties the existing file `path` and makes it what `create` makes. The format is checked before the file is
  /// touched, and so is whether a companion can be written.
  virtual OSStatus initialize(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                              std::unique_ptr<AudioFileSession>* session) = 0;
  /// Opens `path` for reading, or for reading and writing in place.
  virtual OSStatus open(const std::string& path, bool forUpdate, std::unique_ptr<AudioFileSession>* session) = 0;
};

/// The audio file service in force. Thread-safe.
ORV_API std::shared_ptr<AudioFileService> audioFileService();
/// Installs a service and returns the one before. Null restores the built-in one. Thread-safe.
ORV_API std::shared_ptr<AudioFileService> installAudioFileService(std::shared_ptr<AudioFileService> service);

/// Why the last failing audio file call of this thread failed, in one line for the person who uses the program ("AIFF:
/// compression 'ima4' can't be read, only plain samples"). Empty when the status says it all.
ORV_API std::string audioFileProblem();
/// Sets what `audioFileProblem` answers on this thread. For services.
ORV_API void setAudioFileProblem(std::string problem);

}  // namespace orv

/// Handle of an open audio file; owned by whoever opened it until `AudioFileClose`.
using AudioFileID = orv::AudioFileSession*;

extern "C" {

/// Makes the new file `name` in `directory`; fills `newFile` and `file`. `flags` must be 0.
ORV_API OSStatus AudioFileCreate(const FSRef* directory, const char* name, AudioFileTypeID type,
                                 const AudioStreamBasicDescription* format, std::uint32_t flags, FSRef* newFile,
                                 AudioFileID* file);
/// Empties an existing file and gives it a new header. `flags` must be 0.
ORV_API OSStatus AudioFileInitialize(const FSRef* fileRef, AudioFileTypeID type,
                                     const AudioStreamBasicDescription* format, std::uint32_t flags, AudioFileID* file);
/// `permissions`: `kFileReadPermission` or `kFileReadWritePermission`. `typeHint` is not needed: the content decides,
/// and for Sound Designer II the companion.
ORV_API OSStatus AudioFileOpen(const FSRef* fileRef, std::int8_t permissions, AudioFileTypeID typeHint,
                               AudioFileID* file);
ORV_API OSStatus AudioFileClose(AudioFileID file);

/// `useCache` is a hint that this service has no use for: the system's page cache serves both cases.
ORV_API OSStatus AudioFileReadBytes(AudioFileID file, bool useCache, std::int64_t startingByte, std::uint32_t* numBytes,
                                    void* buffer);
ORV_API OSStatus AudioFileWriteBytes(AudioFileID file, bool useCache, std::int64_t startingByte,
                                     std::uint32_t* numBytes, const void* buffer);
/// Reads up to `*numPackets` whole packets. `*numBytes` gets the bytes read. `packetDescriptions` may be null.
ORV_API OSStatus AudioFileReadPackets(AudioFileID file, bool useCache, std::uint32_t* numBytes,
                                      AudioStreamPacketDescription* packetDescriptions, std::int64_t startingPacket,
                                      std::uint32_t* numPackets, void* buffer);
/// Writes `*numPackets` packets that `numBytes` bytes hold; `*numPackets` gets the packets written.
ORV_API OSStatus AudioFileWritePackets(AudioFileID file, bool useCache, std::uint32_t numBytes,
                                       const AudioStreamPacketDescription* packetDescriptions,
                                       std::int64_t startingPacket, std::uint32_t* numPackets, const void* buffer);
/// Makes the sizes in the file's header say what is in the file.
ORV_API OSStatus AudioFileUpdateSizes(AudioFileID file);

ORV_API OSStatus AudioFileGetPropertyInfo(AudioFileID file, AudioFilePropertyID property, std::uint32_t* size,
                                          std::uint32_t* isWritable);
/// `*size` holds the capacity of `data` and gets the bytes filled in.
ORV_API OSStatus AudioFileGetProperty(AudioFileID file, AudioFilePropertyID property, std::uint32_t* size, void* data);
ORV_API OSStatus AudioFileSetProperty(AudioFileID file, AudioFilePropertyID property, std::uint32_t size,
                                      const void* data);

}  // extern "C"
