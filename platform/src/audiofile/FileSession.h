#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/FileManager.h"
#include "audiofile/Container.h"
#include "audiofile/SoundDataWriter.h"

namespace orv::audiofile {

/// What an open file may be used for.
enum class Purpose { reading, updating };

/// An open file of any of our containers.
class FileSession final : public AudioFileSession {
 public:
  /// Reads the header of `file`, which lies at `path`. A refusal sets the problem line.
  static OSStatus open(std::unique_ptr<FileHandle> file, const std::string& path, Purpose purpose, Clock clock,
                       std::unique_ptr<AudioFileSession>* session);

  AudioFileTypeID fileType() const override { return container_->type(); }
  const AudioStreamBasicDescription& format() const override { return container_->format(); }
  std::int64_t dataByteCount() const override;
  bool isOptimized() const override;
  OSStatus readBytes(std::int64_t start, std::uint32_t* count, void* buffer) override;
  OSStatus writeBytes(std::int64_t start, std::uint32_t* count, const void* buffer) override;
  OSStatus updateSizes() override;
  OSStatus close() override;

 private:
  FileSession(std::unique_ptr<FileHandle> file, std::unique_ptr<Container> container)
      : file_(std::move(file)), container_(std::move(container)) {}

  OSStatus read(std::int64_t start, std::uint32_t* count, void* buffer);

  std::unique_ptr<FileHandle> file_;  // null once closed
  const std::unique_ptr<Container> container_;
  std::optional<SoundDataWriter> writer_;  // only of a file that is open for updating
};

}  // namespace orv::audiofile
