#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/Export.h"

/// Status of a platform call: 0 = success. Most others are four-character codes.
using OSStatus = std::int32_t;
/// A 32-bit code made of four characters, the first one most significant.
using FourCharCode = std::uint32_t;

namespace orv {

/// The code that the four characters of `text` spell, first character most significant.
consteval FourCharCode fourCC(const char (&text)[5]) {
  FourCharCode code = 0;
  for (int i = 0; i < 4; ++i) {
    code = (code << 8) | static_cast<unsigned char>(text[i]);
  }
  return code;
}

/// `fourCC` as a status.
consteval OSStatus statusCC(const char (&text)[5]) {
  return static_cast<OSStatus>(fourCC(text));
}

/// The four characters of a code in reading order, bytes that do not print shown as '.'.
/// Thread-safe.
ORV_API std::string fourCCText(FourCharCode code);

/// The four bytes of a code as they lie in memory, up to the first zero byte: what "%-4.4s" prints when it
/// is handed the address of the code, padded to four characters with blanks. Bytes are passed through as they
/// are. Thread-safe.
ORV_API std::string fourCCInMemoryOrder(FourCharCode code);

/// What a status means, in words for the person at the keyboard: "disk full", "no such file or directory".
/// A status that has no words of its own is shown as its four characters and number. Thread-safe.
ORV_API std::string describeStatus(OSStatus status);

/// The status that stands for an `errno` value. 0 gives 0. Thread-safe.
ORV_API OSStatus statusFromErrno(int error);

}  // namespace orv

inline constexpr OSStatus noErr = 0;
/// Nothing left to read: the end-of-data signal between readers, converters and players.
inline constexpr OSStatus kEndOfFileStatus = -39;
inline constexpr OSStatus kDiskFullStatus = -34;
inline constexpr OSStatus kInputOutputErrorStatus = -36;
inline constexpr OSStatus kFileNotFoundStatus = -43;
inline constexpr OSStatus kFileExistsStatus = -48;
inline constexpr OSStatus kOutOfMemoryStatus = -108;
/// A path that names a directory where a file is needed, or the other way round.
inline constexpr OSStatus kWrongFileKindStatus = -120;
