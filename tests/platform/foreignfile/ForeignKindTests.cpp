#include <gtest/gtest.h>

#include <string_view>

#include "foreignfile/ForeignKind.h"

namespace orv::foreignfile {
namespace {

using namespace std::string_view_literals;

const ForeignKind* kindOf(std::string_view head) {
  return recognise({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
}

void expectKind(std::string_view head, std::string_view name) {
  const ForeignKind* const kind = kindOf(head);
  ASSERT_NE(kind, nullptr) << name;
  EXPECT_EQ(kind->name, name);
}

TEST(ForeignKinds, AreKnownByTheirFirstBytes) {
  expectKind("fLaC\0\0\0\x22............"sv, "FLAC");
  expectKind("OggS"sv, "Ogg");
  expectKind("caff\0\1"sv, "CAF");
  expectKind(".snd"sv, "AU");
  expectKind("dns."sv, "AU");
  expectKind("ID3\4"sv, "MP3");
  expectKind("\xFF\xFB\x90\x00"sv, "MP3");
  expectKind("riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv, "W64");
  expectKind("FORM....AIFC"sv, "AIFC");
  expectKind("RIFF....WAVE"sv, "WAVE");
}

TEST(ForeignKinds, OtherBytesAreOfNoKind) {
  for (const std::string_view head : {""sv, "f"sv, "fLa"sv, "Dear diary, today"sv, "RIFF....AVI "sv, "FORM....AIFF"sv,
                                      "FORM....AIF"sv, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"sv, "%PDF-1.4"sv, "MThd"sv}) {
    EXPECT_EQ(kindOf(head), nullptr) << head;
  }
}

TEST(ForeignKinds, AnMPEGFrameHasNoReservedFields) {
  for (const std::string_view head :
       {"\xFF\xEB\x90\x00"sv, "\xFF\xF9\x90\x00"sv, "\xFF\xFB\xF0\x00"sv, "\xFF\xFB\x9C\x00"sv, "\xFF\xFF\xFF\xFF"sv}) {
    EXPECT_EQ(kindOf(head), nullptr);
  }
}

}  // namespace
}  // namespace orv::foreignfile
