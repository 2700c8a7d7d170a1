#include "OrvCoreAudio/OrvFileUtils.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using PathBytes = std::unique_ptr<char, decltype(&std::free)>;

OSStatus makeRef(const std::optional<std::string>& path, FSRef* ref) {
  const PathBytes bytes(OrvFileUtils::makeUnicode(path), &std::free);
  return FSPathMakeRef(reinterpret_cast<const std::uint8_t*>(bytes.get()), ref, nullptr);
}

}  // namespace

char* OrvFileUtils::makeUnicode(const std::optional<std::string>& path) {
  return path ? strdup(path->c_str()) : nullptr;
}

bool OrvFileUtils::makeFSRef_fromPath(FSRef* ref, const std::optional<std::string>& path) {
  return makeRef(path, ref) == noErr;
}

bool OrvFileUtils::makeFSSpec_fromPath(FSSpec* spec, const std::optional<std::string>& path) {
  FSRef ref;
  return makeRef(path, &ref) == noErr && FSGetCatalogInfo(&ref, spec) == noErr;
}
