#include "OrvPlatform/AudioFileMoves.h"

#include <memory>

#include "OrvPlatform/FileManager.h"
#include "audiofile/Companion.h"
#include "audiofile/Guarded.h"
#include "audiofile/SD2Companion.h"

namespace orv {
namespace {

using audiofile::companionPath;
using audiofile::guarded;
using audiofile::hasCompanion;
using Manager = std::shared_ptr<FileManager>;

/// Copies the companion before anything else is done, so that the data find it where they come.
OSStatus copyCompanion(const Manager& files, const std::string& from, const std::string& to) {
  return files->exists(to) ? kFileExistsStatus : files->copy(companionPath(from), companionPath(to));
}

OSStatus moveWithCompanion(const Manager& files, const std::string& from, const std::string& to) {
  OSStatus status = copyCompanion(files, from, to);
  if (status != noErr) {
    return status;
  }
  status = files->move(from, to);
  if (status == noErr) {
    status = files->remove(companionPath(from));
    if (status == noErr || files->move(to, from) != noErr) {
      return noErr;  // the file is whole in its new place, even if a companion is left in the old one
    }
  }
  if (!files->exists(to)) {  // a move to another file system may have got as far as that
    files->remove(companionPath(to));
  }
  return status;
}

OSStatus copyWithCompanion(const Manager& files, const std::string& from, const std::string& to) {
  OSStatus status = copyCompanion(files, from, to);
  if (status != noErr) {
    return status;
  }
  status = files->copy(from, to);
  if (status != noErr) {
    files->remove(companionPath(to));
  }
  return status;
}

OSStatus replaceWithCompanion(const Manager& files, const std::string& from, const std::string& to) {
  const std::string setAside = companionPath(from) + ".old";
  const bool hadOne = hasCompanion(to);
  OSStatus status = hadOne ? files->copy(companionPath(to), setAside) : noErr;
  if (status != noErr) {
    return status;
  }
  status = files->replace(companionPath(from), companionPath(to));
  if (status == noErr) {
    status = files->replace(from, to);
    if (status != noErr) {
      files->replace(companionPath(to), companionPath(from));
    }
  }
  if (hadOne && status == noErr) {
    files->remove(setAside);
  } else if (hadOne) {
    files->replace(setAside, companionPath(to));
  }
  return status;
}

}  // namespace

OSStatus moveAudioFile(const std::string& from, const std::string& to) {
  return guarded([&] {
    const Manager files = fileManager();
    return hasCompanion(from) ? moveWithCompanion(files, from, to) : files->move(from, to);
  });
}

OSStatus copyAudioFile(const std::string& from, const std::string& to) {
  return guarded([&] {
    const Manager files = fileManager();
    return hasCompanion(from) ? copyWithCompanion(files, from, to) : files->copy(from, to);
  });
}

OSStatus replaceAudioFile(const std::string& from, const std::string& to) {
  return guarded([&] {
    const Manager files = fileManager();
    if (hasCompanion(from)) {
      return replaceWithCompanion(files, from, to);
    }
    const OSStatus status = files->replace(from, to);
    if (status == noErr) {
      audiofile::removeSD2Companion(to);
    }
    return status;
  });
}

OSStatus removeAudioFile(const std::string& path) {
  return guarded([&] {
    const OSStatus status = fileManager()->remove(path);
    if (status == noErr) {
      audiofile::removeSD2Companion(path);
    }
    return status;
  });
}

}  // namespace orv
