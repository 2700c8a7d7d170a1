#pragma once

#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// Audio files as wholes, in the file system in force. What belongs to the file NAME beside its data, the companion
/// `._NAME` in the same folder, goes with it: a Sound Designer II file is nothing without. Whatever fails, and wherever
/// the process is killed, the data keep a companion in their own place.
///
/// Files are closed when they are moved. All are thread-safe. `from`, `to` and `path` are UTF-8.
namespace orv {

/// `FileManager::move` with the companion. `kFileExistsStatus` when `to`, or its companion, exists. On failure all is
/// as it was.
ORV_API OSStatus moveAudioFile(const std::string& from, const std::string& to);

/// `FileManager::copy` with the companion. `kFileExistsStatus` when `to`, or its companion, exists. On failure nothing
/// of the copy is left.
ORV_API OSStatus copyAudioFile(const std::string& from, const std::string& to);

/// `FileManager::replace` with the companion. Where `from` has none, one of `to` that says how sound is stored is
/// removed: it does not describe what is there then. On failure all is as it was.
ORV_API OSStatus replaceAudioFile(const std::string& from, const std::string& to);

/// `FileManager::remove`, and the companion when it says how sound is stored. One that holds something else stays.
ORV_API OSStatus removeAudioFile(const std::string& path);

}  // namespace orv
