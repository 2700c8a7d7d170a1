#include "DevicesSeeds.h"

#include <filesystem>
#include <fstream>

namespace orv::fuzz {
namespace {

constexpr const char* kSeeds[] = {
    R"({"devices": [{"uid": "a"}]})",
    R"({"clock": "byHand", "devices": [{"uid": "a", "id": 3, "name": "A", "manufacturer": "B", "transport": "usb ",
        "nominalSampleRates": [44100, {"minimum": 48000, "maximum": 96000}], "nominalSampleRate": 48000,
        "bufferFrameSize": 64, "bufferFrameSizes": {"minimum": 16, "maximum": 512}, "hasPlayThru": true,
        "input": {"streams": [{"channels": 2, "physicalFormats": [{"bits": 24}, {"bits": 32, "isFloat": true}]}],
                  "controls": [{"channel": 1, "volume": 0.5}], "dataSources": [{"id": "line", "name": "Line"}],
                  "currentDataSource": "line", "preferredStereo": [1, 2], "channelLabels": [1, 2], "latency": 3},
        "output": {"streams": [{"channels": 2}, {"channels": 4}]}, "source": {"kind": "tone", "toneHertz": 440}}]})",
    R"({"clock": "accelerated", "acceleration": 10, "devices": [{"uid": "a", "output": {"streams": [{"channels": 1}]}},
        {"uid": "b", "input": {"streams": [{"channels": 1}]}, "source": {"kind": "loopback", "loopbackUID": "a"}}]})",
    R"({"devices": [{"uid": "a", "input": {"streams": [{}]}, "source": {"kind": "files", "files": ["x.aiff"]}}]})"};

}  // namespace

void makeDevicesSeeds(const std::string& directory) {
  const std::string folder = directory + "/devices";
  std::filesystem::create_directories(folder);
  int count = 0;
  for (const char* const seed : kSeeds) {
    std::ofstream(folder + "/" + std::to_string(count++)) << seed;
  }
}

}  // namespace orv::fuzz
