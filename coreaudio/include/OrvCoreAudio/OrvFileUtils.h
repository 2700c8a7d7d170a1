#pragma once

#include <optional>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/FileSystem.h"

/// Turns paths into platform file references. Class operations only. Thread-safe.
class ORV_API OrvFileUtils {
 public:
  OrvFileUtils() = delete;

  /// A `malloc`ed, zero-terminated copy of the path's file-system representation, freed by the caller with `std::free`;
  /// null without a path or memory.
  static char* makeUnicode(const std::optional<std::string>& path);
  /// False, and `*ref` unchanged, when there is no such file.
  static bool makeFSRef_fromPath(FSRef* ref, const std::optional<std::string>& path);
  static bool makeFSSpec_fromPath(FSSpec* spec, const std::optional<std::string>& path);
};
