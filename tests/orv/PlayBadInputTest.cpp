#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "PlayFixture.h"

namespace orv::test {
namespace {

class OrvPlayBadInput : public PlayFixture {
 protected:
  void SetUp() override {
    writeRecording(path, noise(44100, 2, 44100));
    describe(44100, 2);
  }

  void expectRefused(const std::vector<std::string>& arguments, const std::vector<std::string>& fragments) const {
    expectFailure(runOrv(command(arguments)), fragments);
  }

  const std::string path = scratch / "music.aiff";
};

}  // namespace

TEST_F(OrvPlayBadInput, AFileThatIsNotThereOrNoAudioIsRefused) {
  writeWholeFile(scratch / "notes.txt", "no audio");
  expectRefused({scratch / "nothing.aiff"}, {"nothing.aiff", "no such file"});
  expectRefused({scratch.path()}, {"is a directory"});
  expectRefused({scratch / "notes.txt"}, {"notes.txt"});
}

TEST_F(OrvPlayBadInput, AFileWithoutFramesIsRefused) {
  writeRecording(scratch / "empty.aiff", {44100, 2, {}});
  expectRefused({scratch / "empty.aiff"}, {"empty.aiff", "holds no audio"});
}

TEST_F(OrvPlayBadInput, ARangeThatIsReversedEmptyOrPastTheEndIsRefused) {
  expectRefused({path, "--from", "200", "--to", "100"}, {"frames 200 to 100", "ends before it begins"});
  expectRefused({path, "--from", "100", "--to", "100"}, {"empty"});
  expectRefused({path, "--to", "44101"}, {"ends at frame 44100"});
  expectRefused({path, "--from", "1:00"}, {"ends at frame 44100"});
  expectRefused({path, "--from", "999999999s"}, {"ends at frame 44100"});
}

TEST_F(OrvPlayBadInput, ATrackThatIsNotThereIsRefused) {
  expectRefused({path, "--track", "1"}, {"music.aiff", "has no tracks"});
  ASSERT_EQ(runOrv({"tracks", path, "--add", "One:100:20000"}).status, 0);
  expectRefused({path, "--track", "2"}, {"has no track 2: it has 1"});
  expectRefused({path, "--track", "1", "--to", "30000"}, {"track 1 ends at 0:00.451"});
  expectRefused({path, "--track", "1", "--from", "19900"}, {"track 1 ends at 0:00.451"});
  expectRefused({path, "--track", "1", "--from", "18446744073709551615"}, {"track 1 ends"});
}

TEST_F(OrvPlayBadInput, ADeviceThatIsNotThereIsRefused) {
  expectRefused({path, "--device", "gramophone"}, {"gramophone", "no such output", "orv devices"});
}

TEST_F(OrvPlayBadInput, WithoutAnyOutputThatIsSaid) {
  writeWholeFile(devices, R"({"devices": [{"uid": "mic", "input": {"streams": [{"channels": 1}]}}]})");
  const auto result = runOrv({"play", path, "--hardware", "virtual", "--virtual-devices", devices});
  expectFailure(result, {"no output device"});
}

TEST_F(OrvPlayBadInput, ARecordingOfMoreFramesThanCanBeCountedIsRefused) {
  const std::string longOne = scratch / "long.wav";
  writeLongSilence(longOne, 4'400'000'000);
  expectRefused({longOne}, {"too long to be played", "27:03:11", "orv export"});
  describe(96000, 2);
  writeLongSilence(longOne, 2'200'000'000);
  expectRefused({longOne, "--to", "1s"}, {"too long to be played"});
}

TEST_F(OrvPlayBadInput, NumbersOutOfReasonAreWrongUsage) {
  expectWrongUsage(runOrv({"play"}), {"FILE"});
  expectWrongUsage(runOrv({"play", path, "--track", "0"}), {"--track"});
  expectWrongUsage(runOrv({"play", path, "--track", "two"}), {"--track"});
  expectWrongUsage(runOrv({"play", path, "--gain-db", "loud"}), {"--gain-db"});
  expectWrongUsage(runOrv({"play", path, "--from", "soon"}), {"--from"});
}

TEST_F(OrvPlayBadInput, AnInterruptionEndsItAndSaysHowFarItCame) {
  writeLongSilence(scratch / "long.wav", 100'000'000);
  describe(44100, 2, "realTime");
  for (const int signal : {SIGINT, SIGTERM}) {
    RunningOrv orv(command({scratch / "long.wav"}));
    orv.awaitHandlerOf(signal);
    orv.send(signal);
    const ProcessResult result = orv.wait();
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors.rfind("orv: cancelled; played up to 0:0", 0), 0U) << result.errors;
  }
}

}  // namespace orv::test
