#include "OrvPlatform/FileSystem.h"

#include <filesystem>

#include "OrvPlatform/FileManager.h"

OSStatus FSPathMakeRef(const std::uint8_t* path, FSRef* ref, bool* isDirectory) {
  if (path == nullptr || ref == nullptr) {
    return kFileNotFoundStatus;
  }
  const std::string text(reinterpret_cast<const char*>(path));
  const auto attributes = orv::fileManager()->attributes(text);
  if (!attributes) {
    return kFileNotFoundStatus;
  }
  ref->path = text;
  if (isDirectory != nullptr) {
    *isDirectory = attributes->isDirectory;
  }
  return noErr;
}

OSStatus FSGetCatalogInfo(const FSRef* ref, FSSpec* spec) {
  if (ref == nullptr || spec == nullptr || !orv::fileManager()->exists(ref->path)) {
    return kFileNotFoundStatus;
  }
  const std::filesystem::path path(ref->path);
  spec->directory = path.parent_path().string();
  spec->name = path.filename().string();
  return noErr;
}
