// Finds the tracks of a recording and prints their names and frames: the whole of what a host needs for it.
//
//   define_tracks side.aiff

#include <OrvCoreAudio/OrvAudioTrackAutoDefiner.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: define_tracks FILE\n");
    return 2;
  }
  OrvAudioTrackAutoDefiner::Request request;
  request.path = argv[1];
  request.progress = [](float progress) { std::fprintf(stderr, "\r%3.0f %%", static_cast<double>(progress) * 100); };
  const OrvAudioTrackAutoDefiner::Result result = OrvAudioTrackAutoDefiner::defineTracks(request);
  std::fprintf(stderr, "\n");
  if (!result.done) {
    std::fprintf(stderr, "%s: %s\n", argv[1], result.problem.c_str());
    return 1;
  }
  for (const auto& track : result.tracks) {
    std::printf("%s\n", track->description().c_str());
  }
}
