#pragma once

#include <cstdint>

/// Which loudspeaker each channel is for.

using AudioChannelLabel = std::uint32_t;      ///< 1: left, 2: right, 3: center, …
using AudioChannelLayoutTag = std::uint32_t;  ///< index of a known layout << 16 | number of its channels

inline constexpr AudioChannelLabel kAudioChannelLabel_Unknown = 0xFFFFFFFF;
inline constexpr AudioChannelLabel kAudioChannelLabel_Unused = 0;
inline constexpr AudioChannelLabel kAudioChannelLabel_Left = 1;
inline constexpr AudioChannelLabel kAudioChannelLabel_Right = 2;
inline constexpr AudioChannelLabel kAudioChannelLabel_Center = 3;
inline constexpr AudioChannelLabel kAudioChannelLabel_LFEScreen = 4;
inline constexpr AudioChannelLabel kAudioChannelLabel_LeftSurround = 5;
inline constexpr AudioChannelLabel kAudioChannelLabel_RightSurround = 6;

/// The layout's descriptions say it, one for each channel.
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_UseChannelDescriptions = 0;
/// The layout's bitmap says it: bit n is the label n + 1.
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_UseChannelBitmap = 1U << 16;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Mono = (100U << 16) | 1;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Stereo = (101U << 16) | 2;

/// One channel.
struct AudioChannelDescription {
  AudioChannelLabel mChannelLabel;
  std::uint32_t mChannelFlags;  ///< 1: coordinates are rectangular, 2: spherical, 4: in metres
  float mCoordinates[3];
};
static_assert(sizeof(AudioChannelDescription) == 20);

/// All channels. As many descriptions as `mNumberChannelDescriptions` says; those behind the first lie behind the
/// record, which takes 12 + 20 × count bytes.
struct AudioChannelLayout {
  AudioChannelLayoutTag mChannelLayoutTag;
  std::uint32_t mChannelBitmap;
  std::uint32_t mNumberChannelDescriptions;
  AudioChannelDescription mChannelDescriptions[1];
};
static_assert(sizeof(AudioChannelLayout) == 32);
