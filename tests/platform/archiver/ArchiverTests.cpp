#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "TestRecords.h"
#include "support/LogCapture.h"

namespace orv::test {
namespace {

class Archiver : public ::testing::TestWithParam<ArchiveForm> {
 protected:
  static ArchiveForm form() { return GetParam(); }

  template <typename Number>
  static void expectExact(Number number) {
    const auto back = unarchive(archive(number, form()), {}, nullptr);
    ASSERT_TRUE(back);
    const Number* held = back->template as<Number>();
    ASSERT_NE(held, nullptr) << "another type came back than " << typeid(Number).name();
    EXPECT_EQ(*held, number);
  }
};

TEST_P(Archiver, NumbersComeBackWithTheirExactType) {
  expectExact(true);
  expectExact(false);
  for (const std::int32_t number :
       {0, 1, -1, 23, 24, 255, 256, 65536, -24, -25, std::numeric_limits<std::int32_t>::max(),
        std::numeric_limits<std::int32_t>::min()}) {
    expectExact(number);
    expectExact(static_cast<std::uint32_t>(number));
    expectExact(static_cast<std::int64_t>(number));
    expectExact(static_cast<std::uint64_t>(number));
    expectExact(static_cast<float>(number));
    expectExact(static_cast<double>(number));
  }
  expectExact(std::numeric_limits<std::int64_t>::max());
  expectExact(std::numeric_limits<std::int64_t>::min());
  expectExact(std::numeric_limits<std::uint64_t>::max());
  expectExact(0.1F);
  expectExact(0.1);
  expectExact(std::numeric_limits<float>::max());
  expectExact(std::numeric_limits<float>::denorm_min());
  expectExact(std::numeric_limits<double>::max());
  expectExact(std::numeric_limits<double>::denorm_min());
  expectExact(std::numeric_limits<float>::infinity());
  expectExact(-std::numeric_limits<double>::infinity());
}

TEST_P(Archiver, ANegativeZeroAndWhatIsNoNumberComeBack) {
  const auto zero = unarchive(archive(-0.0F, form()), {}, nullptr);
  EXPECT_TRUE(std::signbit(*zero->as<float>()));
  const auto none = unarchive(archive(std::numeric_limits<double>::quiet_NaN(), form()), {}, nullptr);
  EXPECT_TRUE(std::isnan(*none->as<double>()));
  EXPECT_TRUE(std::isnan(*unarchive(archive(std::nanf(""), form()), {}, nullptr)->as<float>()));
}

TEST_P(Archiver, TextsComeBackByteForByte) {
  for (const std::string& text :
       {std::string(), std::string("plain"), std::string("Größe – 日本語 – עברית – 🎙️🎶"),
        std::string("a\0b", 3), std::string("\xFF\xFE\x80 no UTF-8"), std::string(65536, 'x'),
        std::string("APPL\0\0\0\4Vorn", 12)}) {
    EXPECT_EQ(roundTrip(text, form()), "\"" + text + "\"");
  }
}

TEST_P(Archiver, NothingComesBackAsNothing) {
  EXPECT_EQ(roundTrip({}, form()), "nil");
  EXPECT_EQ(roundTrip(std::shared_ptr<ArchiveArray>(), form()), "nil");
}

TEST_P(Archiver, ArraysAndDictionariesComeBackInOrderAndInsideEachOther) {
  const ArchiveValue object =
      list({1U, {}, "two", list({}), dictionary({}), dictionary({{"b", list({true})}, {"", -1}, {"a", 0.5F}})});
  EXPECT_EQ(roundTrip(object, form()), "[u4:1, nil, \"two\", [], {}, {=s4:-1, a=f4:0.500000, b=[true]}]");
}

TEST_P(Archiver, RecordsComeBackWithTheirFields) {
  const ArchiveValue object = labelled("outer", list({labelled("inner", std::uint64_t{7}), labelled("empty")}));
  EXPECT_EQ(roundTrip(object, form()), "Labelled(outer, [Labelled(inner, u8:7), Labelled(empty, nil)])");
}

TEST_P(Archiver, TheSameObjectAlwaysGivesTheSameBytes) {
  const auto object = [] { return labelled("a", dictionary({{"x", 1}, {"y", 2.5}})); };
  EXPECT_EQ(archive(object(), form()), archive(object(), form()));
}

TEST_P(Archiver, ManySmallObjectsComeBack) {
  const auto many = std::make_shared<ArchiveArray>(100000, ArchiveValue(std::make_shared<ArchiveDictionary>()));
  const auto back = unarchive(archive(many, form()), {}, nullptr);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->array()->size(), 100000U);
  EXPECT_TRUE(back->array()->back().dictionary());
}

ArchiveValue nested(int levels) {
  ArchiveValue value = std::make_shared<ArchiveArray>();
  for (int level = 1; level < levels; ++level) {
    value = list({value});
  }
  return value;
}

TEST_P(Archiver, ArraysNestAsDeepAsIsAllowedAndNoDeeper) {
  EXPECT_EQ(roundTrip(nested(kDeepestArchive), form()),
            std::string(kDeepestArchive, '[') + std::string(kDeepestArchive, ']'));
  const LogCapture log;
  EXPECT_TRUE(archive(nested(kDeepestArchive + 1), form()).empty());
  EXPECT_TRUE(log.contains("archive: objects nest too deep for an archive"));
}

TEST_P(Archiver, WhatCanBeArchivedCanBeReadHoweverDeepItIs) {
  for (int levels = 1; levels <= kDeepestArchive + 1; ++levels) {
    ArchiveValue value = 5U;
    for (int level = 0; level < levels; ++level) {
      value = labelled("", value);
    }
    const LogCapture log;
    const ArchiveBytes bytes = archive(value, form());
    EXPECT_EQ(bytes.empty(), !unarchive(bytes, testMakers(), nullptr).has_value());
  }
}

TEST_P(Archiver, AnArrayThatHoldsItselfIsNotArchived) {
  const auto array = std::make_shared<ArchiveArray>();
  array->push_back(array);
  const LogCapture log;
  EXPECT_TRUE(archive(array, form()).empty());
  array->clear();
}

TEST_P(Archiver, ARecordOfAnUnknownClassIsRefused) {
  std::string problem;
  EXPECT_FALSE(unarchive(archive(list({labelled("a")}), form()), {}, &problem));
  EXPECT_EQ(problem, "the archive holds a record of an unknown class");
}

TEST_P(Archiver, ARecordWithAFieldOfAnotherTypeRefusesTheWholeArchive) {
  class Impostor final : public ArchiveRecord {
   public:
    std::string archiveName() const override { return "Labelled"; }
    void encodeWithCoder(ArchiveEncoder& coder) const override {
      if (coder.isKeyed()) {
        coder.encodeObject_forKey(1U, "label");
      } else {
        coder.encodeObject(1U);
      }
    }
  };
  const ArchiveValue impostor = std::shared_ptr<ArchiveRecord>(std::make_shared<Impostor>());
  std::string problem;
  EXPECT_FALSE(unarchive(archive(list({"fine", impostor}), form()), testMakers(), &problem));
  EXPECT_EQ(problem, "the archive holds a record whose fields are not its own");
}

TEST_P(Archiver, ARecordThatAsksInTheOtherFormIsNotArchived) {
  class Confused final : public ArchiveRecord {
   public:
    std::string archiveName() const override { return "Confused"; }
    void encodeWithCoder(ArchiveEncoder& coder) const override {
      if (coder.isKeyed()) {
        coder.encodeObject(1U);
      } else {
        coder.encodeObject_forKey(1U, "label");
      }
    }
  };
  const LogCapture log;
  EXPECT_TRUE(archive(std::shared_ptr<ArchiveRecord>(std::make_shared<Confused>()), form()).empty());
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_P(Archiver, AMakerThatThrowsRefusesTheArchive) {
  const RecordMakers makers{
      {"Labelled", [](ArchiveDecoder&) -> std::shared_ptr<ArchiveRecord> { throw std::runtime_error("no"); }}};
  const LogCapture log;
  std::string problem;
  EXPECT_FALSE(unarchive(archive(labelled("a"), form()), makers, &problem));
  EXPECT_EQ(problem, "no");
}

TEST_P(Archiver, FillerIsSteppedOver) {
  const ArchiveBytes plain = archive(labelled("a", list({1U})), form());
  const ArchiveBytes front(300, 0xAB);
  const auto filled = archiveWithFiller(plain, front, 65524);
  ASSERT_TRUE(filled);
  EXPECT_EQ(filled->size(), 65524U);
  EXPECT_TRUE(std::equal(front.begin(), front.end(), filled->begin() + kArchiveFillerOffset));
  const auto back = unarchive(*filled, testMakers(), nullptr);
  ASSERT_TRUE(back);
  EXPECT_EQ(show(*back), "Labelled(a, [u4:1])");
}

TEST_P(Archiver, ALengthThatIsTooShortForTheFillerIsRefused) {
  const ArchiveBytes plain = archive("text", form());
  const std::size_t least = *archiveLength(plain, 100);
  EXPECT_EQ(least, plain.size() + 100);
  const ArchiveBytes front(100);
  EXPECT_FALSE(archiveWithFiller(plain, front, least - 1));
  EXPECT_EQ(archiveWithFiller(plain, front, least)->size(), least);
  EXPECT_FALSE(archiveWithFiller(ArchiveBytes(100), front, 10000));
  EXPECT_FALSE(archiveLength({}, 0));
}

INSTANTIATE_TEST_SUITE_P(BothForms, Archiver, ::testing::Values(ArchiveForm::sequential, ArchiveForm::keyed),
                         [](const auto& tested) {
                           return tested.param == ArchiveForm::keyed ? std::string("Keyed") : std::string("Sequential");
                         });

TEST(ArchiveValue, TellsItsExactTypeOnly) {
  const ArchiveValue value(5U);
  EXPECT_EQ(*value.as<std::uint32_t>(), 5U);
  EXPECT_EQ(value.as<std::int32_t>(), nullptr);
  EXPECT_EQ(value.as<std::uint64_t>(), nullptr);
  EXPECT_EQ(value.text(), nullptr);
  EXPECT_EQ(value.array(), nullptr);
  EXPECT_EQ(value.dictionary(), nullptr);
  EXPECT_EQ(value.record(), nullptr);
  EXPECT_FALSE(value.isNil());
}

}  // namespace
}  // namespace orv::test
