#include "ProgressBar.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "OrvPlatform/Log.h"
#include "Text.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kQuietStart = 500ms;
constexpr auto kRedrawInterval = 100ms;
constexpr std::string_view kClearLine = "\r\x1B[K";

int terminalColumns() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void writeToStandardError(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace

std::optional<ProgressBar::Terminal> ProgressBar::standardError() {
  if (isatty(STDERR_FILENO) == 0) {
    return std::nullopt;
  }
  return Terminal{writeToStandardError, Clock::now, terminalColumns()};
}

ProgressBar::ProgressBar(std::optional<Terminal> terminal) : terminal_(std::move(terminal)) {
  if (terminal_) {
    next_ = terminal_->now() + kQuietStart;
  }
}

ProgressBar::~ProgressBar() {
  clear();
}

void ProgressBar::begin(std::string label) {
  label_ = std::move(label);
  update(0);
}

void ProgressBar::update(double fraction) {
  if (!terminal_) {
    return;
  }
  const Clock::time_point now = terminal_->now();
  if (now < next_) {
    return;
  }
  next_ = now + kRedrawInterval;
  visible_ = true;
  terminal_->write(std::string(kClearLine) + line(std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0)));
}

void ProgressBar::clear() {
  if (visible_) {
    visible_ = false;
    terminal_->write(kClearLine);
  }
}

std::string ProgressBar::line(double fraction) const {
  // The last column stays free: some terminals wrap when it is written.
  const int room = terminal_->columns - static_cast<int>(characterCount(label_)) - 10;
  const int width = std::clamp(room, 0, 50);
  const int filled = static_cast<int>(fraction * width);
  const std::string bar =
      std::string(static_cast<std::size_t>(filled), '#') + std::string(static_cast<std::size_t>(width - filled), '-');
  const std::string percent = formatText("%3d %%", static_cast<int>(fraction * 100));
  return width > 0 ? label_ + " [" + bar + "] " + percent : percent;
}

}  // namespace orv::cli
