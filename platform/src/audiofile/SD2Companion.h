#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OrvPlatform/AudioFile.h"
#include "audiofile/PCMFormat.h"

namespace orv::audiofile {

/// Reads how the sound in file `path` is stored from the texts in its companion. A refusal sets the problem line:
/// `kAudioFileInvalidFileError` without a companion, or with one that does not say it,
/// `kAudioFileUnsupportedDataFormatError` when it says something that can't be read. Takes no memory that depends on
/// what the companion says.
OSStatus readSD2Companion(const std::string& path, PCMFormat* format);

/// The companion of a new file. `kAudioFileUnsupportedDataFormatError`, with the problem line set, when Sound Designer
/// II can't hold the format.
OSStatus makeSD2Companion(const PCMFormat& format, std::vector<std::uint8_t>* companion);

/// Removes the companion of file `path` if it says how sound is stored; one that holds something else stays.
void removeSD2Companion(const std::string& path);

}  // namespace orv::audiofile
