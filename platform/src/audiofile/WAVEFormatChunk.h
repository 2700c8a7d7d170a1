#pragma once

#include <cstdint>

#include "audiofile/ChunkWalker.h"
#include "audiofile/HeaderBuilder.h"
#include "audiofile/HeaderReader.h"
#include "audiofile/PCMFormat.h"

namespace orv::audiofile {

/// Reads the fmt chunk of a WAVE file. A refusal sets the problem line.
OSStatus readWAVEFormat(HeaderReader& reader, const Chunk& chunk, PCMFormat* format);

/// Whether a WAVE file can hold the format; if not, sets the problem line.
OSStatus checkWAVEFormat(const PCMFormat& format);

/// Adds the fmt chunk of a format that `checkWAVEFormat` accepts.
void addWAVEFormat(HeaderBuilder& header, const PCMFormat& format);

/// Whether the format wants a fact chunk, as all but plain integers do.
bool needsFactChunk(const PCMFormat& format);

}  // namespace orv::audiofile
