#pragma once

#include <memory>
#include <string>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"
#include "audiofile/SoundDataWriter.h"

namespace orv::audiofile {

/// Our own containers, on the file manager in force.
class BuiltInService final : public AudioFileService {
 public:
  /// `clock` decides when the header of a file that is written is brought up to date.
  explicit BuiltInService(Clock clock = std::chrono::steady_clock::now);

  OSStatus create(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                  std::unique_ptr<AudioFileSession>* session) override;
  OSStatus initialize(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                      std::unique_ptr<AudioFileSession>* session) override;
  OSStatus open(const std::string& path, bool forUpdate, std::unique_ptr<AudioFileSession>* session) override;

 private:
  OSStatus make(const std::string& path, FileAccess access, const NewFile& content,
                std::unique_ptr<AudioFileSession>* session);

  const Clock clock_;
};

}  // namespace orv::audiofile
