#pragma once

#include <cstdint>

#include "OrvPlatform/Status.h"

/// Describes a stream of audio. For linear PCM one packet is one frame, and `mBytesPerFrame` covers all channels
/// of an interleaved frame.
struct AudioStreamBasicDescription {
  double mSampleRate;               ///< frames per second
  std::uint32_t mFormatID;          ///< four-character code of the coding, `kAudioFormatLinearPCM` for plain samples
  std::uint32_t mFormatFlags;       ///< `kAudioFormatFlag…` bits
  std::uint32_t mBytesPerPacket;    ///< bytes in one packet
  std::uint32_t mFramesPerPacket;   ///< frames in one packet, 1 for linear PCM
  std::uint32_t mBytesPerFrame;     ///< bytes in one frame, all channels
  std::uint32_t mChannelsPerFrame;  ///< samples in one frame
  std::uint32_t mBitsPerChannel;    ///< significant bits in one sample
  std::uint32_t mReserved;          ///< 0
};
static_assert(sizeof(AudioStreamBasicDescription) == 40);

inline constexpr std::uint32_t kAudioFormatLinearPCM = orv::fourCC("lpcm");
/// 4:1 ADPCM: packets of 34 bytes a channel, 64 frames each.
inline constexpr std::uint32_t kAudioFormatIMA4 = orv::fourCC("ima4");
/// 8-bit logarithmic PCM, North American and Japanese telephony.
inline constexpr std::uint32_t kAudioFormatULaw = orv::fourCC("ulaw");
/// 8-bit logarithmic PCM, European telephony.
inline constexpr std::uint32_t kAudioFormatALaw = orv::fourCC("alaw");

inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1U << 0;
inline constexpr std::uint32_t kAudioFormatFlagIsBigEndian = 1U << 1;
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 1U << 2;
/// The sample bits occupy the whole container, or as many low bits of it as are missing count as zero: a sample of
/// 20 bits packed into 3 bytes lies in the upper 20 of them, as audio files store it.
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 1U << 3;
/// The sample bits are in the high part of a larger container. Without this flag and without `IsPacked` they are in
/// the low part.
inline constexpr std::uint32_t kAudioFormatFlagIsAlignedHigh = 1U << 4;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 1U << 5;

/// Where one packet lies inside a block of packets.
struct AudioStreamPacketDescription {
  std::int64_t mStartOffset;              ///< bytes from the block's begin
  std::uint32_t mVariableFramesInPacket;  ///< 0 where every packet holds the same number of frames
  std::uint32_t mDataByteSize;            ///< bytes in the packet
};

/// One block of samples: of one channel, or of several that are interleaved.
struct AudioBuffer {
  std::uint32_t mNumberChannels;  ///< interleaved in `mData`
  std::uint32_t mDataByteSize;    ///< bytes in `mData`
  void* mData;                    ///< owned by whoever made the list
};

/// As many buffers as `mNumberBuffers` says; those behind the first lie behind the record.
struct AudioBufferList {
  std::uint32_t mNumberBuffers;
  AudioBuffer mBuffers[1];
};

/// A point in time, as a stream of audio counts it.
struct AudioTimeStamp {
  double mSampleTime;       ///< frames
  std::uint64_t mHostTime;  ///< ticks of the host's clock
  double mRateScalar;       ///< real frames per nominal frame
  std::uint32_t mFlags;     ///< which fields are valid
  std::uint32_t mReserved;  ///< 0
};
