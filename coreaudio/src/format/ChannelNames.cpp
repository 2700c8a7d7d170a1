#include "format/ChannelNames.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "OrvPlatform/StringTable.h"

namespace {

/// A code and what its platform constant is called behind the prefix.
struct CodeName {
  std::uint32_t code;
  const char* name;
};

// The codes are the platform's published values. Its left-total label, 38, has no name here, and reads as unknown.
constexpr std::array kLabels = {
    CodeName{0xFFFFFFFF, "Unknown"},
    CodeName{0, "Unused"},
    CodeName{100, "UseCoordinates"},
    CodeName{1, "Left"},
    CodeName{2, "Right"},
    CodeName{3, "Center"},
    CodeName{4, "LFEScreen"},
    CodeName{5, "LeftSurround"},
    CodeName{6, "RightSurround"},
    CodeName{7, "LeftCenter"},
    CodeName{8, "RightCenter"},
    CodeName{9, "CenterSurround"},
    CodeName{10, "LeftSurroundDirect"},
    CodeName{11, "RightSurroundDirect"},
    CodeName{12, "TopCenterSurround"},
    CodeName{13, "VerticalHeightLeft"},
    CodeName{14, "VerticalHeightCenter"},
    CodeName{15, "VerticalHeightRight"},
    CodeName{16, "TopBackLeft"},
    CodeName{17, "TopBackCenter"},
    CodeName{18, "TopBackRight"},
    CodeName{33, "RearSurroundLeft"},
    CodeName{34, "RearSurroundRight"},
    CodeName{35, "LeftWide"},
    CodeName{36, "RightWide"},
    CodeName{37, "LFE2"},
    CodeName{39, "RightTotal"},
    CodeName{40, "HearingImpaired"},
    CodeName{41, "Narration"},
    CodeName{42, "Mono"},
    CodeName{43, "DialogCentricMix"},
    CodeName{44, "CenterSurroundDirect"},
    CodeName{200, "Ambisonic_W"},
    CodeName{201, "Ambisonic_X"},
    CodeName{202, "Ambisonic_Y"},
    CodeName{203, "Ambisonic_Z"},
    CodeName{204, "MS_Mid"},
    CodeName{205, "MS_Side"},
    CodeName{206, "XY_X"},
    CodeName{207, "XY_Y"},
    CodeName{301, "HeadphonesLeft"},
    CodeName{302, "HeadphonesRight"},
    CodeName{304, "ClickTrack"},
    CodeName{305, "ForeignLanguage"},
    CodeName{400, "Discrete"},
    CodeName{65536, "Discrete_0"},
    CodeName{65537, "Discrete_1"},
    CodeName{65538, "Discrete_2"},
    CodeName{65539, "Discrete_3"},
    CodeName{65540, "Discrete_4"},
    CodeName{65541, "Discrete_5"},
    CodeName{65542, "Discrete_6"},
    CodeName{65543, "Discrete_7"},
    CodeName{65544, "Discrete_8"},
    CodeName{65545, "Discrete_9"},
    CodeName{65546, "Discrete_10"},
    CodeName{65547, "Discrete_11"},
    CodeName{65548, "Discrete_12"},
    CodeName{65549, "Discrete_13"},
    CodeName{65550, "Discrete_14"},
    CodeName{65551, "Discrete_15"},
    CodeName{131071, "Discrete_65535"},
};
static_assert(kLabels.size() == 62);

constexpr AudioChannelLayoutTag layoutTag(std::uint32_t index, std::uint32_t channels) {
  return (index << 16) | channels;
}

constexpr std::array kLayoutTags = {
    CodeName{layoutTag(0, 0), "UseChannelDescriptions"},
    CodeName{layoutTag(1, 0), "UseChannelBitmap"},
    CodeName{layoutTag(100, 1), "Mono"},
    CodeName{layoutTag(101, 2), "Stereo"},
    CodeName{layoutTag(102, 2), "StereoHeadphones"},
    CodeName{layoutTag(103, 2), "MatrixStereo"},
    CodeName{layoutTag(104, 2), "MidSide"},
    CodeName{layoutTag(105, 2), "XY"},
    CodeName{layoutTag(106, 2), "Binaural"},
    CodeName{layoutTag(107, 4), "Ambisonic_B_Format"},
    CodeName{layoutTag(108, 4), "Quadraphonic"},
    CodeName{layoutTag(109, 5), "Pentagonal"},
    CodeName{layoutTag(110, 6), "Hexagonal"},
    CodeName{layoutTag(111, 8), "Octagonal"},
    CodeName{layoutTag(112, 8), "Cube"},
    CodeName{layoutTag(113, 3), "MPEG_3_0_A"},
    CodeName{layoutTag(114, 3), "MPEG_3_0_B"},
    CodeName{layoutTag(115, 4), "MPEG_4_0_A"},
    CodeName{layoutTag(116, 4), "MPEG_4_0_B"},
    CodeName{layoutTag(117, 5), "MPEG_5_0_A"},
    CodeName{layoutTag(118, 5), "MPEG_5_0_B"},
    CodeName{layoutTag(119, 5), "MPEG_5_0_C"},
    CodeName{layoutTag(120, 5), "MPEG_5_0_D"},
    CodeName{layoutTag(121, 6), "MPEG_5_1_A"},
    CodeName{layoutTag(122, 6), "MPEG_5_1_B"},
    CodeName{layoutTag(123, 6), "MPEG_5_1_C"},
    CodeName{layoutTag(124, 6), "MPEG_5_1_D"},
    CodeName{layoutTag(125, 7), "MPEG_6_1_A"},
    CodeName{layoutTag(126, 8), "MPEG_7_1_A"},
    CodeName{layoutTag(127, 8), "MPEG_7_1_B"},
    CodeName{layoutTag(128, 8), "MPEG_7_1_C"},
    CodeName{layoutTag(129, 8), "Emagic_Default_7_1"},
    CodeName{layoutTag(130, 8), "SMPTE_DTV"},
    CodeName{layoutTag(131, 3), "ITU_2_1"},
    CodeName{layoutTag(132, 4), "ITU_2_2"},
    CodeName{layoutTag(133, 3), "DVD_4"},
    CodeName{layoutTag(134, 4), "DVD_5"},
    CodeName{layoutTag(135, 5), "DVD_6"},
    CodeName{layoutTag(136, 4), "DVD_10"},
    CodeName{layoutTag(137, 5), "DVD_11"},
    CodeName{layoutTag(138, 5), "DVD_18"},
    CodeName{layoutTag(139, 6), "AudioUnit_6_0"},
    CodeName{layoutTag(140, 7), "AudioUnit_7_0"},
    CodeName{layoutTag(141, 6), "AAC_6_0"},
    CodeName{layoutTag(142, 7), "AAC_6_1"},
    CodeName{layoutTag(143, 7), "AAC_7_0"},
    CodeName{layoutTag(144, 8), "AAC_Octagonal"},
    CodeName{layoutTag(145, 16), "TMH_10_2_std"},
    CodeName{layoutTag(146, 21), "TMH_10_2_full"},
};
static_assert(kLayoutTags.size() == 49);

template <typename Table>
std::string localizedName(const Table& table, std::uint32_t code, const char* prefix, const char* unknown) {
  const auto* const entry =
      std::find_if(table.begin(), table.end(), [&](const CodeName& candidate) { return candidate.code == code; });
  return entry == table.end() ? unknown : orv::localizedString(std::string(prefix) + entry->name, "");
}

}  // namespace

std::string localizedChannelLabel(AudioChannelLabel label) {
  return localizedName(kLabels, label, "kAudioChannelLabel_", "Unknown Audio Channel Label");
}

std::string localizedChannelLayoutTag(AudioChannelLayoutTag tag) {
  return localizedName(kLayoutTags, tag, "kAudioChannelLayoutTag_", "Unknown Channel Layout");
}
