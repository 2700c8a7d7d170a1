#include "OrvCoreAudio/OrvAudioDeviceUtils.h"

#include "OrvPlatform/Status.h"

namespace {

struct FormatName {
  FourCharCode formatID;
  const char* name;
};

constexpr FormatName kFormatNames[] = {
    {orv::fourCC("lpcm"), "Linear PCM"},     {orv::fourCC("ac-3"), "AC-3"},
    {orv::fourCC("cac3"), "AC-3 IEC 60958"}, {orv::fourCC("ima4"), "IMA 4:1"},
    {orv::fourCC("aac "), "MPEG-4 AAC"},     {orv::fourCC("celp"), "MPEG-4 CELP"},
    {orv::fourCC("hvxc"), "MPEG-4 HVXC"},    {orv::fourCC("twvq"), "MPEG-4 TwinVQ"},
};

}  // namespace

std::string OrvAudioDeviceUtils::formatNameForID(std::uint32_t formatID) {
  for (const FormatName& entry : kFormatNames) {
    if (entry.formatID == formatID) {
      return entry.name;
    }
  }
  return "Unknown format";
}
