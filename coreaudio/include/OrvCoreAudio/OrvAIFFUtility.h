#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/FileManager.h"

/// Checks and repairs the outer chunk of AIFF files, and finds chunks in them. Class operations only; different files
/// on any threads.
///
/// Walks end at the end of the file whatever sizes the chunks claim. Offsets are bytes from the begin of the file.
class ORV_API OrvAIFFUtility {
 public:
  OrvAIFFUtility() = delete;

  /// Results of the check.
  static constexpr std::uint32_t kSizeIsWrong = 0;
  static constexpr std::uint32_t kIsValid = 1;
  static constexpr std::uint32_t kIsRepaired = 2;
  static constexpr std::uint32_t kIsNoForm = 4;

  /// Whether the file begins with FORM and the size behind that is true. False when it can't be opened.
  static bool validateFileAtPath(const std::string& path);
  /// Writes the size where it is not true, and waits for the disk. `kIsNoForm` when the file can't be opened.
  static std::uint32_t repairFileAtPath(const std::string& path);
  /// The check of an open file, which stays open. With `shouldRepair` a wrong size is replaced; an odd one is taken to
  /// count a pad byte that is still to come. `kSizeIsWrong`, and nothing changed, also where the size could not be
  /// written, or no size of 32 bits would be true.
  static std::uint32_t checkFileAtPath_shouldRepair(orv::FileHandle& file, bool shouldRepair);

  /// Number of a chunk's four characters in the table of known ones: 1 "SSND", 2 "COMM", 3 "MARK", 4 "INST", 5 "MIDI",
  /// 6 "AESD", 7 "APPL", 8 "COMT", 9 "NAME", 10 "AUTH", 11 "(c) ", 12 "ANNO", 13 "FLLR", 14 "FVER". 0 for others.
  static std::uint32_t getNextChunkId(const char* chunkId);

  /// Offset of the first chunk of that name from the chunk at `startingAtOffset` on (0: the file's first);
  /// `endingOffset` when there is none before it.
  static std::uint32_t findOffsetForChunkId_inFile_startingAtOffset_endingOffset(const char* chunkId,
                                                                                 orv::FileHandle& file,
                                                                                 std::uint32_t startingAtOffset,
                                                                                 std::uint32_t endingOffset);
  /// The same for the first "APPL" chunk whose signature, its four bytes read in the machine's order, is `creator`.
  static std::uint32_t findOffsetForApplicationChunkWithCreator_inFile_startingAtOffset_endingOffset(
      std::uint32_t creator, orv::FileHandle& file, std::uint32_t startingAtOffset, std::uint32_t endingOffset);
};
