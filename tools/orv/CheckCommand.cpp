#include <CLI/CLI.hpp>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Failure.h"
#include "Json.h"
#include "OrvCoreAudio/OrvAIFFUtility.h"
#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "SourceFile.h"
#include "Text.h"

namespace orv::cli {
namespace {

struct CheckOptions {
  std::string path;
  bool repair = false;
  bool json = false;
};

// What the first bytes of a file say.
struct OuterChunk {
  std::string id;        // its first four bytes, as far as there are any
  std::string formType;  // "AIFF"
  std::uint32_t size = 0;
  std::uint64_t fileLength = 0;

  bool isForm() const { return id == "FORM"; }
  // The size that would be true, where 32 bits can tell it.
  std::optional<std::uint32_t> trueSize() const {
    constexpr std::uint64_t header = 8;
    const bool fits = fileLength >= header && fileLength - header <= 0xFFFFFFFF;
    return fits ? std::optional(static_cast<std::uint32_t>(fileLength - header)) : std::nullopt;
  }
};

OuterChunk readOuterChunk(const std::string& path) {
  std::unique_ptr<FileHandle> file;
  OSStatus status = fileManager()->open(path, FileAccess::read, &file);
  std::array<char, 12> bytes{};
  std::size_t count = 0;
  if (status == noErr) {
    status = file->readAt(0, bytes.data(), bytes.size(), &count);
  }
  if (status != noErr) {
    throw Failure(path, describeStatus(status));
  }
  OuterChunk chunk;
  chunk.id.assign(bytes.data(), std::min<std::size_t>(count, 4));
  for (std::size_t i = 4; i < 8; ++i) {
    chunk.size = chunk.size << 8 | static_cast<unsigned char>(bytes[i]);
  }
  chunk.formType.assign(bytes.data() + 8, count > 8 ? count - 8 : 0);
  chunk.fileLength = static_cast<std::uint64_t>(std::max<std::int64_t>(file->size(), 0));
  return chunk;
}

// What a file without FORM is instead.
std::string kindOf(const std::string& path, const OuterChunk& chunk) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  if (file->open()) {
    return "a recording of type " + printable(fourCCText(file->fileType()));
  }
  if (chunk.fileLength == 0) {
    return "empty";
  }
  return chunk.id == "RIFF" || chunk.id == "RF64" ? "a file that begins with " + chunk.id : "no recording";
}

struct Finding {
  std::uint32_t code = OrvAIFFUtility::kIsNoForm;
  OuterChunk before;
  OuterChunk after;
  std::string kind;  // of a file without FORM

