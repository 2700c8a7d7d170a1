#pragma once

/// Everything that the framework offers.
#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioDeviceStreamDefaults.h"
#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvAudioTrackInfo.h"
#include "OrvCoreAudio/OrvFileUtils.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvCoreAudio/OrvProgress.h"
#include "OrvCoreAudio/OrvSplitDetection.h"
