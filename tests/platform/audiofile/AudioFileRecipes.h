#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "MemoryFiles.h"
#include "OrvPlatform/AudioFile.h"

/// Audio files put together by hand, independent of the code under test, and short ways to open, fill and check files.
namespace orv::test {

// -- Numbers and chunks --------------------------------------------------------------------------------------------

Bytes bigEndian(std::uint64_t value, int bytes);
Bytes littleEndian(std::uint64_t value, int bytes);
Bytes text(std::string_view characters);
Bytes operator+(Bytes first, const Bytes& second);

/// What stands behind a chunk of odd size.
enum class Padding { asRequired, forgotten };

Bytes bigChunk(std::string_view id, const Bytes& body, Padding padding = Padding::asRequired);
Bytes littleChunk(std::string_view id, const Bytes& body, Padding padding = Padding::asRequired);
/// FORM of the type with these chunks.
Bytes form(std::string_view type, const Bytes& chunks);
/// RIFF of type WAVE with these chunks.
Bytes riff(const Bytes& chunks);

/// 44,100 as an 80-bit float.
Bytes rate44100();
Bytes commonChunk(std::uint32_t channels, std::uint32_t frames, std::uint32_t bits, const Bytes& rate = rate44100());
Bytes commonChunkAIFC(std::uint32_t channels, std::uint32_t frames, std::uint32_t bits, std::string_view code);
Bytes soundChunk(const Bytes& audio, std::uint32_t offset = 0, std::uint32_t blockSize = 0,
                 Padding padding = Padding::asRequired);
/// fmt of plain integers.
Bytes formatChunk(std::uint32_t channels, std::uint32_t bits, std::uint32_t rate = 44100);
/// fmt chunk's body of any tag.
Bytes formatBody(std::uint32_t tag, std::uint32_t channels, std::uint32_t rate, std::uint32_t blockAlign,
                 std::uint32_t bits);

/// Bytes that differ from their neighbours and from one `seed` to the next, and never spell a chunk's code.
Bytes audioBytes(std::size_t count, unsigned seed = 1);

// -- Formats -------------------------------------------------------------------------------------------------------

AudioStreamBasicDescription signedBig(std::uint32_t bits, std::uint32_t channels = 2, double rate = 44100);
AudioStreamBasicDescription signedLittle(std::uint32_t bits, std::uint32_t channels = 2, double rate = 44100);
AudioStreamBasicDescription unsignedBytes(std::uint32_t channels = 2, double rate = 44100);
AudioStreamBasicDescription floatBig(std::uint32_t bits, std::uint32_t channels = 2, double rate = 44100);
AudioStreamBasicDescription floatLittle(std::uint32_t bits, std::uint32_t channels = 2, double rate = 44100);

/// Whether two descriptions are the same in every field.
bool isSameFormat(const AudioStreamBasicDescription& a, const AudioStreamBasicDescription& b);

// -- Files through the service -------------------------------------------------------------------------------------

struct Opened {
  OSStatus status = noErr;
  std::unique_ptr<AudioFileSession> session;
  std::string problem;  ///< the problem line, when it could not be opened
};

Opened openForReading(const std::string& path);
Opened openForUpdate(const std::string& path);
Opened create(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format);

/// All audio of the session.
Bytes audioOf(AudioFileSession& session);
/// All audio of a file; fails the test when it can't be opened.
Bytes audioOf(const std::string& path);
/// Appends; fails the test when not all is taken.
void append(AudioFileSession& session, const Bytes& audio);

/// Makes a file of that audio and closes it; fails the test when that doesn't work.
void writeAudioFile(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                    const Bytes& audio);

/// Bodies of the chunks of a FORM or RIFF that are named `id`, walked strictly by their sizes and pad bytes. Fails the
/// test where the walk does not end at the end of the outermost chunk.
std::vector<Bytes> chunksNamed(const Bytes& file, std::string_view id);

Bytes bytesOfFile(const std::string& path);
void writeBytesToFile(const std::string& path, const Bytes& bytes);

}  // namespace orv::test
