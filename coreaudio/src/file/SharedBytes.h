#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SANITIZE_THREAD__)
#define ORV_COPIES_ARE_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORV_COPIES_ARE_WATCHED 1
#endif
#endif

/// Copies to and from memory that one thread may write while others read it. What a reader gets is then a mixture, and
/// it is up to the reader to find out and throw it away; but every byte is an old or a new one, and a thread that got a
/// new byte also sees whatever the writer wrote before it. That is: each byte as if stored with release and loaded with
/// acquire order. `memcpy` promises none of this.
namespace orv::shared {

#if defined(__x86_64__) && !defined(ORV_COPIES_ARE_WATCHED)

// The machine keeps loads in order and stores in order, and no byte ever tears. What is left is to keep the compiler
// from knowing better: it can't tell that what it calls through these pointers are the functions of that name, only
// that they may do anything to memory.
inline void* (*volatile const copy)(void*, const void*, std::size_t) = &std::memcpy;
inline void* (*volatile const fill)(void*, int, std::size_t) = &std::memset;

inline void store(std::byte* shared, const std::byte* from, std::size_t count) {
  if (count > 0) {
    copy(shared, from, count);
  }
}
inline void load(std::byte* to, const std::byte* shared, std::size_t count) {
  if (count > 0) {
    copy(to, shared, count);
  }
}
inline void storeZeros(std::byte* shared, std::size_t count) {
  if (count > 0) {
    fill(shared, 0, count);
  }
}

#else

inline constexpr std::size_t kWordBytes = sizeof(std::uint64_t);

/// Calls `each(offset, width)` for the pieces of [shared, shared + count): words where they are aligned, else bytes.
template <class Each>
void forEachPiece(const std::byte* shared, std::size_t count, Each each) {
  for (std::size_t at = 0; at < count;) {
    const bool isAligned = reinterpret_cast<std::uintptr_t>(shared + at) % kWordBytes == 0;
    const std::size_t width = isAligned && count - at >= kWordBytes ? kWordBytes : 1;
    each(at, width);
    at += width;
  }
}

template <class Piece>
void storePiece(std::byte* shared, const std::byte* from) {
  Piece piece = 0;
  std::memcpy(&piece, from, sizeof piece);
  std::atomic_ref<Piece>(*reinterpret_cast<Piece*>(shared)).store(piece, std::memory_order_release);
}

template <class Piece>
void loadPiece(std::byte* to, const std::byte* shared) {
  auto& place = *reinterpret_cast<Piece*>(const_cast<std::byte*>(shared));
  const Piece piece = std::atomic_ref<Piece>(place).load(std::memory_order_acquire);
  std::memcpy(to, &piece, sizeof piece);
}

inline void store(std::byte* shared, const std::byte* from, std::size_t count) {
  forEachPiece(shared, count, [&](std::size_t at, std::size_t width) {
    width == 1 ? storePiece<std::uint8_t>(shared + at, from + at) : storePiece<std::uint64_t>(shared + at, from + at);
  });
}
inline void load(std::byte* to, const std::byte* shared, std::size_t count) {
  forEachPiece(shared, count, [&](std::size_t at, std::size_t width) {
    width == 1 ? loadPiece<std::uint8_t>(to + at, shared + at) : loadPiece<std::uint64_t>(to + at, shared + at);
  });
}
inline void storeZeros(std::byte* shared, std::size_t count) {
  constexpr std::byte kZeros[kWordBytes] = {};
  forEachPiece(shared, count, [&](std::size_t at, std::size_t width) {
    width == 1 ? storePiece<std::uint8_t>(shared + at, kZeros) : storePiece<std::uint64_t>(shared + at, kZeros);
  });
}

#endif

}  // namespace orv::shared
