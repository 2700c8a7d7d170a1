// A process that is killed between any two writes, or within a long one, leaves a file that opens with all its audio
// and all chunks of others. Its tracks are the old ones, the new ones, or none; never a mixture.
#include <OrvCoreAudio/OrvAIFFUtility.h>

#include "TracksInMemory.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

const Bytes kName = bigChunk("NAME", text("odd"));

struct Scenario {
  const char* name;
  Bytes before;
  std::string newName;
  std::optional<std::uint32_t> blockSize;
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  return out << scenario.name;
}

/// A chunk with tracks, as our own writer makes it.
const Bytes& oldTracks() {
  static const Bytes chunk = [] {
    InstalledMemoryFiles scratch;
    scratch->put("f", plainAIFF());
    storeName("f", "Old");
    return bigChunk("APPL", ownChunks(scratch->file("f")).at(0));
  }();
  return chunk;
}

std::vector<Scenario> scenarios() {
  const Bytes common = commonChunk(2, 100, 16);
  const Bytes sound = soundChunk(shortAudio());
  const Bytes later = ownChunk(3, bigEndian(300, 4) + audioBytes(300));
  const std::string longName(140'000, 'L');
  return {
      {"Append", aiff(common + sound), "New", {}},
      {"AppendBehindAnOddChunk", aiff(common + sound + bigChunk("NAME", text("odd"), Padding::forgotten)), "New", {}},
      {"InPlace", aiff(common + sound + oldTracks() + kName), "New", {}},
      {"InPlaceBeforeTheSound", aiff(oldTracks() + kName + common + sound), "New", {}},
      {"Growing", aiff(common + kName + sound + oldTracks()), longName, {}},
      {"Moving", aiff(common + sound + oldTracks() + kName), longName, {}},
      {"MovingFromBeforeTheSound", aiff(oldTracks() + kName + common + sound), longName, {}},
      {"Duplicates", aiff(oldTracks() + common + oldTracks() + sound + oldTracks() + kName), "New", {}},
      {"LaterVersionInTheWay", aiff(common + later + sound + kName), "New", {}},
      {"Block", aiff(common + sound + oldTracks() + kName), "New", 4096},
      {"CutShort", aiff(common + sound + kName + Bytes(oldTracks().begin(), oldTracks().begin() + 5001)), "New", {}},
  };
}

class TracksCrash : public ::testing::TestWithParam<Scenario> {
 protected:
  template <typename Check>
  void forEveryState(const Check& check) {
    files_->put("f", GetParam().before);
    bool isInside = false;
    int states = 0;
    files_->disk().onChange = [&](const Bytes& state) {
      if (isInside) {
        return;
      }
      ++states;
      isInside = true;
      SCOPED_TRACE("state " + std::to_string(states));
      check(Bytes(state));
      isInside = false;
    };
    const auto writer = GetParam().blockSize ? inFileWithBlock("f", *GetParam().blockSize) : inFile("f");
    writer->addTrackInfo(track(GetParam().newName));
    ASSERT_TRUE(writer->writeTrackInfosToFile()) << writer->lastProblem();
    files_->disk().onChange = nullptr;
    EXPECT_GE(states, 3);
  }

  /// Chunks of others that the file had: no state may miss one.
  static void expectOthers(const Bytes& state) {
    if (chunksOf(GetParam().before, "NAME") > 0) {
      EXPECT_EQ(chunksOf(state, "NAME"), 1);
    }
  }

  /// Counts chunks, walking as far as the chain leads.
  static int chunksOf(const Bytes& file, std::string_view id) {
    int count = 0;
    for (std::size_t at = 12; at + 8 <= file.size();) {
      count += std::equal(id.begin(), id.end(), file.begin() + static_cast<std::ptrdiff_t>(at)) ? 1 : 0;
      const std::size_t size = bigNumber(file, at + 4);
      at += 8 + size + size % 2;
    }
    return count;
  }

  InstalledMemoryFiles files_;
};

TEST_P(TracksCrash, EveryStateOpensWithItsAudioAndTheChunksOfOthers) {
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    EXPECT_EQ(audioOf("state"), shortAudio());
    expectOthers(state);
  });
}

TEST_P(TracksCrash, LibsndfileReadsTheSameFramesInEveryState) {
  const TemporaryDirectory folder;
  std::optional<std::vector<std::int32_t>> first;
  forEveryState([&](const Bytes& state) {
    writeBytesToFile(folder / "state", state);
    const auto reading = readIndependently(folder / "state");
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->frames, 100);
    if (!first) {
      first = reading->ints;
    }
    EXPECT_EQ(reading->ints, *first);
  });
}

TEST_P(TracksCrash, TracksAreTheOldOnesTheNewOnesOrNone) {
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    const auto reader = inFile("state");
    if (reader->loadTracks()) {
      ASSERT_EQ(reader->trackInfos()->size(), 1U);
      const auto name = reader->trackInfos()->front()->trackName();
      EXPECT_TRUE(name == "Old" || name == GetParam().newName);
    }
  });
}

TEST_P(TracksCrash, EveryStateCanBeRepairedAndWrittenAgain) {
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    OrvAIFFUtility::repairFileAtPath("state");
    ASSERT_TRUE(storeName("state", "Again"));
    EXPECT_EQ(namesIn("state"), "Again\n");
    EXPECT_EQ(audioOf("state"), shortAudio());
    expectOthers(files_->file("state"));
  });
}

TEST_P(TracksCrash, EveryStateCanBeContinuedAsARecording) {
  const Bytes more = audioBytes(40'000, 9);
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    const Opened file = openForUpdate("state");
    ASSERT_EQ(file.status, noErr) << file.problem;
    append(*file.session, more);
    ASSERT_EQ(file.session->close(), noErr);
    EXPECT_EQ(audioOf("state"), shortAudio() + more);
    expectOthers(files_->file("state"));
  });
}

INSTANTIATE_TEST_SUITE_P(Everywhere, TracksCrash, ::testing::ValuesIn(scenarios()),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace orv::test
