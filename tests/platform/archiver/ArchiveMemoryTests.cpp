// What reading an archive takes in memory, measured: the allocations of this program are counted.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "TestRecords.h"
#include "archiver/ArchiveFrame.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORV_HEAP_IS_TAKEN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORV_HEAP_IS_TAKEN 1
#endif
#endif

#ifndef ORV_HEAP_IS_TAKEN

namespace {

std::size_t inUse = 0;
std::size_t mostInUse = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  inUse += malloc_usable_size(block);
  mostInUse = std::max(mostInUse, inUse);
  return block;
}

void operator delete(void* block) noexcept {
  if (block != nullptr) {
    inUse -= malloc_usable_size(block);
    std::free(block);
  }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}

namespace orv::test {
namespace {

/// Most bytes in use at a time while the archive is read.
std::size_t memoryFor(const ArchiveBytes& bytes) {
  const std::size_t before = inUse;
  mostInUse = inUse;
  unarchive(bytes, testMakers(), nullptr);
  return mostInUse - before;
}

void expectBounded(const ArchiveBytes& bytes) {
  EXPECT_LE(memoryFor(bytes), 32 * bytes.size() + 8192) << "for " << bytes.size() << " bytes";
}

/// An array of as many of the items as it takes, in a frame that is as short as can be.
ArchiveBytes arrayOf(const ArchiveBytes& item) {
  constexpr std::size_t kCount = 100000;
  ArchiveBytes object{0x9A, 0, 0, 0, 0, 0};
  for (std::size_t i = 0; i < 4; ++i) {
    object[4 - i] = static_cast<std::uint8_t>((kCount + 1) >> (8 * i));
  }
  for (std::size_t i = 0; i < kCount; ++i) {
    object.insert(object.end(), item.begin(), item.end());
  }
  return archiver::makeFrame({ArchiveForm::sequential, object, 0}, {});
}

TEST(ArchiveMemory, ShortBytesThatStandForMuchTakeASmallMultipleOfTheirLength) {
  expectBounded(arrayOf({0xF6}));                                                               // nothing
  expectBounded(arrayOf({0x60}));                                                               // empty texts
  expectBounded(arrayOf({0xA0}));                                                               // empty dictionaries
  expectBounded(arrayOf({0x81, 0}));                                                            // empty arrays
  expectBounded(arrayOf({0x82, 2, 5}));                                                         // numbers
  expectBounded(arrayOf({0xA1, 0x60, 0xF6}));                                                   // short entries
  expectBounded(arrayOf({0x83, 7, 0x68, 'L', 'a', 'b', 'e', 'l', 'l', 'e', 'd', 0x60, 0xF6}));  // records
}

TEST(ArchiveMemory, TheSameHoldsForWhatTheArchiverWrote) {
  for (const ArchiveForm form : {ArchiveForm::sequential, ArchiveForm::keyed}) {
    for (const ArchiveValue& element :
         {ArchiveValue(), ArchiveValue(""), dictionary({}), list({}), ArchiveValue(5U), labelled("")}) {
      const ArchiveBytes bytes = archive(std::make_shared<ArchiveArray>(20000, element), form);
      EXPECT_TRUE(unarchive(bytes, testMakers(), nullptr));
      expectBounded(bytes);
    }
  }
}

TEST(ArchiveMemory, ClaimsAllocateNothing) {
  ArchiveBytes claim{0x9B, 0, 0, 0, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0};
  EXPECT_LT(memoryFor(archiver::makeFrame({ArchiveForm::sequential, claim, 0}, {})), 1024U);
  claim[0] = 0x7B;
  EXPECT_LT(memoryFor(archiver::makeFrame({ArchiveForm::sequential, claim, 0}, {})), 1024U);
}

}  // namespace
}  // namespace orv::test

#endif
