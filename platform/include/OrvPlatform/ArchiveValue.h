#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "OrvPlatform/Export.h"

namespace orv {

class ArchiveEncoder;
class ArchiveValue;

using ArchiveArray = std::vector<ArchiveValue>;
using ArchiveDictionary = std::map<std::string, ArchiveValue>;

/// A truth value, or a number of a type that archives keep.
template <typename T>
concept ArchiveScalar = std::same_as<T, bool> || std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t> ||
    std::same_as<T, std::int64_t> || std::same_as<T, std::uint64_t> || std::same_as<T, float> ||
    std::same_as<T, double>;

/// What a class derives from so that its objects can go into archives.
class ORV_API ArchiveRecord {
 public:
  virtual ~ArchiveRecord();

  /// Name under which archives know the class; the same for all its objects.
  virtual std::string archiveName() const = 0;
  /// Hands the record's fields to `coder`, in the form that `coder.isKeyed()` tells.
  virtual void encodeWithCoder(ArchiveEncoder& coder) const = 0;

 protected:
  ArchiveRecord() = default;
  ArchiveRecord(const ArchiveRecord&) = default;
  ArchiveRecord& operator=(const ArchiveRecord&) = default;
};

/// One object of an archive: nothing, a truth value, a number of exact type, a text (UTF-8 by convention, any bytes in
/// fact), an array, a dictionary or a record. Copies share arrays, dictionaries and records. One thread at a time.
class ArchiveValue {
 public:
  ArchiveValue() = default;  ///< nothing

  /// A truth value or a number. Of no other types, so that none changes on the way in.
  template <ArchiveScalar T>
  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(T value) : value_(value) {}

  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(std::string text) : value_(std::make_shared<const std::string>(std::move(text))) {}
  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(const char* text) : ArchiveValue(std::string(text)) {}

  /// A null pointer makes nothing.
  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(std::shared_ptr<ArchiveArray> array) : value_(orNothing(std::move(array))) {}
  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(std::shared_ptr<ArchiveDictionary> dictionary) : value_(orNothing(std::move(dictionary))) {}
  template <std::derived_from<ArchiveRecord> Record>
  // NOLINTNEXTLINE(google-explicit-constructor)
  ArchiveValue(std::shared_ptr<Record> record) : value_(orNothing(std::shared_ptr<ArchiveRecord>(std::move(record)))) {}

  bool isNil() const { return std::holds_alternative<std::monostate>(value_); }

  /// The truth value or number, null unless it is of exactly that type.
  template <typename T>
  const T* as() const {
    return std::get_if<T>(&value_);
  }
  /// The text, null when the object is none. Valid as long as a copy of the object.
  const std::string* text() const {
    const auto* held = std::get_if<std::shared_ptr<const std::string>>(&value_);
    return held == nullptr ? nullptr : held->get();
  }
  /// Null when the object is of another kind.
  std::shared_ptr<ArchiveArray> array() const { return pointer<ArchiveArray>(); }
  std::shared_ptr<ArchiveDictionary> dictionary() const { return pointer<ArchiveDictionary>(); }
  std::shared_ptr<ArchiveRecord> record() const { return pointer<ArchiveRecord>(); }

 private:
  using Variant = std::variant<std::monostate, bool, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, float,
                               double, std::shared_ptr<const std::string>, std::shared_ptr<ArchiveArray>,
                               std::shared_ptr<ArchiveDictionary>, std::shared_ptr<ArchiveRecord>>;

  template <typename T>
  static Variant orNothing(std::shared_ptr<T> pointer) {
    return pointer == nullptr ? Variant() : Variant(std::move(pointer));
  }
  template <typename T>
  std::shared_ptr<T> pointer() const {
    const auto* held = std::get_if<std::shared_ptr<T>>(&value_);
    return held == nullptr ? nullptr : *held;
  }

  Variant value_;
};

}  // namespace orv
