#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orv::test {

/// Audio made for a test, written by libsndfile, which shares no code with ours.
struct Recording {
  int sampleRate = 8000;
  int channels = 2;
  std::vector<double> samples;  ///< interleaved, full scale at 1.0

  std::int64_t frames() const { return static_cast<std::int64_t>(samples.size()) / channels; }
};

/// A stretch of a recording.
struct Stretch {
  double seconds;
  double amplitude;  ///< of a tone of 1 kHz; 0: silence
};

Recording recordingOf(const std::vector<Stretch>& stretches, int channels = 2, int sampleRate = 8000);

/// Three tones of 4, 5 and 4 seconds with 2 and 2.5 seconds of silence between them: gaps at 5 s and 12.25 s.
Recording threePieces(int channels = 2, int sampleRate = 8000);

/// Three melodies of 60, 45 and 75 seconds over hiss at -60 dB, in the gaps of 2 and 3 seconds between them and in the
/// second before and behind them too: gaps from 61 to 63 s and from 108 to 111 s, 187 s in all. Each note swells and
/// fades; the melodies themselves don't.
Recording threeSongs(int channels = 2, int sampleRate = 8000);

/// Samples that differ all over, from a fixed seed.
Recording noise(std::int64_t frames, int channels = 2, int sampleRate = 8000);

/// `format`: SF_FORMAT_AIFF | SF_FORMAT_PCM_16, ….
void writeRecording(const std::string& path, const Recording& recording,
                    int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16);

/// An RF64 file of 16-bit stereo silence that takes up next to no room on the disk, whatever its length.
void writeLongSilence(const std::string& path, std::uint64_t frames, std::uint32_t sampleRate = 44'100);

}  // namespace orv::test
