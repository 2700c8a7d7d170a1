#pragma once

#include <cstdint>
#include <string>

namespace orv::bench {

/// Makes a 16-bit stereo AIFF file of 44.1 kHz that is work for a decoder: stretches of tones and noise of three
/// minutes each, with four seconds of faint noise behind each of them. The same every time.
void makeRecording(const std::string& path, double minutes);

/// Makes an AIFF file of the same format whose audio is all silence that takes no room on the disk.
void makeSparseRecording(const std::string& path, double minutes);

/// Reads all of a file with `pread` calls of `chunk` bytes; returns the bytes read.
std::int64_t readBare(const std::string& path, std::size_t chunk);

}  // namespace orv::bench
