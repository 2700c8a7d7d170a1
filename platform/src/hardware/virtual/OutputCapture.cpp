#include "hardware/virtual/OutputCapture.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>

#include "OrvPlatform/Log.h"
#include "OrvPlatform/Thread.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {
namespace {

constexpr double kSecondsHeld = 2.0;
constexpr std::size_t kMostBytesHeld = std::size_t{64} << 20;
constexpr std::size_t kFramesAtOnce = 4096;

std::optional<AudioFileTypeID> typeByName(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == ".wav" || extension == ".wave") {
    return kAudioFileWAVEType;
  }
  if (extension == ".aifc" || extension == ".aiff" || extension == ".aif") {
    return kAudioFileAIFCType;
  }
  return std::nullopt;
}

std::size_t framesHeld(double rate, std::uint32_t channels, std::uint32_t largestCycle) {
  const std::size_t most = kMostBytesHeld / (sizeof(float) * channels);
  return std::max(std::min(static_cast<std::size_t>(rate * kSecondsHeld), most), std::size_t{largestCycle} * 2);
}

std::mutex claimsMutex;
std::set<std::string> claimedFiles;  // guarded by claimsMutex

}  // namespace

std::string FileClaim::fileOf(const std::string& path) {
  std::error_code error;
  const auto file = std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
  return error || file.empty() ? path : file.string();
}

std::optional<FileClaim> FileClaim::of(const std::string& path) {
  std::string file = fileOf(path);
  const std::lock_guard guard(claimsMutex);
  return claimedFiles.insert(file).second ? std::optional(FileClaim(std::move(file))) : std::nullopt;
}

FileClaim::~FileClaim() {
  if (path_.empty()) {
    return;
  }
  const std::lock_guard guard(claimsMutex);
  claimedFiles.erase(path_);
}

CaptureTap::CaptureTap(double rate, std::uint32_t channels, std::size_t capacity, std::shared_ptr<Waker> writer)
    : rate_(rate), ring_(channels, capacity), writer_(std::move(writer)) {}

void CaptureTap::put(const float* frames, std::size_t count) noexcept {
  if (owed_ > 0) {
    owed_ -= ring_.write(nullptr, owed_);
  }
  const std::size_t done = owed_ == 0 ? ring_.write(frames, count) : 0;
  if (done < count) {
    owed_ += count - done;
    lost_.fetch_add(count - done, std::memory_order_relaxed);
  }
  ring_.commit();
  writer_->wake();
}

std::shared_ptr<OutputCapture> OutputCapture::open(const std::string& path, double rate, std::uint32_t channels,
                                                   std::uint32_t largestCycle, std::shared_ptr<Waker> ioWaker,
                                                   std::string* problem) {
  const auto type = typeByName(path);
  if (!type) {
    *problem = path + ": output is captured to files named .wav, .aifc, .aiff or .aif";
    return nullptr;
  }
  auto claim = FileClaim::of(path);
  if (!claim) {
    *problem = path + ": output is captured there already";
    return nullptr;
  }
  AudioStreamBasicDescription format = hardwaremodel::packedFormat(channels, 32, true, *type == kAudioFileAIFCType);
  format.mSampleRate = rate;
  std::unique_ptr<AudioFileSession> session;
  const auto service = audioFileService();
  OSStatus status = service->create(path, *type, format, &session);
  if (status == kFileExistsStatus) {
    status = service->initialize(path, *type, format, &session);
  }
  if (status != noErr || session == nullptr) {
    const std::string why = audioFileProblem();
    *problem = path + ": " + (why.empty() ? describeStatus(status) : why);
    return nullptr;
  }
  return std::make_shared<OutputCapture>(std::move(session), std::move(*claim), path, channels, largestCycle,
                                         std::move(ioWaker));
}

bool OutputCapture::isOf(const std::string& path) const {
  return claim_.file() == FileClaim::fileOf(path);
}

OutputCapture::OutputCapture(std::unique_ptr<AudioFileSession> session, FileClaim claim, std::string path,
                             std::uint32_t channels, std::uint32_t largestCycle, std::shared_ptr<Waker> ioWaker)
    : claim_(std::move(claim)),
      session_(std::move(session)),
      path_(std::move(path)),
      channels_(channels),
      largestCycle_(largestCycle),
      ioWaker_(std::move(ioWaker)) {
  frames_.resize(kFramesAtOnce * channels_);
  thread_ = startThread("virtual-output", [this] { run(); });
}

OutputCapture::~OutputCapture() {
  {
    const std::lock_guard guard(mutex_);
    quits_ = true;
  }
  writerWaker_->wake();
  if (thread_.joinable()) {
    thread_.join();
  }
  drainConverter();
  const OSStatus status = session_->close();
  if (status != noErr) {
    fail(status);
  }
}

