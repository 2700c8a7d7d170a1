#include <gtest/gtest.h>

#include "OrvPlatform/PipeWireHardware.h"

namespace orv::test {
namespace {

TEST(WithoutPipeWire, ConnectingSaysThatThisBuildHasNone) {
  std::string problem;
  EXPECT_EQ(connectToPipeWire(std::chrono::milliseconds(200), &problem), nullptr);
  EXPECT_EQ(problem, "this build has no PipeWire");
}

}  // namespace
}  // namespace orv::test
