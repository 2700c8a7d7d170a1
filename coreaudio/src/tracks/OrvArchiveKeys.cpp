#include "OrvCoreAudio/OrvArchiveKeys.h"

const char* const OrvTrackName = "OrvTrackName";
const char* const OrvTrackBegin = "OrvTrackBegin";
const char* const OrvTrackEnd = "OrvTrackEnd";
const char* const OrvTrackIsActive = "OrvTrackIsActive";

const char* const OrvProcessName = "OrvProcessName";
const char* const OrvProcessingStart = "OrvProcessingStart";
const char* const OrvProcessingEnd = "OrvProcessingEnd";
const char* const OrvProcessingSettings = "OrvProcessingSettings";

const char* const OrvTrackInfos = "OrvTrackInfos";
const char* const OrvProcessInfos = "OrvProcessInfos";
const char* const OrvHasBeenProcessed = "OrvHasBeenProcessed";
