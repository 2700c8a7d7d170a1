#pragma once

#include <exception>
#include <new>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/Log.h"
#include "audiofile/PCMFormat.h"

namespace orv::audiofile {

/// Runs `operation`; what it throws becomes a status and one log line.
template <typename Operation>
OSStatus guarded(const Operation& operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    logf("audio file service: out of memory");
    return kOutOfMemoryStatus;
  } catch (const std::exception& exception) {
    logf("audio file service: %s", exception.what());
  } catch (...) {
    logf("audio file service: unknown exception");
  }
  return kAudioFileUnspecifiedError;
}

/// What a free function begins with: the problem line belongs to this call alone, and no argument may be missing.
template <typename Operation>
OSStatus guardedCall(bool argumentsAreThere, const Operation& operation) noexcept {
  return guarded([&] {
    setAudioFileProblem({});
    return argumentsAreThere ? operation() : refuse(kAudioFileUnspecifiedError, "an argument is missing");
  });
}

}  // namespace orv::audiofile
