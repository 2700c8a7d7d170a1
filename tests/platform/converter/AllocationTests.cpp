#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "platform/converter/ConverterTestSupport.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORV_HEAP_IS_TAKEN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORV_HEAP_IS_TAKEN 1
#endif
#endif

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

#ifndef ORV_HEAP_IS_TAKEN

// Every allocation of the process goes through here, soxr's as well: the C library's own functions, counted.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  ++allocations;
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  ++allocations;
  *block = __libc_memalign(alignment, size);
  return *block == nullptr ? 12 : 0;
}
}

#endif

namespace orv::test {
namespace {

class Allocations : public testing::Test {
 protected:
  void SetUp() override {
#ifdef ORV_HEAP_IS_TAKEN
    GTEST_SKIP() << "a sanitizer owns the heap";
#endif
  }

  /// Allocations in 200 conversions of `frames` frames, after as many others.
  static std::size_t inSteadyState(const AudioStreamBasicDescription& source,
                                   const AudioStreamBasicDescription& destination, std::uint32_t frames) {
    const auto converter = converterBetween(source, destination);
    const std::uint32_t inputSize = frames * source.mBytesPerPacket / source.mFramesPerPacket;
    const Bytes input(inputSize);
    Bytes output(property(*converter, kAudioConverterPropertyCalculateOutputBufferSize, inputSize));
    const auto convertOften = [&] {
      for (int i = 0; i < 200; ++i) {
        auto size = static_cast<std::uint32_t>(output.size());
        EXPECT_EQ(converter->convert(input.data(), inputSize, output.data(), &size), noErr);
      }
    };
    convertOften();
    const std::size_t before = allocations;
    convertOften();
    return allocations - before;
  }
};

TEST_F(Allocations, AreCountedHere) {
  const std::size_t before = allocations;
  // Through a volatile pointer, or the compiler leaves the allocation out.
  void* (*volatile const allocate)(std::size_t) = std::malloc;
  std::free(allocate(1000));
  EXPECT_GT(allocations, before);
}

TEST_F(Allocations, AreNotMadeByConversionsOfTheSampleFormat) {
  EXPECT_EQ(inSteadyState(int16Format(44100, 2), floatFormat(44100, 2), 512), 0U);
  EXPECT_EQ(inSteadyState(compressed(kAudioFormatIMA4, 44100, 2), floatFormat(44100, 2), 512), 0U);
}

TEST_F(Allocations, AreNotMadeByChannelMapping) {
  EXPECT_EQ(inSteadyState(int16Format(44100, 1), floatFormat(44100, 2), 5000), 0U);
}

TEST_F(Allocations, AreNotMadeByResamplingOnceABlockOfTheSizeWasSeen) {
  EXPECT_EQ(inSteadyState(int16Format(44100, 2), floatFormat(48000, 2), 512), 0U);
  EXPECT_EQ(inSteadyState(int16Format(48000, 1), floatFormat(44100, 2), 4096), 0U);
}

}  // namespace
}  // namespace orv::test
