#pragma once

#include "OrvPlatform/Export.h"

/// Names of the fields of track and processing records in archives by key. The text of each is its name.
extern "C" {

ORV_API extern const char* const OrvTrackName;
ORV_API extern const char* const OrvTrackBegin;
ORV_API extern const char* const OrvTrackEnd;
ORV_API extern const char* const OrvTrackIsActive;

ORV_API extern const char* const OrvProcessName;
ORV_API extern const char* const OrvProcessingStart;
ORV_API extern const char* const OrvProcessingEnd;
ORV_API extern const char* const OrvProcessingSettings;

ORV_API extern const char* const OrvTrackInfos;
ORV_API extern const char* const OrvProcessInfos;
ORV_API extern const char* const OrvHasBeenProcessed;
}
