#include "TrackFuzzing.h"

#include <OrvCoreAudio/OrvAIFFUtility.h>
#include <OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "OrvPlatform/AudioFile.h"
#include "OrvPlatform/Log.h"
#include "Require.h"
#include "archiver/ArchiveFrame.h"

namespace orv::fuzz {
namespace {

using test::Bytes;
using ReaderWriter = OrvAudioFileTrackInfoReaderWriter;

constexpr FourCharCode kSignature = fourCC("Vorn");

template <typename Record>
RecordMaker makerOf() {
  return [](ArchiveDecoder& coder) -> std::shared_ptr<ArchiveRecord> { return Record::initWithCoder(coder); };
}

const RecordMakers& makers() {
  static const RecordMakers classes{{"OrvAudioTrackInfo", makerOf<OrvAudioTrackInfo>()},
                                    {"OrvAudioProcessingRangeInfo", makerOf<OrvAudioProcessingRangeInfo>()},
                                    {"OrvTrackAndProcessingInfo", makerOf<OrvTrackAndProcessingInfo>()}};
  return classes;
}

/// What was read can be written and read again, and then is the same.
void comesBack(const ArchiveValue& object) {
  for (const ArchiveForm form : {ArchiveForm::sequential, ArchiveForm::keyed}) {
    const ArchiveBytes first = archive(object, form);
    if (first.empty()) {
      require(form == ArchiveForm::keyed, "what was read is not too deep to be written, but for the deeper form");
      continue;
    }
    const auto again = unarchive(first, makers(), nullptr);
    require(again.has_value(), "what was written can be read");
    require(archive(*again, form) == first, "and is the same");
  }
}

/// Nothing where the service does not open the file.
std::optional<Bytes> audioOf(const char* path) {
  std::unique_ptr<AudioFileSession> session;
  if (audioFileService()->open(path, false, &session) != noErr) {
    return std::nullopt;
  }
  Bytes audio(static_cast<std::size_t>(session->dataByteCount()));
  auto count = static_cast<std::uint32_t>(audio.size());
  require(session->readBytes(0, &count, audio.data()) == noErr, "audio can be read");
  return audio;
}

class TracksExercise {
 public:
  TracksExercise(const Bytes& file, std::uint8_t script) : file_(file), script_(script) { files_->put("f", file); }

  void run() {
    const auto before = audioOf("f");
    const auto reader = ReaderWriter::initWithAudioFilePath_applSignature("f", kSignature);
    reader->loadTracks();
    require(files_->file("f") == file_, "reading writes nothing");
    const std::string name(std::size_t{script_} * 400, static_cast<char>(script_));
    const bool isStored = store(name);
    if (!isStored) {
      require(files_->file("f") == file_, "what is refused changes nothing");
      return;
    }
    const auto again = ReaderWriter::initWithAudioFilePath_applSignature("f", kSignature);
    require(again->loadTracks(), "what was stored can be loaded");
    require(again->trackInfos()->size() == 1 && again->trackInfos()->front()->trackName() == name, "and is the same");
    require(OrvAIFFUtility::validateFileAtPath("f"), "the FORM size is true");
    if (before) {
      expectAudio("f", *before);
      if (left_) {
        files_->put("left", *left_);
        expectAudio("left", *before);
      }
    }
    const std::size_t length = files_->file("f").size();
    require(store(name) && files_->file("f").size() == length, "a second write overwrites in place");
  }

 private:
  bool store(const std::string& name) {
    int killedAfter = script_ % 8;
    files_->disk().onChange = [&](const Bytes& state) {
      if (killedAfter-- == 0) {
        left_ = state;
      }
    };
    const auto writer = ReaderWriter::initWithAudioFilePath_applSignature("f", kSignature);
    writer->addTrackInfo(OrvAudioTrackInfo::initWithTrackName(name));
    const bool isStored = writer->storeTracks();
    files_->disk().onChange = nullptr;
    return isStored;
  }

  static void expectAudio(const char* path, const Bytes& before) {
    const auto audio = audioOf(path);
    require(audio.has_value(), "the file still opens");
    require(*audio == before, "its audio is what it was");
  }

  test::InstalledMemoryFiles files_;
  const Bytes& file_;
  const std::uint8_t script_;
  std::optional<Bytes> left_;
};

void silenceTheLog() {
  static const LogSink previous = setLogSink([](std::string_view /*line*/) {});
}

}  // namespace

void exerciseArchive(const Bytes& bytes) {
  silenceTheLog();
  std::string problem;
  if (const auto object = unarchive(bytes, makers(), &problem)) {
    comesBack(*object);
  } else {
    require(!problem.empty(), "a refusal has a problem");
  }
  // Behind a checksum that is right, where a fuzzer seldom gets by itself.
  for (const ArchiveForm form : {ArchiveForm::sequential, ArchiveForm::keyed}) {
    const ArchiveBytes framed = archiver::makeFrame({form, bytes, 0}, {});
    if (const auto object = unarchive(framed, makers(), &problem)) {
      comesBack(*object);
      const auto filled = archiveWithFiller(framed, Bytes(30), framed.size() + 100);
      require(filled && unarchive(*filled, makers(), nullptr).has_value(), "filler changes nothing");
    }
  }
}

void exerciseChunks(const Bytes& file, std::uint8_t script) {
  silenceTheLog();
  test::InstalledMemoryFiles memory;
  memory->put("f", file);
  std::unique_ptr<FileHandle> handle;
  require(fileManager()->open("f", FileAccess::readWrite, &handle) == noErr, "the file is there");
  const auto end = static_cast<std::uint32_t>(file.size());
  const std::uint32_t start = script < 128 ? 0 : script % 64;
  for (const char* id : {"SSND", "APPL", "\0\0\0\0"}) {
    const std::uint32_t at =
        OrvAIFFUtility::findOffsetForChunkId_inFile_startingAtOffset_endingOffset(id, *handle, start, end);
    require(at <= std::max(end, start), "offsets are in the file");
    require(at >= end || std::memcmp(file.data() + at, id, std::min<std::size_t>(4, end - at)) == 0, "it is the chunk");
  }
  std::uint32_t creator = 0;
  std::memcpy(&creator, "Vorn", 4);
  const std::uint32_t own =
      OrvAIFFUtility::findOffsetForApplicationChunkWithCreator_inFile_startingAtOffset_endingOffset(creator, *handle,
                                                                                                    start, end);
  require(own >= end || own + 12 > end || std::memcmp(file.data() + own + 8, "Vorn", 4) == 0, "it is ours");
  const std::uint32_t code = OrvAIFFUtility::checkFileAtPath_shouldRepair(*handle, false);
  require(code == 0 || code == 1 || code == 4, "the codes without repair");
  require(memory->file("f") == file, "a check changes nothing");
  const std::uint32_t repaired = OrvAIFFUtility::repairFileAtPath("f");
  require(repaired == (code == 0 ? 2U : code), "what is wrong is repaired");
  require(repaired == 2 || memory->file("f") == file, "nothing else is");
}

void exerciseTracks(const Bytes& file, std::uint8_t script) {
  silenceTheLog();
  TracksExercise(file, script).run();
}

}  // namespace orv::fuzz
