#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvProgress.h"

/// Converts a whole audio file into a new file of another stream format, synchronously on the caller's thread. Logs a
/// line at every step.
///
///   source file ─► this object (the converter's delegate) ─► OrvAudioConverter ─► destination file
///
/// One conversion at a time; one thread at a time.
class ORV_API OrvAudioFileConverter : public OrvObject, public OrvAudioConverterDelegate {
 public:
  /// A subscriber that is an `OrvProgressDelegate` is kept and told, after each pass, how much of the source had been
  /// converted before it: 0.0 first, always below 1.0. Any other is let go at once; null is welcome.
  static std::shared_ptr<OrvAudioFileConverter> initWithProgressSubscriber(
      const std::shared_ptr<OrvObject>& subscriber);

  /// Into 16-bit big-endian integers, at the rate and with the channels of the source.
  bool convertFile_toPath(const std::optional<std::string>& sourcePath,
                          const std::optional<std::string>& destinationPath);
  /// Into a file of `format`, 'AIFC' for floats, else 'AIFF'. The new file holds every frame, those that come out of
  /// the resampler at the end included. An existing destination is emptied.
  ///
  /// False without a path, when the source can't be read to its end, when a frame can't be converted or written, and
  /// for a file that would be converted onto itself; what was written stays. Whether the files could be opened is not
  /// looked at: a source that is missing counts as an empty one, and an empty one is success.
  bool convertFile_toPath_toFormat(const std::optional<std::string>& sourcePath,
                                   const std::optional<std::string>& destinationPath,
                                   const std::shared_ptr<OrvAudioStreamBasicDescription>& format);

  /// Supplies the source's packets while a conversion runs, as many as 512 KiB hold; 0 packets and `kEndOfFileStatus`
  /// when there are none, or none are asked for.
  OSStatus audioConverterCallback_data_packetDescription(std::uint32_t* numPackets, AudioBufferList* data,
                                                         AudioStreamPacketDescription** packetDescriptions) override;

 protected:
  explicit OrvAudioFileConverter(const std::shared_ptr<OrvObject>& subscriber);

 private:
  using Format = OrvAudioStreamBasicDescription;

  /// One turn of the loop: what was made of a piece of the source.
  struct Pass {
    std::vector<char> output;
    std::uint32_t frames = 0;  ///< in `output`
    OSStatus status = noErr;   ///< `kEndOfFileStatus` when the source has ended and all of it came out
  };

  bool convertFiles(const std::string& sourcePath, const std::string& destinationPath,
                    const std::shared_ptr<Format>& format);
  void openFiles(const std::string& sourcePath, const std::string& destinationPath,
                 const std::shared_ptr<Format>& format);
  std::shared_ptr<OrvAudioConverter> makeConverter(const std::shared_ptr<Format>& format);
  bool runLoop(OrvAudioConverter* converter, const std::shared_ptr<Format>& format);
  bool writeTail(OrvAudioConverter& converter, const Format& format, Pass* pass);
  void fill(OrvAudioConverter& converter, const Format& format, std::uint32_t frames, Pass* pass);
  bool write(const Pass& pass, const Format& format);
  void report(std::uint64_t bytesLeft, std::uint64_t total);

  const std::shared_ptr<OrvObject> m_progressSubscriber;  ///< null, or an OrvProgressDelegate
  std::shared_ptr<OrvAudioFile> m_sourceFile;             ///< null but during a conversion
  std::shared_ptr<OrvAudioFile> m_destinationFile;        ///< likewise
  std::vector<char> m_rawByteBuffer;
  const std::uint32_t m_rawByteBufferSize;
  std::uint64_t unreadBytes_ = 0;  ///< of the source, in whole packets
};
