#pragma once

#include <memory>
#include <string>
#include <vector>

#include <OrvCoreAudio/OrvAudioStreamBasicDescription.h>

#include "OrvPlatform/AudioFile.h"

namespace orv::test {

/// A stretch of a recording: so many seconds of a tone of 1 kHz, or of silence.
struct Stretch {
  double seconds;
  double amplitude;  ///< of 1.0 full scale
};

using FormatPointer = std::shared_ptr<OrvAudioStreamBasicDescription>;

/// A linear PCM format. `flags` as the platform's; the container is as small as the bits allow.
FormatPointer pcm(double rate, std::uint32_t channels, std::uint32_t bits, std::uint32_t flags);

/// Makes an audio file of the stretches, every channel alike (channels from `silentFrom` on are silent). The type
/// follows from the format unless one is given.
void writeRecording(const std::string& path, const FormatPointer& format, const std::vector<Stretch>& stretches,
                    AudioFileTypeID type = 0, std::uint32_t silentBefore = 0);

/// Three pieces of 8 s with two pauses of 4 s between them: the pauses begin at 8 and 20 s.
std::vector<Stretch> threePieces();

}  // namespace orv::test
