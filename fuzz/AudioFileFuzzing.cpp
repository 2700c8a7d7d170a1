#include "AudioFileFuzzing.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "OrvPlatform/AudioFile.h"
#include "Require.h"
#include "audiofile/Container.h"

namespace orv::fuzz {
namespace {

using test::Bytes;
using Session = std::unique_ptr<AudioFileSession>;

Session open(const char* path, bool forUpdate) {
  Session session;
  const OSStatus status = audioFileService()->open(path, forUpdate, &session);
  require((status == noErr) == (session != nullptr), "a session comes with success only");
  require(status == noErr || !audioFileProblem().empty(), "a refusal has a problem line");
  return session;
}

Bytes audioOf(AudioFileSession& session) {
  Bytes audio(static_cast<std::size_t>(session.dataByteCount()));
  auto count = static_cast<std::uint32_t>(audio.size());
  require(session.readBytes(0, &count, audio.data()) == noErr && count == audio.size(), "all audio can be read");
  return audio;
}

void checkFormat(const AudioFileSession& session, std::size_t fileSize) {
  const AudioStreamBasicDescription& format = session.format();
  require(std::isfinite(format.mSampleRate) && format.mSampleRate > 0, "the rate is one");
  require(format.mChannelsPerFrame >= 1 && format.mChannelsPerFrame <= 1024, "the channels are bounded");
  require(format.mBytesPerFrame >= format.mChannelsPerFrame, "a frame has a byte a channel");
  require(format.mBytesPerPacket == format.mBytesPerFrame, "a packet is a frame");
  require(session.dataByteCount() >= 0 && session.dataByteCount() % format.mBytesPerFrame == 0, "whole frames");
  require(static_cast<std::size_t>(session.dataByteCount()) <= fileSize, "the audio is in the file");
}

bool beginsWith(const Bytes& whole, const Bytes& begin) {
  return whole.size() >= begin.size() && std::equal(begin.begin(), begin.end(), whole.begin());
}

/// The bytes behind the sound that must be kept.
Bytes tailOf(const char* path, const Bytes& file) {
  std::unique_ptr<FileHandle> handle;
  std::unique_ptr<audiofile::Container> container;
  require(fileManager()->open(path, FileAccess::read, &handle) == noErr, "the file is there");
  audiofile::HeaderReader reader(*handle);
  require(openContainer(reader, path, audiofile::Walk::wholeFile, &container) == noErr, "the container opens");
  const auto at = [&](std::int64_t offset) { return file.begin() + static_cast<std::ptrdiff_t>(offset); };
  return {at(container->layout().tailStart), at(container->layout().tailEnd)};
}

/// The same bytes but for a frame count (4 bytes) that lies among them.
bool isKept(const Bytes& before, const Bytes& after) {
  if (before.size() > after.size()) {
    return false;
  }
  const auto end = after.end() - static_cast<std::ptrdiff_t>(before.size());
  std::size_t different = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    different += before[i] != end[static_cast<std::ptrdiff_t>(i)] ? 1 : 0;
  }
  return different <= 4;
}

class Exercise {
 public:
  Exercise(const Bytes& file, std::uint8_t script) : file_(file), script_(script) { files_->put("f", file); }

  void run() {
    const Session session = open("f", false);
    if (!session) {
      const Session forUpdate = open("f", true);
      require(!forUpdate, "what can't be read can't be updated");
      return;
    }
    checkFormat(*session, file_.size());
    audio_ = audioOf(*session);
    committed_ = audio_;
    updateWithoutChange();
    grow();
    openWhatAKilledProcessLeft();
  }

 private:
  void updateWithoutChange() {
    const Session session = open("f", true);
    require(session != nullptr, "what can be read can be updated");
    require(audioOf(*session) == audio_, "reading and updating see the same audio");
    require(session->close() == noErr, "it closes");
    require(files_->file("f") == file_, "nothing changes without a write");
  }

  void grow() {
    const Bytes tail = tailOf("f", file_);
    killedAfter_ = script_ >> 3;
    files_->disk().changes = 0;
    files_->disk().onChange = [this](const Bytes& state) {
      if (killedAfter_-- == 0) {
        left_ = state;
        committedWhenKilled_ = committed_;
      }
    };
    const Session session = open("f", true);
    for (std::uint32_t piece = 1; piece <= 1U + script_ % 8U; ++piece) {
      append(*session, piece * piece * (script_ % 5U + 1));
      if (piece % 2 == 0) {
        require(session->updateSizes() == noErr, "the sizes can be updated");
        committed_ = wholeFrames(*session);
        const Session other = open("f", false);
        require(other && audioOf(*other) == committed_, "others see what was committed");
      }
    }
    const Bytes expected = wholeFrames(*session);
    require(session->close() == noErr, "it closes");
    files_->disk().onChange = nullptr;
    const Session again = open("f", true);
    require(again != nullptr, "it opens again");
    require(audioOf(*again) == expected, "all audio is there, old and new");
    require(isKept(tail, files_->file("f")) || expected == committed_, "what was behind the sound is kept");
  }

  void append(AudioFileSession& session, std::uint32_t count) {
    Bytes more(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      more[i] = static_cast<std::uint8_t>(0x80 + i * 7 + count);
    }
    const std::uint32_t asked = count;
    require(session.writeBytes(session.dataByteCount(), &count, more.data()) == noErr && count == asked,
            "appending takes all");
    audio_.insert(audio_.end(), more.begin(), more.end());
    require(audioOf(session) == audio_, "what was written can be read back");
  }

  Bytes wholeFrames(const AudioFileSession& session) const {
    return {audio_.begin(),
            audio_.end() - static_cast<std::ptrdiff_t>(audio_.size() % session.format().mBytesPerFrame)};
  }

  void openWhatAKilledProcessLeft() {
    if (!left_) {
      return;
    }
    files_->put("left", *left_);
    const Session session = open("left", false);
    require(session != nullptr, "what a killed process left opens");
    require(beginsWith(audioOf(*session), committedWhenKilled_), "what was committed outlives the process");
    const Session forUpdate = open("left", true);
    require(forUpdate != nullptr && forUpdate->close() == noErr, "and it can be updated");
  }

  test::InstalledMemoryFiles files_;
  const Bytes& file_;
  const std::uint8_t script_;
  Bytes audio_;
  Bytes committed_;
  int killedAfter_ = 0;
  std::optional<Bytes> left_;
  Bytes committedWhenKilled_;
};

}  // namespace

void exerciseAudioFile(const Bytes& file, std::uint8_t script) {
  Exercise(file, script).run();
}

}  // namespace orv::fuzz
