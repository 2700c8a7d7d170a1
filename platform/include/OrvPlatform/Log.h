#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "OrvPlatform/Export.h"

/// The system log: one line a message. The host may put a sink of its own in its place.
namespace orv {

/// Takes one line, without a newline at its end. Called on the thread that logs, one call at a time.
using LogSink = std::function<void(std::string_view line)>;

/// Replaces the sink and returns the one before. An empty function restores the default, which writes the line
/// to standard error. Must not be called from inside a sink. Thread-safe; not real-time safe.
ORV_API LogSink setLogSink(LogSink sink);

/// Writes one line to the sink. Nothing that a sink throws gets out. Thread-safe; not real-time safe.
ORV_API void log(std::string_view line);

/// `log` with printf's formats. Thread-safe; not real-time safe.
ORV_API void logf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// A text by printf's formats. Thread-safe.
ORV_API std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orv
