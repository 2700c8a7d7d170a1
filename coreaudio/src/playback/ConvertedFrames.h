#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvPlatform/ConditionLock.h"
#include "playback/CycleGate.h"
#include "playback/PlayerSource.h"

/// A file's frames in the format of a device, converted ahead: of two buffers the device's cycles empty one while a
/// worker thread fills the other.
///
///   file ─► PlayerSource ─► OrvAudioConverter ─► buffer 0 │ buffer 1 ─► `read`, in a cycle
///                              filler thread ───────┘
///
/// The condition of a buffer's lock is 1 while it is full and 0 while it is to be filled; that of the filler's lock is
/// 0 while there is work for it. A cycle only ever tries a lock. A move to another place fills a buffer on the thread
/// that asks, while cycles go on with the other one, and then switches between two cycles.
///
/// `read` is for cycles that have passed the gate, the rest for one control thread at a time.
class ConvertedFrames {
 public:
  struct Setup {
    std::shared_ptr<OrvAudioFile> file;  ///< may be null
    std::shared_ptr<OrvAudioStreamBasicDescription> fileFormat;
    std::shared_ptr<OrvAudioStreamBasicDescription> deviceFormat;
    std::uint32_t fileLengthInFrames = 0;
    std::uint32_t logicalLengthInFrames = 0;  ///< the same at the device's rate
    std::uint32_t deviceBytesPerFrame = 0;
    std::uint32_t deviceChannelsPerFrame = 0;
    std::uint32_t convertedBufferSizeInFrames = 0;
    std::uint32_t convertedBufferSizeInBytes = 0;
    std::uint32_t cycleFrames = 0;  ///< frames that the device asks for at a time
  };

  /// How a read that runs past one buffer goes on in the destination with what the other one holds.
  enum class Join {
    bySamples,  ///< behind the samples that are there; what comes before the end of the audio is delivered
    byBytes,    ///< as many floats further as the samples have bytes; all the frames, or none
  };

  struct Read {
    std::uint32_t frames = 0;
    bool isLate = false;  ///< the filler has not come yet; otherwise fewer frames than wanted mean the end of the audio
  };

  explicit ConvertedFrames(CycleGate& gate);
  ConvertedFrames(const ConvertedFrames&) = delete;
  ConvertedFrames& operator=(const ConvertedFrames&) = delete;
  ~ConvertedFrames();

  /// Makes buffers and a converter, and forgets what was converted.
  void use(const Setup& setup);
  /// Whether the pair of formats can be converted.
  bool canConvert();

  /// Lets the next read begin at `logicalFrame`, which is `fileFrame` of the file. `atSwitch` is called while no cycle
  /// is inside: with true where the place changes, with false where reading goes on as it is.
  void moveTo(std::uint32_t logicalFrame, std::uint32_t fileFrame, const std::function<void(bool)>& atSwitch);

  /// Whether the audio has ended and all of it was read, and nobody has asked to forget that.
  bool isDrained();
  /// The flag that the end was met: stays set, whatever is converted afterwards, until it is cleared. Thread-safe.
  void clearEndOfFile() { eofFlag = false; }

  /// Whether both buffers are full, or nothing is left to fill them with. Thread-safe; real-time safe.
  bool isAhead() const noexcept;

  /// Runs `body`, which may use the file, while the filler does not.
  template <typename Body>
  auto whileIdle(Body&& body) {
    const std::lock_guard filling(fillLock_);
    return std::forward<Body>(body)();
  }

  /// Copies up to `frames` frames to `out`, which has room for so many floats: beyond them nothing is written.
  /// Real-time safe.
  Read read(float* out, std::size_t room, std::uint32_t frames, Join join) noexcept;

 private:
  struct Buffer {
    orv::ConditionLock lock{1};
    std::vector<std::byte> bytes;  // guarded by lock, as the rest
    std::uint32_t frames = 0;      // still unread
    std::uint32_t begin = 0;       // of these
  };

  /// What filling a buffer came to.
  enum class Outcome { full, lastFrames, failed };

  void convertBufferRunLoop();
  void convertBuffers();
  void convertBuffer(Buffer& buffer);
  Outcome fill(Buffer& buffer);
  void deliver(Buffer& buffer, Outcome outcome);
  void renewConverter();
  std::uint32_t wholeCycles(std::uint32_t frames) const;
  void wakeFiller() noexcept { fillerThreadLock.unlockWithCondition(0); }
  void copy(const Buffer& from, std::uint32_t frames, float* out, std::size_t room) const noexcept;
  void take(Buffer& buffer, std::uint32_t frames) noexcept;

  CycleGate& gate_;
  std::mutex fillLock_;  // who has it runs the converter and uses the file

  // Changed with the fill lock and the gate held.
  Setup setup_;
  const std::shared_ptr<PlayerSource> source_ = std::make_shared<PlayerSource>();

  std::shared_ptr<OrvAudioConverter> _audioConverter;  // guarded by fillLock_
  bool converterIsFresh_ = false;                      // guarded by fillLock_
  bool isFilled_ = false;                              // guarded by fillLock_: there is something to go on with

  // Cycles, or control with the gate held.
  std::atomic<std::uint32_t> currentBuffer{1};  // read by the filler
  std::int64_t position_ = 0;                   // logical frame that is read next

  Buffer convertedBuffers_[2];
  std::atomic<bool> reachedEnd_{false};  // since the last move; set when the buffer with the last frames is there
  std::atomic<bool> failed_{false};      // the converter, since the last move
  std::atomic<bool> eofFlag{false};

  orv::ConditionLock fillerThreadLock{1};
  std::atomic<bool> threadShouldExit{false};
  std::thread filler_;
};
