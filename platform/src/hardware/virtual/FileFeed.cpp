#include "hardware/virtual/FileFeed.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Thread.h"
#include "hardware/virtual/FileDecoder.h"

namespace orv::virtualhardware {
namespace {

constexpr double kSecondsAhead = 0.5;
constexpr std::size_t kMostBytesAhead = std::size_t{32} << 20;
/// How long a start waits for the first frames.
constexpr std::uint64_t kPatience = 2'000'000'000;

/// Frames of read-ahead: half a second, unless the channels are very many, and two cycles at least.
std::size_t framesAhead(const FileFeedSetup& setup) {
  const std::size_t most = kMostBytesAhead / (sizeof(float) * setup.channels);
  const auto wanted = static_cast<std::size_t>(setup.rate * kSecondsAhead);
  return std::max(std::min(wanted, most), std::size_t{setup.largestCycle} * 2);
}

}  // namespace

FileFeed::FileFeed(FileFeedSetup setup, const FilePlace& from, std::shared_ptr<Waker> ioWaker)
    : setup_(std::move(setup)), from_(from), ioWaker_(std::move(ioWaker)), ring_(setup_.channels, framesAhead(setup_)) {
  thread_ = startThread("virtual-input", [this] { run(); });
  if (!thread_.joinable()) {
    isEnded_ = true;
  }
}

FileFeed::~FileFeed() {
  quits_.store(true, std::memory_order_seq_cst);
  roomWaker_.wake();
  if (thread_.joinable()) {
    thread_.join();
  }
}

bool FileFeed::isReady(std::uint32_t frames) const noexcept {
  // In this order: the last frames are committed before the end is told.
  const bool isEnded = isEnded_.load(std::memory_order_acquire);
  return isEnded || ring_.available() >= std::min<std::uint64_t>(frames + toSkip_, ring_.capacity());
}

bool FileFeed::read(float* target, std::uint32_t frames, double /*rate*/) noexcept {
  if (toSkip_ > 0) {
    toSkip_ -= ring_.read(nullptr, static_cast<std::size_t>(std::min<std::uint64_t>(toSkip_, ring_.capacity())));
  }
  const std::size_t got = toSkip_ == 0 ? ring_.read(target, frames) : 0;
  std::fill_n(target + got * setup_.channels, (frames - got) * setup_.channels, 0.0F);
  roomWaker_.wake();
  return got == frames || isAtEnd();
}

void FileFeed::begin(std::uint32_t frames) {
  const std::uint64_t deadline = AudioGetCurrentHostTime() + kPatience;
  while (!isReady(frames)) {
    const std::uint32_t ticket = ioWaker_->ticket();
    if (isReady(frames) || AudioGetCurrentHostTime() >= deadline) {
      return;
    }
    ioWaker_->sleepUntil(ticket, deadline);
  }
}

bool FileFeed::isAtEnd() const {
  return isEnded_.load(std::memory_order_acquire) && ring_.available() == 0;
}

std::shared_ptr<InputFeed> FileFeed::atRate(double rate, std::uint64_t* delivered) {
  if (rate == setup_.rate) {
    return nullptr;
  }
  *delivered = ring_.consumed();
  FileFeedSetup setup = setup_;
  setup.rate = rate;
  return std::make_shared<FileFeed>(std::move(setup), placeOf(*delivered), ioWaker_);
}

FilePlace FileFeed::placeOf(std::uint64_t frame) const {
  const std::lock_guard guard(mutex_);
  const auto next = std::find_if(marks_.begin(), marks_.end(), [&](const Mark& mark) { return mark.frame > frame; });
  if (next == marks_.begin()) {
    return from_;
  }
  const Mark& mark = *std::prev(next);
  FilePlace place = mark.place;
  const double seconds = static_cast<double>(frame - mark.frame) / setup_.rate;
  if (mark.fileRate == 0.0) {
    place.gapSeconds = std::max(place.gapSeconds - seconds, 0.0);
  } else {
    place.frame += std::llround(seconds * mark.fileRate);
  }
  return place;
}

/// Feeder thread from here on.
void FileFeed::run() {
  std::size_t played = passThrough(from_);
  // A pass that has nothing to play would go on for ever without a sound.
  for (bool isFirst = true; setup_.repeats && !quits_ && (isFirst || played > 0); isFirst = false) {
    played = passThrough({0, 0, setup_.gapSeconds});
  }
  mark({setup_.files.size(), 0, 0.0}, 0.0);
  isEnded_.store(true, std::memory_order_release);
  ioWaker_->wake();
}

/// All files from `from` on. Returns how many frames there were, gaps not counted.
std::size_t FileFeed::passThrough(const FilePlace& from) {
  std::size_t played = 0;
  for (std::size_t file = from.file; file < setup_.files.size() && !quits_; ++file) {
    const bool isFirst = file == from.file;
    playGap(file, isFirst ? from.gapSeconds : setup_.gapSeconds);
    played += playFile(file, isFirst ? from.frame : 0);
  }
  return played;
}

void FileFeed::playGap(std::size_t nextFile, double seconds) {
  const auto frames = static_cast<std::uint64_t>(std::llround(seconds * setup_.rate));
  if (frames == 0) {
    return;
  }
  mark({nextFile, 0, seconds}, 0.0);
  for (std::uint64_t left = frames; left > 0;) {
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(left, ring_.capacity()));
    if (!put(nullptr, part)) {
      return;
    }
    left -= part;
  }
}

std::size_t FileFeed::playFile(std::size_t index, std::int64_t from) {
  const std::string& path = setup_.files[index];
  std::string problem;
  const auto decoder = FileDecoder::open(path, setup_.rate, setup_.channels, &problem);
  if (decoder == nullptr) {
    logf("virtual hardware: %s", problem.c_str());
    return 0;
  }
  decoder->seek(from);
  mark({index, from, 0.0}, decoder->fileRate());
  std::size_t played = 0;
  for (;;) {
    const std::vector<float>& samples = decoder->next(&problem);
    const std::size_t frames = samples.size() / setup_.channels;
    if (frames == 0 || !put(samples.data(), frames)) {
      break;
    }
    played += frames;
  }
  if (!problem.empty()) {
    logf("virtual hardware: %s: %s", path.c_str(), problem.c_str());
  }
  return played;
}

/// Waits for room. Null: silence. False when there is no more need for frames.
bool FileFeed::put(const float* frames, std::size_t count) {
  while (count > 0) {
    const std::uint32_t ticket = roomWaker_.ticket();
    if (quits_.load(std::memory_order_seq_cst)) {
      return false;
    }
    const std::size_t written = ring_.write(frames, count);
    if (written == 0) {
      roomWaker_.sleep(ticket);
      continue;
    }
    ring_.commit();
    ioWaker_->wake();
    frames = frames == nullptr ? nullptr : frames + written * setup_.channels;
    count -= written;
  }
  return true;
}

void FileFeed::mark(const FilePlace& place, double fileRate) {
  const std::lock_guard guard(mutex_);
  marks_.push_back({ring_.written(), place, fileRate});
  // Of those that lie behind, only the last still says where the reader is.
  while (marks_.size() > 1 && marks_[1].frame <= ring_.consumed()) {
    marks_.pop_front();
  }
}

}  // namespace orv::virtualhardware
