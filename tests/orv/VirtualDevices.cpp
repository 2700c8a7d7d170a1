#include "VirtualDevices.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace orv::test {

std::vector<std::string> VirtualDevices::options(const std::string& path) const {
  nlohmann::json input{{"uid", "in"},
                       {"name", "In"},
                       {"nominalSampleRates", {rate}},
                       {"nominalSampleRate", rate},
                       {"input", {{"streams", {{{"channels", inputs}, {"physicalFormats", {{{"bits", 16}}}}}}}}}};
  if (!heard.empty()) {
    input["source"] = {{"kind", "files"}, {"files", {heard}}, {"gapSeconds", 0}};
  }
  const nlohmann::json section{{"streams", {{{"channels", outputs}}}}};
  nlohmann::json output{{"uid", "out"},
                        {"name", "Out"},
                        {"nominalSampleRates", {outputRate}},
                        {"nominalSampleRate", outputRate},
                        {"output", section}};
  if (areOne) {
    input["output"] = section;
  }
  if (!played.empty()) {
    (areOne ? input : output)["sink"] = {{"file", played}};
  }
  nlohmann::json all{{"clock", "accelerated"}, {"acceleration", acceleration}, {"devices", {std::move(input)}}};
  if (!areOne) {
    all["devices"].push_back(std::move(output));
  }
  std::ofstream(path) << all.dump(2);
  return {"--hardware", "virtual", "--virtual-devices", path};
}

ProcessResult runOrvOn(const VirtualDevices& devices, const std::string& folder, std::vector<std::string> arguments) {
  const auto options = devices.options(folder + "/devices.json");
  arguments.insert(arguments.end(), options.begin(), options.end());
  return runOrv(arguments);
}

}  // namespace orv::test
