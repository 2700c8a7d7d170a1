#include "CompanionFuzzing.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/AudioFileMoves.h"
#include "Require.h"

namespace orv::fuzz {
namespace {

using test::Bytes;
using Session = std::unique_ptr<AudioFileSession>;

constexpr const char* kFile = "f.sd2";
constexpr const char* kCompanion = "._f.sd2";

Bytes soundOf(std::size_t count, unsigned seed) {
  Bytes sound(count);
  for (std::size_t i = 0; i < count; ++i) {
    sound[i] = static_cast<std::uint8_t>(0x80 + i * 7 + seed);
  }
  return sound;
}

class Exercise {
 public:
  Exercise(const Bytes& companion, std::uint8_t script)
      : companion_(companion), script_(script), sound_(soundOf(std::size_t{script} * 5U, 0)) {
    files_->put(kFile, sound_);
    files_->put(kCompanion, companion);
  }

  void run() {
    if (const Session session = open(kFile, false)) {
      checkFormat(*session);
      expectAudio(*session);
      grow();
      moveAround();
    } else {
      require(!open(kFile, true), "what can't be read can't be updated");
      require(files_->file(kFile) == sound_, "a refusal touches nothing");
    }
    require(files_->file(kCompanion) == companion_, "the companion stays as it is");
    replace();
  }

 private:
  static Session open(const char* path, bool forUpdate) {
    Session session;
    const OSStatus status = audioFileService()->open(path, forUpdate, &session);
    require((status == noErr) == (session != nullptr), "a session comes with success only");
    require(status == noErr || !audioFileProblem().empty(), "a refusal has a problem line");
    return session;
  }

  static void checkFormat(const AudioFileSession& session) {
    const AudioStreamBasicDescription& format = session.format();
    require(session.fileType() == kAudioFileSoundDesigner2Type, "the companion tells the type");
    require(std::isfinite(format.mSampleRate) && format.mSampleRate > 0, "the rate is one");
    require(format.mChannelsPerFrame >= 1 && format.mChannelsPerFrame <= 1024, "the channels are bounded");
    require(format.mBitsPerChannel >= 8 && format.mBitsPerChannel <= 32 && format.mBitsPerChannel % 8 == 0,
            "samples are of whole bytes");
    require(format.mBytesPerFrame == format.mChannelsPerFrame * format.mBitsPerChannel / 8, "the frame fits");
  }

  void expectAudio(AudioFileSession& session) {
    const std::size_t frame = session.format().mBytesPerFrame;
    Bytes audio(sound_.size() - sound_.size() % frame);
    require(session.dataByteCount() == static_cast<std::int64_t>(audio.size()), "all whole frames are audio");
    auto count = static_cast<std::uint32_t>(audio.size());
    require(session.readBytes(0, &count, audio.data()) == noErr && count == audio.size(), "all audio can be read");
    require(std::equal(audio.begin(), audio.end(), sound_.begin()), "the file is nothing but audio");
  }

  void grow() {
    const Session session = open(kFile, true);
    require(session != nullptr, "what can be read can be updated");
    const std::size_t frame = session->format().mBytesPerFrame;
    sound_.resize(sound_.size() - sound_.size() % frame);
    const Bytes more = soundOf(frame * (1U + script_ % 5U), 3);
    sound_.insert(sound_.end(), more.begin(), more.end());
    auto count = static_cast<std::uint32_t>(more.size());
    require(session->writeBytes(session->dataByteCount(), &count, more.data()) == noErr && count == more.size(),
            "appending takes all");
    require(session->close() == noErr, "it closes");
    require(files_->file(kFile) == sound_, "the audio is in the file, and nothing else");
  }

  void moveAround() {
    require(moveAudioFile(kFile, "g") == noErr && copyAudioFile("g", kFile) == noErr, "it moves");
    require(open("g", false) != nullptr && open(kFile, false) != nullptr, "the companion came along");
    require(removeAudioFile("g") == noErr && files_->disk().files.size() == 2, "it goes away whole");
  }

  void replace() {
    const AudioStreamBasicDescription format{44100, kAudioFormatLinearPCM, 14, 4, 1, 4, 2, 16, 0};
    Session session;
    require(audioFileService()->initialize(kFile, kAudioFileSoundDesigner2Type, format, &session) == noErr,
            "whatever the companion was, the file can be made new");
    require(session->close() == noErr && files_->file(kCompanion).size() == 474, "the companion is ours now");
  }

  test::InstalledMemoryFiles files_;
  const Bytes companion_;
  const std::uint8_t script_;
  Bytes sound_;
};

}  // namespace

void exerciseCompanion(const Bytes& companion, std::uint8_t script) {
  Exercise(companion, script).run();
}

}  // namespace orv::fuzz
