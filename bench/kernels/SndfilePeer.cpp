#include <sndfile.h>

#include <algorithm>
#include <cstring>

#include "kernels/SamplePeer.h"

namespace orv::bench {
namespace {

using simd::SampleContainer;
using simd::SampleLayout;
using simd::SampleOrder;

int formatFor(const SampleLayout& layout) {
  const bool isFull = isFloat(layout.container) || layout.bits == 8 * simd::bytesOf(layout.container);
  if (!isFull || (layout.isUnsigned && layout.container != SampleContainer::int8)) {
    return 0;
  }
  const int order = layout.order == SampleOrder::swapped ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE;
  switch (layout.container) {
    case SampleContainer::int8:
      return SF_FORMAT_RAW | (layout.isUnsigned ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8);
    case SampleContainer::int16:
      return SF_FORMAT_RAW | SF_FORMAT_PCM_16 | order;
    case SampleContainer::int24:
      return SF_FORMAT_RAW | SF_FORMAT_PCM_24 | order;
    case SampleContainer::int32:
      return SF_FORMAT_RAW | SF_FORMAT_PCM_32 | order;
    case SampleContainer::float32:
      return SF_FORMAT_RAW | SF_FORMAT_FLOAT | order;
    case SampleContainer::float64:
      return SF_FORMAT_RAW | SF_FORMAT_DOUBLE | order;
  }
  return 0;
}

/// A file that is a block of memory.
struct MemoryFile {
  std::vector<std::uint8_t> bytes;
  sf_count_t position = 0;
  SNDFILE* handle = nullptr;

  MemoryFile(std::vector<std::uint8_t> content, int format, int mode) : bytes(std::move(content)) {
    SF_VIRTUAL_IO io = {&length, &seek, &read, &write, &tell};
    SF_INFO info = {};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = format;
    handle = sf_open_virtual(&io, mode, &info, this);
    if (handle == nullptr) {
      fail("libsndfile refuses the format");
    }
    // Saturation, as ours has it.
    sf_command(handle, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { sf_close(handle); }

  static MemoryFile* self(void* user) { return static_cast<MemoryFile*>(user); }
  static sf_count_t length(void* user) { return static_cast<sf_count_t>(self(user)->bytes.size()); }
  static sf_count_t tell(void* user) { return self(user)->position; }
  static sf_count_t seek(sf_count_t offset, int whence, void* user) {
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? tell(user) : length(user);
    return self(user)->position = base + offset;
  }
  static sf_count_t read(void* to, sf_count_t count, void* user) {
    const sf_count_t now = std::clamp<sf_count_t>(length(user) - tell(user), 0, count);
    std::memcpy(to, self(user)->bytes.data() + tell(user), static_cast<std::size_t>(now));
    self(user)->position += now;
    return now;
  }
  static sf_count_t write(const void* from, sf_count_t count, void* user) {
    const sf_count_t now = std::clamp<sf_count_t>(length(user) - tell(user), 0, count);
    std::memcpy(self(user)->bytes.data() + tell(user), from, static_cast<std::size_t>(now));
    self(user)->position += now;
    return now;
  }
};

sf_count_t readNative(MemoryFile& file, SampleContainer container, void* to, sf_count_t count) {
  switch (container) {
    case SampleContainer::int16:
      return sf_read_short(file.handle, static_cast<short*>(to), count);
    case SampleContainer::int32:
      return sf_read_int(file.handle, static_cast<int*>(to), count);
    case SampleContainer::float32:
      return sf_read_float(file.handle, static_cast<float*>(to), count);
    default:
      return sf_read_double(file.handle, static_cast<double*>(to), count);
  }
}

sf_count_t writeNative(MemoryFile& file, SampleContainer container, const void* from, sf_count_t count) {
  switch (container) {
    case SampleContainer::int16:
      return sf_write_short(file.handle, static_cast<const short*>(from), count);
    case SampleContainer::int32:
      return sf_write_int(file.handle, static_cast<const int*>(from), count);
    case SampleContainer::float32:
      return sf_write_float(file.handle, static_cast<const float*>(from), count);
    default:
      return sf_write_double(file.handle, static_cast<const double*>(from), count);
  }
}

void require(sf_count_t done, sf_count_t count) {
  if (done != count) {
    fail("libsndfile converts another number of samples");
  }
}

}  // namespace

PeerRun sndfileRun(const Conversion& conversion) {
  const auto count = static_cast<sf_count_t>(conversion.count);
  const bool canRead = isNative(conversion.to) && conversion.to.container != SampleContainer::int8;
  if (const int format = formatFor(conversion.from); format != 0 && canRead) {
    const auto file = std::make_shared<MemoryFile>(conversion.input, format, SFM_READ);
    const auto output = std::make_shared<std::vector<std::uint8_t>>(conversion.outputBytes());
    return [file, output, count, container = conversion.to.container] {
      sf_seek(file->handle, 0, SEEK_SET);
      require(readNative(*file, container, output->data(), count), count);
    };
  }
  const bool canWrite = isNative(conversion.from) && conversion.from.container != SampleContainer::int8;
  if (const int format = formatFor(conversion.to); format != 0 && canWrite) {
    const auto file =
        std::make_shared<MemoryFile>(std::vector<std::uint8_t>(conversion.outputBytes()), format, SFM_WRITE);
    return [file, count, &conversion] {
      sf_seek(file->handle, 0, SEEK_SET);
      require(writeNative(*file, conversion.from.container, conversion.input.data(), count), count);
    };
  }
  return {};
}

}  // namespace orv::bench
