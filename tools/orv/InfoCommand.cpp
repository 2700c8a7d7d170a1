#include <CLI/CLI.hpp>
#include <memory>

#include "Commands.h"
#include "Json.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Status.h"
#include "SourceFile.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

struct InfoOptions {
  std::string path;
  bool json = false;
};

std::string infoAsJson(const SourceFile& source) {
  OrvAudioFile& file = *source.file;
  JsonWriter json;
  json.beginObject();
  json.key("path").value(source.path);
  json.key("type").value(fourCCText(file.fileType()));
  json.key("formatID").value(fourCCText(file.formatID()));
  json.key("sampleRate").value(file.sampleRate());
  json.key("channels").value(file.channelsPerFrame());
  json.key("bitsPerChannel").value(file.bitsPerChannel());
  json.key("bytesPerFrame").value(file.bytesPerFrame());
  json.key("formatFlags").value(file.formatFlags());
  json.key("lengthInFrames").value(source.lengthInFrames);
  json.key("lengthInBytes").value(source.lengthInBytes);
  json.key("lengthInMilliSeconds").value(file.lengthInMilliSeconds());
  json.key("description").value(file.fileStreamFormat()->description());
  json.endObject();
  return json.text() + "\n";
}

std::string infoAsText(const SourceFile& source) {
  const OrvAudioFile& file = *source.file;
  const OrvAudioStreamBasicDescription& format = *file.fileStreamFormat();
  const char* kind = format.isFloat() ? "float" : format.isSignedInteger() ? "signed integer" : "unsigned integer";
  std::string text = printable(source.path) + "\n";
  text += "  Type      " + fourCCText(file.fileType()) + ", " + format.formatIDName() + "\n";
  text += "  Format    " + format.description() + "\n";
  text += formatText("  Samples   %s, %s, %u bytes a frame\n", kind,
                     format.isBigEndian() ? "big-endian" : "little-endian", file.bytesPerFrame());
  text += "  Rate      " + exactNumber(file.sampleRate()) + " Hz\n";
  text += formatText("  Channels  %u\n", file.channelsPerFrame());
  text += "  Length    " + timeText(source.seconds(source.lengthInFrames)) +
          formatText(", %llu frames, %llu bytes\n", static_cast<unsigned long long>(source.lengthInFrames),
                     static_cast<unsigned long long>(source.lengthInBytes));
  return text;
}

}  // namespace

void addInfoCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("info", "Tell what a recording is");
  command->fallthrough();
  command->footer("Example:\n  orv info side-a.aiff --json");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  command->add_flag("--json", options->json, "Answer in JSON");
  command->callback([options, action] {
    *action = [options] {
      const SourceFile source = openSource(options->path);
      print(options->json ? infoAsJson(source) : infoAsText(source));
    };
  });
}

}  // namespace orv::cli
