#include "detection/SplitRun.h"

#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"

std::atomic<bool> OrvSplitRun::isCancelled{false};
float OrvSplitRun::progressValue = 0;
float OrvSplitRun::progressValueIncrementor = 0;

void OrvSplitRun::advance() {
  progressValue += progressValueIncrementor;
  OrvAudioTrackAutoDefiner::autoDefineProgress(progressValue);
}