std::shared_ptr<CaptureTap> OutputCapture::tapAtRate(double rate) {
  const std::lock_guard guard(mutex_);
  if (taps_.empty() || taps_.back()->rate() != rate) {
    taps_.push_back(
        std::make_shared<CaptureTap>(rate, channels_, framesHeld(rate, channels_, largestCycle_), writerWaker_));
  }
  return taps_.back();
}

void OutputCapture::flush() {
  std::unique_lock lock(mutex_);
  const std::uint64_t wanted = ++flushesWanted_;
  writerWaker_->wake();
  flushed_.wait(lock, [&] { return flushesDone_ >= wanted || !thread_.joinable(); });
}

/// Writer thread from here on.
void OutputCapture::run() {
  for (;;) {
    const std::uint32_t ticket = writerWaker_->ticket();
    bool quits = false;
    std::uint64_t wanted = 0;
    {
      const std::lock_guard guard(mutex_);
      quits = quits_;
      wanted = flushesWanted_;
    }
    writeAll();
    {
      const std::lock_guard guard(mutex_);
      if (wanted > flushesDone_ && !hasFailed_) {
        session_->updateSizes();
      }
      flushesDone_ = std::max(flushesDone_, wanted);
    }
    flushed_.notify_all();
    if (quits) {
      return;
    }
    writerWaker_->sleep(ticket);
  }
}

void OutputCapture::writeAll() {
  while (writeSome()) {
    ioWaker_->wake();
  }
}

/// False when there is nothing to write just now.
bool OutputCapture::writeSome() {
  std::shared_ptr<CaptureTap> tap;
  bool isSucceeded = false;  // by one that the I/O thread uses already: then nothing more comes here
  {
    const std::lock_guard guard(mutex_);
    if (taps_.empty()) {
      return false;
    }
    tap = taps_.front();
    isSucceeded = std::any_of(std::next(taps_.begin()), taps_.end(), [](const auto& next) { return next->hasBegun(); });
  }
  const std::size_t frames = tap->take(frames_.data(), kFramesAtOnce);
  if (frames > 0) {
    write(*tap, frames);
    return true;
  }
  if (isSucceeded) {
    const std::lock_guard guard(mutex_);
    taps_.pop_front();
  }
  return isSucceeded;
}

void OutputCapture::write(CaptureTap& tap, std::size_t frames) {
  if (const std::uint64_t lost = tap.takeLost(); lost > 0) {
    logf("virtual hardware: %s: the disk was too slow, %llu frames are silent", path_.c_str(),
         static_cast<unsigned long long>(lost));
  }
  if (hasFailed_ || !makeConverter(tap.rate())) {
    return;
  }
  const auto size = static_cast<std::uint32_t>(frames * channels_ * sizeof(float));
  std::uint32_t converted = size;
  std::uint32_t valueSize = sizeof converted;
  OSStatus status = converter_->property(kAudioConverterPropertyCalculateOutputBufferSize, &valueSize, &converted);
  if (status == noErr) {
    bytes_.resize(std::max<std::size_t>(bytes_.size(), converted));
    converted = static_cast<std::uint32_t>(bytes_.size());
    status = converter_->convert(frames_.data(), size, bytes_.data(), &converted);
  }
  if (status != noErr) {
    fail(status);
    return;
  }
  append(bytes_.data(), converted);
}

bool OutputCapture::makeConverter(double rate) {
  if (converter_ != nullptr && converterRate_ == rate) {
    return true;
  }
  drainConverter();
  const OSStatus status =
      converterService()->make(hardwaremodel::floatFormat(channels_, rate), session_->format(), &converter_);
  converterRate_ = rate;
  if (status != noErr) {
    fail(status);
  }
  return status == noErr;
}

/// Writes the tail of a resampler that has come to its end.
void OutputCapture::drainConverter() {
  std::vector<std::byte> tail(kFramesAtOnce * channels_ * sizeof(float));
  while (converter_ != nullptr && !hasFailed_) {
    auto size = static_cast<std::uint32_t>(tail.size());
    if (converter_->drain(tail.data(), &size) != noErr || size == 0) {
      converter_ = nullptr;
      return;
    }
    append(tail.data(), size);
  }
}

void OutputCapture::append(const void* bytes, std::uint32_t size) {
  if (size == 0 || hasFailed_) {
    return;
  }
  std::uint32_t count = size;
  const OSStatus status = session_->writeBytes(written_, &count, bytes);
  written_ += count;
  if (status != noErr) {
    fail(status);
  }
}

void OutputCapture::fail(OSStatus status) {
  if (!hasFailed_) {
    logf("virtual hardware: %s: output can't be captured: %s", path_.c_str(), describeStatus(status).c_str());
    hasFailed_ = true;
  }
}

}  // namespace orv::virtualhardware
