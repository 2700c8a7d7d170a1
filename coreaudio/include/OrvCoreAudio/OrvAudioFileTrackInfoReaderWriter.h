#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvTrackAndProcessingInfo.h"
#include "OrvPlatform/Archiver.h"
#include "OrvPlatform/FileManager.h"

class ChunkChain;
struct ChunkPlan;

/// An object that derives from this too is asked by `versionIsSupported`.
class ORV_API OrvTrackInfoVersionDelegate {
 public:
  virtual ~OrvTrackInfoVersionDelegate();
  virtual bool versionIsSupported(std::uint32_t version) = 0;
};

/// What a scan found of an application chunk: its first bytes as they lie in the file.
struct OrvApplicationChunk {
  char chunkHeader[4];       ///< "APPL"
  std::uint32_t chunkSize;   ///< the file's big-endian bytes, not converted
  char appName[4];           ///< the signature
  std::uint32_t version;     ///< not converted; written so
  std::uint32_t dataSize;    ///< of the archive, converted
  std::uint32_t fileOffset;  ///< of the chunk's first byte
  bool isCompatible;         ///< a version that can be read
  bool seemsValid;           ///< sizes that can be
};

/// Stores tracks and processing records with a recording: inside, as an application chunk of the AIFF file under the
/// host's signature, or beside it, in a file with the extension "tracks". docs/formats.md has the bytes.
///
///   host ──► OrvTrackAndProcessingInfo ──archive──► APPL chunk or side file
///
/// A chunk is of variable or of fixed size. One of variable size is found again in every file: choose that. A scan
/// reads chunk sizes unconverted, and so takes one of fixed size for valid only in a file longer than its byte-swapped
/// size: a block of 32,768 bytes in one of more than 8 MiB. In a shorter file what is written can't be read back.
///
/// No write touches the audio or another program's chunk. A chunk is overwritten in place; where it has become too long
/// for its place and other chunks follow, the new one goes to the end of the file and the old one becomes a filler, as
/// do leftovers of the same signature. A write that fails is undone.
///
/// An audio file that is handed over must not be open for writing while tracks are written. One thread at a time.
class ORV_API OrvAudioFileTrackInfoReaderWriter : public OrvObject {
 public:
  using TrackList = OrvTrackAndProcessingInfo::TrackList;
  using ProcessingList = OrvTrackAndProcessingInfo::ProcessingList;
  using ReaderWriter = std::shared_ptr<OrvAudioFileTrackInfoReaderWriter>;

  static constexpr std::uint32_t kDefaultBlockSize = 32768;

  /// @name In the file. The signature's four bytes are written as they lie in memory. Null without a file or path
  static ReaderWriter initWithAudioFile_applSignature(std::shared_ptr<OrvAudioFile> file, std::uint32_t signature);
  static ReaderWriter initWithAudioFile_applSignature_useFixedSizeBlock(std::shared_ptr<OrvAudioFile> file,
                                                                        std::uint32_t signature,
                                                                        bool useFixedSizeBlock);
  static ReaderWriter initWithAudioFile_applSignature_blockSize(std::shared_ptr<OrvAudioFile> file,
                                                                std::uint32_t signature, std::uint32_t blockSize);

  /// @name In the file at a path. The signature's four bytes are written in reverse: 'Vorn' as "Vorn" on common
  /// machines
  static ReaderWriter initWithAudioFilePath_applSignature(std::optional<std::string> path, std::uint32_t signature);
  static ReaderWriter initWithAudioFilePath_applSignature_useFixedSizeBlock(std::optional<std::string> path,
                                                                            std::uint32_t signature,
                                                                            bool useFixedSizeBlock);
  static ReaderWriter initWithAudioFilePath_applSignature_blockSize(std::optional<std::string> path,
                                                                    std::uint32_t signature, std::uint32_t blockSize);
  static ReaderWriter trackInfoReaderWriterWithAudioFilePath_applSignature(std::optional<std::string> path,
                                                                           std::uint32_t signature);
  /// Null, with a line in the log: this operation has never made an object. Use `initWithAudioFile_applSignature`.
  static ReaderWriter trackInfoReaderWriterWithAudioFile_applSignature(const std::shared_ptr<OrvAudioFile>& file,
                                                                       std::uint32_t signature);

  /// @name Beside the file
  static ReaderWriter initWithAudioFilePathExternalStorage(std::optional<std::string> path);
  static ReaderWriter trackInfoReaderWriterWithAudioFilePathExternalStorage(std::optional<std::string> path);
  /// The audio file's path with the extension "tracks" in the place of its own, whatever the mode.
  std::string tracksInfoFilePath() const { return _audioTracksFilePath; }

