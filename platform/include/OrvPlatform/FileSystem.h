#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// A reference to a file: here simply its path.
struct FSRef {
  std::string path;
};

/// A file by its directory and name.
struct FSSpec {
  std::string directory;
  std::string name;
};

/// Makes a reference to an existing file from the file-system representation of its path. `kFileNotFoundStatus` when
/// there is none. `isDirectory` may be null.
ORV_API OSStatus FSPathMakeRef(const std::uint8_t* path, FSRef* ref, bool* isDirectory);

/// Splits an existing reference into directory and name.
ORV_API OSStatus FSGetCatalogInfo(const FSRef* ref, FSSpec* spec);
