#include "MethodOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <set>

namespace orv::cli {
namespace {

std::optional<MethodSetting> settingOf(DetectionMethod& method, const std::string& name) {
  const std::vector<MethodSetting> settings = method.settings();
  const auto found = std::ranges::find(settings, name, &MethodSetting::name);
  return found == settings.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

MethodOptions::MethodOptions() : methods_{makeLevelsMethod(), makeCrossingsMethod()}, chosen_(methods_.front()) {}

void MethodOptions::addTo(CLI::App& command) {
  addMethod(command);
  std::set<std::string> added;
  for (const auto& method : methods_) {
    for (const MethodSetting& setting : method->settings()) {
      if (added.insert(setting.name).second) {
        addSetting(command, setting.name);
      }
    }
  }
}

std::shared_ptr<const DetectionMethod> MethodOptions::choose() {
  for (const auto& [name, text] : given_) {
    const std::optional<MethodSetting> setting = settingOf(*chosen_, name);
    if (!setting) {
      throw CLI::ValidationError(
          name, "belongs to --method " + methodsWith(name) + "; the method here is " + chosen_->name());
    }
    setting->take(text);
  }
  return chosen_;
}

void MethodOptions::addMethod(CLI::App& command) {
  std::string names;
  std::string help = "How tracks are found:";
  for (const auto& method : methods_) {
    names += (names.empty() ? "" : ", ") + method->name();
    help += "\n" + method->name() + ": " + method->summary() + (method == methods_.front() ? " (default)" : "");
  }
  const auto take = [this, names](const std::string& text) {
    const auto found = std::ranges::find(methods_, text, [](const auto& method) { return method->name(); });
    if (found == methods_.end()) {
      throw CLI::ValidationError("--method", "'" + text + "' is not known; there are: " + names);
    }
    chosen_ = *found;
  };
  command.add_option_function<std::string>("--method", take, help)->type_name("METHOD");
}

void MethodOptions::addSetting(CLI::App& command, const std::string& name) {
  std::vector<MethodSetting> same;
  std::string helps;
  for (const auto& method : methods_) {
    if (const std::optional<MethodSetting> setting = settingOf(*method, name)) {
      same.push_back(*setting);
      helps += (helps.empty() ? "" : "\n") + method->name() + ": " + setting->help;
    }
  }
  const bool isShared = same.size() > 1;
  const std::string help = isShared ? helps : same.front().help;
  CLI::Option* option = nullptr;
  if (same.front().valueName.empty()) {
    option = command.add_flag_callback(
        name, [this, name] { given_.emplace_back(name, ""); }, help);
  } else {
    const auto take = [this, name](const std::string& text) { given_.emplace_back(name, text); };
    option = command.add_option_function<std::string>(name, take, help)->type_name(same.front().valueName);
  }
  option->group(isShared ? "Settings of every method" : "Settings of --method " + methodsWith(name));
}

std::string MethodOptions::methodsWith(const std::string& setting) const {
  std::string names;
  for (const auto& method : methods_) {
    if (settingOf(*method, setting)) {
      names += (names.empty() ? "" : ", ") + method->name();
    }
  }
  return names;
}

}  // namespace orv::cli
