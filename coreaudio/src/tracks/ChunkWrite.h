#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "OrvPlatform/FileManager.h"
#include "tracks/ChunkChain.h"
#include "tracks/ChunkPlan.h"

/// Single changes to the chunks of a file. Each is one write, before and behind which the file is a chain of chunks
/// with all its audio.

/// Writes all of `bytes`; anything less is a failure.
OSStatus writeBytes(orv::FileHandle& file, std::uint64_t offset, std::span<const std::uint8_t> bytes);

/// Sets the FORM size to what the file's length says.
OSStatus writeFormSize(orv::FileHandle& file);

/// Adds the pad byte that a file of odd length lacks. The FORM size goes first: repairing a file takes an odd size that
/// is not true for one that counts a pad byte still to come, so a killed process must not leave one.
OSStatus makeLengthEven(orv::FileHandle& file);

/// Makes room for a planned chunk: what of an overwritten chunk will be left over becomes the body of a filler, and a
/// chunk that was cut short one as a whole.
OSStatus prepareFillers(orv::FileHandle& file, const ChunkChain& chain, const ChunkPlan& plan);

/// Turns all replaceable chunks of ours but the one at `kept` into fillers.
OSStatus retireOthers(orv::FileHandle& file, const ChunkChain& chain, std::uint64_t kept);

/// Puts a chunk at the end of the file and a filler in its place.
OSStatus moveToEnd(orv::FileHandle& file, const ChunkChain& chain, const OwnChunk& chunk);

/// Keeps what a write is going to change, to undo it when it fails.
class WriteUndo {
 public:
  /// Of the `length` bytes at `offset`, the FORM size, and the file's length. The file must outlive the object.
  WriteUndo(orv::FileHandle& file, std::uint64_t offset, std::uint64_t length);

  /// Whether all could be kept. If not, nothing must be written.
  OSStatus status() const { return status_; }
  /// As far as the disk allows.
  void undo();

 private:
  orv::FileHandle& file_;
  const std::uint64_t offset_;
  const std::int64_t fileLength_;
  std::vector<std::uint8_t> bytes_;
  std::vector<std::uint8_t> head_;
  OSStatus status_ = noErr;
};
