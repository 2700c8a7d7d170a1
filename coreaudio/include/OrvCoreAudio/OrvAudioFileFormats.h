#pragma once

#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/Export.h"

namespace orv {

/// The type of file that the extension of a path names; 0 for any other extension.
ORV_API AudioFileTypeID fileTypeForPath(const std::string& path);

/// What a file of `type` is to hold so that no sample of `source` is lost: the same bits, in the byte order and sign
/// that the container has. A plain AIFF can't hold float samples: `type` then becomes 'AIFC'. 'Sd2f' can't either, and
/// no other type is one of its kind: making the file is then refused.
ORV_API std::shared_ptr<OrvAudioStreamBasicDescription> losslessFormat(const OrvAudioStreamBasicDescription& source,
                                                                       AudioFileTypeID& type);

}  // namespace orv
