#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "OrvPlatform/AudioFile.h"

namespace orv::test {

/// An audio file in memory that counts the calls made on it and can be told to be slow or to fail. Thread-safe.
struct FakeFile {
  AudioStreamBasicDescription format{44100, orv::fourCC("lpcm"), 14, 4, 1, 4, 2, 16, 0};
  AudioFileTypeID type = kAudioFileAIFFType;

  std::mutex mutex;
  std::condition_variable changed;
  std::string data;  // guarded by mutex, like all that follows
  std::vector<std::int64_t> readOffsets;
  std::vector<std::uint32_t> writeSizes;
  int updates = 0;
  int closes = 0;
  bool writesWait = false;  // until it is cleared
  bool readsWait = false;
  OSStatus writeStatus = noErr;  // what writes answer, doing nothing, unless 0
  OSStatus readStatus = noErr;
  OSStatus closeStatus = noErr;
  OSStatus openStatus = noErr;
  OSStatus createStatus = noErr;
  int creations = 0;
  int initializations = 0;
  int openings = 0;
  bool openedForUpdate = false;

  void set(bool FakeFile::*flag, bool value) {
    const std::lock_guard guard(mutex);
    this->*flag = value;
    changed.notify_all();
  }
};

class FakeSession final : public AudioFileSession {
 public:
  explicit FakeSession(std::shared_ptr<FakeFile> file) : file_(std::move(file)) {}

  AudioFileTypeID fileType() const override { return file_->type; }
  const AudioStreamBasicDescription& format() const override { return file_->format; }
  bool isOptimized() const override { return true; }

  std::int64_t dataByteCount() const override {
    const std::lock_guard guard(file_->mutex);
    return static_cast<std::int64_t>(file_->data.size());
  }

  OSStatus readBytes(std::int64_t start, std::uint32_t* count, void* buffer) override {
    std::unique_lock lock(file_->mutex);
    file_->changed.wait(lock, [&] { return !file_->readsWait; });
    file_->readOffsets.push_back(start);
    if (file_->readStatus != noErr) {
      *count = 0;
      return file_->readStatus;
    }
    const auto size = static_cast<std::int64_t>(file_->data.size());
    const std::int64_t there = std::max<std::int64_t>(size - start, 0);
    *count = static_cast<std::uint32_t>(std::min<std::int64_t>(*count, there));
    std::memcpy(buffer, file_->data.data() + (there > 0 ? start : 0), *count);
    return there > 0 ? noErr : kEndOfFileStatus;
  }

  OSStatus writeBytes(std::int64_t start, std::uint32_t* count, const void* buffer) override {
    std::unique_lock lock(file_->mutex);
    file_->changed.wait(lock, [&] { return !file_->writesWait; });
    if (file_->writeStatus != noErr) {
      *count = 0;
      return file_->writeStatus;
    }
    const auto end = static_cast<std::size_t>(start) + *count;
    if (file_->data.size() < end) {
      file_->data.resize(end);
    }
    std::memcpy(file_->data.data() + start, buffer, *count);
    file_->writeSizes.push_back(*count);
    file_->changed.notify_all();
    return noErr;
  }

  OSStatus updateSizes() override {
    const std::lock_guard guard(file_->mutex);
    ++file_->updates;
    return noErr;
  }

  OSStatus close() override {
    const std::lock_guard guard(file_->mutex);
    ++file_->closes;
    return file_->closeStatus;
  }

 private:
  const std::shared_ptr<FakeFile> file_;
};

/// Answers every path with one and the same file.
class FakeAudioFileService final : public AudioFileService {
 public:
  explicit FakeAudioFileService(std::shared_ptr<FakeFile> file) : file_(std::move(file)) {}

  OSStatus create(const std::string&, AudioFileTypeID type, const AudioStreamBasicDescription&,
                  std::unique_ptr<AudioFileSession>* session) override {
    ++file_->creations;
    return make(type, file_->createStatus, session);
  }
  OSStatus initialize(const std::string&, AudioFileTypeID type, const AudioStreamBasicDescription&,
                      std::unique_ptr<AudioFileSession>* session) override {
    ++file_->initializations;
    return make(type, file_->createStatus, session);
  }
  OSStatus open(const std::string&, bool forUpdate, std::unique_ptr<AudioFileSession>* session) override {
    ++file_->openings;
    file_->openedForUpdate = forUpdate;
    return make(file_->type, file_->openStatus, session);
  }

 private:
  OSStatus make(AudioFileTypeID type, OSStatus status, std::unique_ptr<AudioFileSession>* session) {
    if (status == noErr) {
      file_->type = type;
      *session = std::make_unique<FakeSession>(file_);
    }
    return status;
  }

  const std::shared_ptr<FakeFile> file_;
};

/// Installs a fake service for as long as it lives.
class InstalledFake {
 public:
  InstalledFake() { installAudioFileService(std::make_shared<FakeAudioFileService>(file)); }
  InstalledFake(const InstalledFake&) = delete;
  InstalledFake& operator=(const InstalledFake&) = delete;
  ~InstalledFake() { installAudioFileService(nullptr); }

  FakeFile* operator->() const { return file.get(); }

  const std::shared_ptr<FakeFile> file = std::make_shared<FakeFile>();
};

}  // namespace orv::test
