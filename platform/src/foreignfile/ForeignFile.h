#pragma once

#include <memory>
#include <string>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/FileManager.h"
#include "foreignfile/ForeignKind.h"

/// Files of other programs, decoded to linear PCM for reading.
///
///   BuiltInService::open ──► FileSession (our containers)
///                      └ what they refuse ──► openForeignFile ──► ForeignSession ──► FrameReader ──► Decoder
///                      (libsndfile)
namespace orv::foreignfile {

/// Offers `path` to libsndfile after our own containers refused it with `refusal` and a problem line. Both stay the
/// answer where the file is of no kind that is decoded here. `kAudioFilePermissionsError` when a file that could be
/// read is asked for `forUpdate`. Thread-safe.
OSStatus openForeignFile(const std::string& path, bool forUpdate, OSStatus refusal,
                         std::unique_ptr<AudioFileSession>* session);

/// Opens a file of `kind`, wherever the decoder comes from. Sets the problem line on failure.
OSStatus openDecoded(std::unique_ptr<FileHandle> file, const ForeignKind& kind, bool forUpdate,
                     std::unique_ptr<AudioFileSession>* session);

}  // namespace orv::foreignfile
