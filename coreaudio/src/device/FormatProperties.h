#pragma once

#include <memory>
#include <vector>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "device/PropertyBlock.h"

/// The format in a block; all zero where there is no whole one.
std::shared_ptr<OrvAudioStreamBasicDescription> firstFormat(const PropertyBlock& block);

/// All formats in a block.
std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> allFormats(const PropertyBlock& block);

/// What the object wraps.
AudioStreamBasicDescription recordOf(const OrvAudioStreamBasicDescription& format);