  bool isRight() const { return code == OrvAIFFUtility::kIsValid || code == OrvAIFFUtility::kIsRepaired; }
};

Finding check(const CheckOptions& options) {
  Finding finding;
  finding.before = readOuterChunk(options.path);
  finding.after = finding.before;
  if (!finding.before.isForm()) {
    finding.kind = kindOf(options.path, finding.before);
    return finding;
  }
  if (OrvAIFFUtility::validateFileAtPath(options.path)) {
    finding.code = OrvAIFFUtility::kIsValid;
    return finding;
  }
  finding.code = OrvAIFFUtility::kSizeIsWrong;
  if (!options.repair) {
    return finding;
  }
  std::unique_ptr<FileHandle> file;
  if (const OSStatus status = fileManager()->open(options.path, FileAccess::readWrite, &file); status != noErr) {
    throw Failure(options.path, "can't be repaired: " + describeStatus(status));
  }
  file.reset();
  finding.code = OrvAIFFUtility::repairFileAtPath(options.path);
  finding.after = readOuterChunk(options.path);
  return finding;
}

std::string meaningOf(const Finding& finding) {
  switch (finding.code) {
    case OrvAIFFUtility::kSizeIsWrong:
      return "the FORM size does not match the file's length";
    case OrvAIFFUtility::kIsValid:
      return "the FORM size matches the file's length";
    case OrvAIFFUtility::kIsRepaired:
      return "the FORM size did not match the file's length and was rewritten";
    default:
      return "does not begin with FORM: it is " + finding.kind;
  }
}

// Of an odd size, the repair takes its last bit for a pad byte that is still to come.
std::string noteOf(const Finding& finding) {
  if (finding.code != OrvAIFFUtility::kIsRepaired || finding.after.size == finding.after.trueSize()) {
    return "";
  }
  return formatText(
      "  Note       the old size was odd, so the new one counts a pad byte that the file lacks: %u bytes "
      "are there\n",
      finding.after.trueSize().value_or(0));
}

std::string asText(const CheckOptions& options, const Finding& finding) {
  std::string text = printable(options.path) + "\n";
  if (finding.before.isForm()) {
    text += "  Type       FORM, " + printable(finding.before.formType) + "\n";
    text += formatText("  FORM size  %u", finding.before.size);
    if (finding.code == OrvAIFFUtility::kIsRepaired) {
      text += formatText(", now %u", finding.after.size);
    }
    text += "\n";
  }
  text += formatText("  Length     %llu bytes\n", static_cast<unsigned long long>(finding.before.fileLength));
  text += formatText("  Result     %u: ", finding.code) + meaningOf(finding) + "\n";
  return text + noteOf(finding);
}

std::string asJson(const CheckOptions& options, const Finding& finding) {
  JsonWriter json;
  json.beginObject();
  json.key("path").value(options.path);
  json.key("code").value(finding.code);
  json.key("valid").value(finding.code == OrvAIFFUtility::kIsValid);
  json.key("repaired").value(finding.code == OrvAIFFUtility::kIsRepaired);
  json.key("formSize");
  if (finding.after.isForm()) {
    json.value(finding.after.size);
  } else {
    json.null();
  }
  json.key("lengthInBytes").value(finding.after.fileLength);
  json.endObject();
  return json.text() + "\n";
}

std::string complaintAbout(const CheckOptions& options, const Finding& finding) {
  if (finding.code == OrvAIFFUtility::kIsNoForm) {
    return meaningOf(finding) + "; only AIFF and AIFC files can be checked";
  }
  const std::optional<std::uint32_t> trueSize = finding.before.trueSize();
  if (!trueSize) {
    return "is longer than a FORM can be, whose size has 32 bits";
  }
  return formatText("the FORM size is %u where %u would be true; ", finding.before.size, *trueSize) +
         (options.repair ? "it could not be rewritten" : "--repair rewrites it");
}

void checkFile(const CheckOptions& options) {
  refuseWhatIsNoFile(options.path);
  const Finding finding = check(options);
  print(options.json ? asJson(options, finding) : asText(options, finding));
  if (!finding.isRight()) {
    throw Failure(options.path, complaintAbout(options, finding));
  }
}

constexpr const char* kHelpFooter =
    "An AIFF or AIFC file is one chunk named FORM, which says how long it is. A recording that was cut off says it\n"
    "wrongly; other programs may then refuse it, and tracks can't be stored in it.\n"
    "Results: 1 the size is right, 0 it is not, 2 it was not and has been rewritten, 4 the file does not begin with\n"
    "FORM. The exit status is 0 for 1 and 2.\n"
    "Example:\n"
    "  orv check side-a.aiff\n"
    "  orv check side-a.aiff --repair";

}  // namespace

void addCheckCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("check", "Check the outer size of an AIFF file, and repair it");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<CheckOptions>();
  command->add_option("FILE", options->path, "The file")->required()->type_name("");
  command->add_flag("--repair", options->repair, "Rewrite a size that is wrong; nothing else changes");
  command->add_flag("--json", options->json, "Answer in JSON");
  command->callback([options, action] { *action = [options] { checkFile(*options); }; });
}

}  // namespace orv::cli
