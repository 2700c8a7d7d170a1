#include "OrvPlatform/Log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace orv {
namespace {

void writeToStandardError(std::string_view line) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

struct Sink {
  std::mutex mutex;
  LogSink function;  // guarded by mutex; empty: the default
};

/// Never destroyed: objects that outlive main may still log.
Sink& sink() {
  static Sink* const instance = new Sink;
  return *instance;
}

std::string formatList(const char* format, va_list arguments) {
  va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length <= 0) {
    return {};
  }
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  // The analyzer doesn't see that the callers have started the list.
  std::vsnprintf(text.data(), text.size(), format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized)
  text.pop_back();
  return text;
}

}  // namespace

LogSink setLogSink(LogSink function) {
  const std::lock_guard guard(sink().mutex);
  return std::exchange(sink().function, std::move(function));
}

void log(std::string_view line) {
  const std::lock_guard guard(sink().mutex);
  if (!sink().function) {
    writeToStandardError(line);
    return;
  }
  try {
    sink().function(line);
  } catch (...) {
    writeToStandardError(line);
  }
}

void logf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string line = formatList(format, arguments);
  va_end(arguments);
  log(line);
}

std::string formatText(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = formatList(format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace orv