  /// @name What is stored; see `OrvTrackAndProcessingInfo`. Nothing is in a file before it is written
  void addTrackInfo(const std::shared_ptr<OrvAudioTrackInfo>& track);
  void addTrackInfoForAllTracks(const TrackList& tracks);
  void clearTrackInfos();
  std::shared_ptr<TrackList> trackInfos() const;
  void setFileHasBeenProcessed(bool processed);
  bool fileHasBeenProcessed() const;
  void addAudioProcessingInfo(const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing);
  void addAudioProcessingForAllTracks(const ProcessingList& processings);
  void clearProcessingInfos();
  std::shared_ptr<ProcessingList> processingInfos() const;

  /// @name Storing. False: `lastProblem` says why in one line
  /// Changes no file but AIFF and AIFC, and refuses a block of fixed size that would not be found again.
  bool storeTracks();
  /// True when tracks were read by this very call; what was there before is then replaced, otherwise kept.
  bool loadTracks();
  /// As `storeTracks`, but any file that does not begin with FORM is written to: a chunk is appended, and bytes 4 to 7
  /// become its length − 8. That damages other kinds of file.
  bool writeTrackInfosToFile();
  /// As `loadTracks`, but in the file also true when nothing could be read and something was there before.
  bool readTrackInfosFromFile();
  /// Of the last operation of these four; empty when it did its work.
  std::string lastProblem() const { return _lastProblem; }
  /// Whether the last of them that read failed because nothing is stored at all: neither damaged tracks, nor those of a
  /// later version, nor a file that can't be read.
  bool isNothingStored() const { return _isNothingStored; }

  /// Not retained. Asked when it is an `OrvTrackInfoVersionDelegate`.
  void setDelegate(const std::shared_ptr<OrvObject>& delegate) { _delegate = delegate; }
  std::shared_ptr<OrvObject> delegate() const { return _delegate.lock(); }
  /// What the delegate says, and without one whether the version is below 3. Scans don't ask.
  bool versionIsSupported(std::uint32_t version) const;

  /// Same side file. An object of another class counts as equal.
  bool isEqual(const std::shared_ptr<const OrvObject>& other) const override;

  /// @name Single steps, on a file that is open
  /// False when the file's FORM size is wrong; true also when it has none.
  bool verifyBasicFileFormat(orv::FileHandle& file);
  /// Fills the table with the application chunks of the signature, ten at most.
  void loadAllApplicationChunks(orv::FileHandle& file);
  /// Bytes of the chunk, 0 when not all of it could be written, or it doesn't fit into a block of fixed size.
  std::uint32_t writeApplicationChunkToFile_applicationData_atOffset(orv::FileHandle& file,
                                                                     const orv::ArchiveBytes& data,
                                                                     std::uint32_t offset);
  bool writeDataToFile_fileHandle(const orv::ArchiveBytes& data, orv::FileHandle& file);
  /// The archive in the first chunk that can be read.
  std::optional<orv::ArchiveBytes> readDataFromFile(orv::FileHandle& file);
  /// Sets the FORM size to the file's length − 8, whatever `bytesAdded`.
  bool updateFormChunkSizeInFile_bytesAdded(orv::FileHandle& file, std::uint32_t bytesAdded);
  /// Does nothing. True.
  bool repairFile_atOffset(orv::FileHandle& file, std::uint32_t offset);
  /// Judges a record by its sizes and version.
  static void validateVornApplicationChunk_fileLength(OrvApplicationChunk& chunk, std::uint64_t fileLength);

 protected:
  OrvAudioFileTrackInfoReaderWriter() = default;

 private:
  static constexpr std::size_t kMostChunks = 10;

  static ReaderWriter make(std::optional<std::string> path, std::shared_ptr<OrvAudioFile> file, std::uint32_t signature,
                           std::optional<std::uint32_t> blockSize);
  OrvTrackAndProcessingInfo& info();
  bool isExternal() const { return _audioFile == nullptr && !_storeInternally; }
  bool writeExternally();
  bool writeInternally(bool onlyAIFF);
  bool readExternally();
  bool readInternally();
  bool adopt(const orv::ArchiveValue& object);
  bool canBeFoundAgain(orv::FileHandle& file);
  bool writePlannedChunk(const ChunkPlan& plan, const ChunkChain& chain, orv::FileHandle& file);
  std::string problemOfScan();
  bool refuse(std::string problem);

  std::shared_ptr<OrvAudioFile> _audioFile;
  std::string _audioFilePath;
  std::string _audioTracksFilePath;
  bool _storeInternally = true;
  bool _useFixedSizeBlock = false;
  std::uint32_t _blockSize = 0;
  std::uint32_t _applSignature = 0;  // as its bytes lie in the file
  std::array<OrvApplicationChunk, kMostChunks> m_applicationChunks{};
  std::uint32_t m_numApplicationChunksFound = 0;  // by all scans together
  std::shared_ptr<OrvTrackAndProcessingInfo> infoData;
  std::weak_ptr<OrvObject> _delegate;
  std::string _lastProblem;
  bool _isNothingStored = false;
};
