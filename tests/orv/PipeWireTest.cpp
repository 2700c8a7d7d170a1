#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "OrvProgram.h"
#include "support/PrivatePipeWire.h"

namespace orv::test {
namespace {

/// Runs beside a private server.
class OrvOnPipeWire : public testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    server_ = PrivatePipeWire::start(false, &reason);
    if (server_ == nullptr) {
      GTEST_SKIP() << reason;
    }
  }

 private:
  std::unique_ptr<PrivatePipeWire> server_;
};

std::set<std::string> uids(const nlohmann::json& devices) {
  std::set<std::string> all;
  for (const auto& device : devices) {
    all.insert(device["uid"].get<std::string>());
  }
  return all;
}

TEST_F(OrvOnPipeWire, TheServersDevicesAreListedWithTheirMonitors) {
  const auto devices = orvJson({"devices", "--hardware", "pipewire"});
  EXPECT_EQ(devices.size(), 9U);
  EXPECT_EQ(uids(devices).count("orv-sink-a"), 1U);
  EXPECT_EQ(uids(devices).count("orv-sink-a.monitor"), 1U);
}

TEST_F(OrvOnPipeWire, AutoUsesTheServerThatIsThere) {
  EXPECT_EQ(uids(orvJson({"devices", "--hardware", "auto"})).count("orv-duplex"), 1U);
}

TEST_F(OrvOnPipeWire, OptionsForVirtualHardwareMeanItAllTheSame) {
  const TemporaryDirectory scratch;
  const auto devices = orvJson({"devices", "--hardware", "auto", "--virtual-output", scratch / "out.wav"});
  EXPECT_EQ(uids(devices).count("orv-duplex"), 0U);
}

TEST_F(OrvOnPipeWire, TheReportsOfAllDevicesArePrinted) {
  const auto reports = runOrv({"devices", "--hardware", "pipewire", "--verbose"});
  EXPECT_EQ(reports.status, 0);
  EXPECT_NE(reports.output.find("Monitor of Sink 5.1"), std::string::npos);
}

TEST_F(OrvOnPipeWire, AMonitorIsMetered) {
  const auto result =
      runOrv({"meter", "--hardware", "pipewire", "--device", "orv-sink-a.monitor", "--seconds", "0.2", "--json"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_NE(result.output, "");
}

}  // namespace
}  // namespace orv::test
