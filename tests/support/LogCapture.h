#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "OrvPlatform/Log.h"

namespace orv::test {

/// Takes the log's lines for as long as it lives.
class LogCapture {
 public:
  LogCapture() {
    previous_ = setLogSink([this](std::string_view line) {
      const std::lock_guard guard(mutex_);
      lines_.emplace_back(line);
    });
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() { setLogSink(std::move(previous_)); }

  std::vector<std::string> lines() const {
    const std::lock_guard guard(mutex_);
    return lines_;
  }

  bool contains(const std::string& line) const {
    const std::vector<std::string> all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;  // guarded by mutex_
  LogSink previous_;
};

}  // namespace orv::test
