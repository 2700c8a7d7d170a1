#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "OrvProgram.h"

namespace orv::test {
namespace {

/// Runs on a machine without a sound server.
class OrvHardware : public testing::Test {
 protected:
  OrvHardware() { setenv("PIPEWIRE_RUNTIME_DIR", empty_.path().c_str(), 1); }

 private:
  const TemporaryDirectory empty_;
};

TEST_F(OrvHardware, WithoutAServerAutoIsVirtualAndOneLineSaysSo) {
  const auto result = runOrv({"devices", "--hardware", "auto", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(nlohmann::json::parse(result.output).size(), 3U);
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_NE(result.errors.find("virtual"), std::string::npos) << result.errors;
}

TEST_F(OrvHardware, VirtualSaysNothing) {
  const auto result = runOrv({"devices", "--hardware", "virtual"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
}

TEST_F(OrvHardware, OptionsForVirtualHardwareMeanItUnderAuto) {
  const TemporaryDirectory scratch;
  const auto result = runOrv({"devices", "--hardware", "auto", "--virtual-output", scratch / "out.wav"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
}

TEST_F(OrvHardware, AMissingServerIsOneLine) {
  expectFailure(runOrv({"devices", "--hardware", "pipewire"}), {"PipeWire"});
}

TEST_F(OrvHardware, OptionsForVirtualHardwareDoNotGoWithAServer) {
  expectFailure(runOrv({"devices", "--hardware", "pipewire", "--virtual-output", "out.wav"}), {"--virtual-output"});
}

}  // namespace
}  // namespace orv::test
