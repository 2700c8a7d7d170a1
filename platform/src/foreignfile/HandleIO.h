#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>

#include "OrvPlatform/FileManager.h"

namespace orv::foreignfile {

/// Lets libsndfile read through a file handle of ours, and so from whatever the file manager in force calls a file.
/// libsndfile takes a read that fails for the end of the file; the failure is kept here. One thread at a time.
class HandleIO {
 public:
  enum class SeekFromEnd {
    allowed,
    /// An MPEG decoder that can't find out the size of the file can't take a guess from it for its length either.
    refused,
  };

  HandleIO(std::unique_ptr<FileHandle> file, SeekFromEnd seekFromEnd);

  /// What `sf_open_virtual` takes, together with the object's address as user data.
  static SF_VIRTUAL_IO* calls();

  /// Back to the begin of the file, and whatever failed is forgotten.
  void restart();

  /// The first failure since the last call, `noErr` when there was none.
  OSStatus takeFailure();

 private:
  static sf_count_t length(void* io);
  static sf_count_t seek(sf_count_t offset, int whence, void* io);
  static sf_count_t read(void* buffer, sf_count_t count, void* io);
  static sf_count_t write(const void* buffer, sf_count_t count, void* io);
  static sf_count_t tell(void* io);

  const std::unique_ptr<FileHandle> file_;
  const std::int64_t length_;
  const SeekFromEnd seekFromEnd_;
  std::int64_t position_ = 0;
  OSStatus failure_ = noErr;
};

}  // namespace orv::foreignfile
