#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DetectionMethod.h"

namespace CLI {
class App;
}

namespace orv::cli {

/// --method, and the settings of every method, as options of one command. What a setting means is known once the
/// method is, which may stand behind it on the command line; until then it is kept as it was written.
class MethodOptions {
 public:
  MethodOptions();
  /// Requires: this object outlives the parsing.
  void addTo(CLI::App& command);
  /// The method that was asked for, with its settings. Throws `CLI::ParseError` for one that it does not have. Once,
  /// after the parsing.
  std::shared_ptr<const DetectionMethod> choose();

 private:
  void addMethod(CLI::App& command);
  void addSetting(CLI::App& command, const std::string& name);
  std::string methodsWith(const std::string& setting) const;

  std::vector<std::shared_ptr<DetectionMethod>> methods_;  // the default first
  std::shared_ptr<DetectionMethod> chosen_;
  std::vector<std::pair<std::string, std::string>> given_;  // names of settings, and what is said of them
};

}  // namespace orv::cli
