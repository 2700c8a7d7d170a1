#pragma once

#include <string>

namespace orv::cli {

/// Whether a file that exists may be written over.
enum class Overwrite { refuse, allow };

/// Throws `Failure` where a file `path` can't or must not be made: its directory is missing or can't be written to, it
/// exists and `overwrite` says no, it is something else than a file, or it is the recording `source` itself.
void checkDestination(const std::string& path, const std::string& source, Overwrite overwrite);

/// Throws `Failure` where `path` is neither a directory that can be written to nor could be made one.
void checkDestinationDirectory(const std::string& path);

/// Gives a file that is complete its final name, in one step. Without leave to overwrite, a file that has appeared
/// under that name is left alone. Throws `Failure`.
void moveIntoPlace(const std::string& from, const std::string& to, Overwrite overwrite);

/// A text written beside its final name, which it gets by `commit`; without that it is removed again.
class StagedText {
 public:
  /// Throws `Failure`.
  StagedText(std::string path, const std::string& text);
  StagedText(const StagedText&) = delete;
  StagedText& operator=(const StagedText&) = delete;
  ~StagedText();

  void commit(Overwrite overwrite);

 private:
  std::string path_;
  std::string stagedPath_;  // empty: nothing to remove
};

}  // namespace orv::cli
