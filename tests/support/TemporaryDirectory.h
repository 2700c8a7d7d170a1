#pragma once

#include <string>

namespace orv::test {

/// A scratch folder that goes away with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::string& path() const { return path_; }
  /// Full path of the entry `name`.
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

/// Whole content of a file; fails the test when it can't be read.
std::string readWholeFile(const std::string& path);
/// Makes or replaces a file; fails the test when it can't.
void writeWholeFile(const std::string& path, const std::string& bytes);

}  // namespace orv::test
