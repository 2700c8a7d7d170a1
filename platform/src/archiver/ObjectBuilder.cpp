#include "archiver/ObjectBuilder.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "archiver/Cost.h"
#include "archiver/ObjectEncoder.h"

namespace orv::archiver {
namespace {

using nlohmann::json;

class FieldsInOrder final : public ArchiveDecoder {
 public:
  explicit FieldsInOrder(const ArchiveArray& fields) : fields_(fields) {}
  bool isKeyed() const override { return false; }
  std::optional<ArchiveValue> decodeObject() override {
    return next_ < fields_.size() ? std::optional(fields_[next_++]) : std::nullopt;
  }
  std::optional<ArchiveValue> decodeObjectForKey(const std::string& /*key*/) override { return std::nullopt; }

 private:
  const ArchiveArray& fields_;
  std::size_t next_ = 0;
};

class FieldsByKey final : public ArchiveDecoder {
 public:
  explicit FieldsByKey(const ArchiveDictionary& fields) : fields_(fields) {}
  bool isKeyed() const override { return true; }
  std::optional<ArchiveValue> decodeObject() override { return std::nullopt; }
  std::optional<ArchiveValue> decodeObjectForKey(const std::string& key) override {
    const auto found = fields_.find(key);
    return found == fields_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  const ArchiveDictionary& fields_;
};

/// A container whose end has not been met yet.
struct Open {
  std::shared_ptr<ArchiveDictionary> dictionary;  ///< null: an array of some kind
  std::string key;                                ///< the dictionary's next
  std::optional<Kind> kind;                       ///< of an array, once its first element is known
  std::optional<std::string> name;                ///< of a record, once its second element is known
  std::shared_ptr<ArchiveArray> elements;         ///< of an array or record
  std::size_t count = 0;                          ///< elements to come, the kind included
  ArchiveValue number;                            ///< of an array that is a number; nothing before
};

/// Listens to the parser and puts the object together from the inside out: a record is made when all its fields are.
/// Every handler answers whether to go on. Handlers take their texts as the library hands them out.
class Builder final : public nlohmann::json_sax<json> {
 public:
  /// `budget`: what the object may cost.
  Builder(ArchiveForm form, const RecordMakers& makers, std::size_t budget)
      : form_(form), makers_(makers), budget_(budget) {}

  std::optional<ArchiveValue> result;
  std::string problem;

  bool null() override { return add(ArchiveValue()); }
  bool boolean(bool value) override { return add(value); }

  bool number_unsigned(std::uint64_t value) override {
    if (Open* const array = openArray(); array != nullptr && !array->kind) {
      return setKind(*array, value);
    }
    return addInteger(value);
  }

  bool number_integer(std::int64_t value) override { return addInteger(value); }

  bool number_float(double value, const std::string& /*text*/) override {
    switch (numberKind()) {
      case Kind::float32:
        return addFloat(value);
      case Kind::float64:
        return addNumber(value);
      default:
        return refuse();
    }
  }

  bool string(std::string& value) override {
    Open* const array = openArray();
    if (array != nullptr && array->kind == Kind::record && !array->name) {
      array->name = std::move(value);
      return true;
    }
    return charge(kTextCost + value.size()) && add(std::move(value));
  }

  bool binary(json::binary_t& /*value*/) override { return refuse(); }

  bool start_object(std::size_t /*count*/) override {
    if (!charge(kDictionaryCost)) {
      return false;
    }
    Open dictionary;
    dictionary.dictionary = std::make_shared<ArchiveDictionary>();
    open_.push_back(std::move(dictionary));
    return true;
  }

  bool key(std::string& value) override {
    if (open_.back().dictionary->contains(value)) {
      return refuse();
    }
    open_.back().key = std::move(value);
    return charge(kEntryCost + open_.back().key.size());
  }

  bool end_object() override {
    const Open closed = pop();
    return add(closed.dictionary);
  }

  bool start_array(std::size_t count) override {
    Open array;
    array.count = count;
    open_.push_back(std::move(array));
    return true;
  }

  bool end_array() override {
    const Open closed = pop();
    if (closed.kind == Kind::array) {
      return add(closed.elements);
    }
    if (closed.kind == Kind::record) {
      return closed.name ? addRecord(*closed.name, *closed.elements) : refuse();
    }
    return closed.number.isNil() ? refuse() : add(closed.number);
  }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const json::exception& /*exception*/) override {
    return refuse();
  }

 private:
  bool refuse(std::string why = "the archive holds something that is no object") {
    if (problem.empty()) {
      problem = std::move(why);
    }
    return false;
  }

  Open pop() {
    Open closed = std::move(open_.back());
    open_.pop_back();
    return closed;
  }

  Open* openArray() { return open_.empty() || open_.back().dictionary ? nullptr : &open_.back(); }

  /// What number is due; `Kind::array` where none is.
  Kind numberKind() {
    const Open* const array = openArray();
    return array == nullptr || !array->kind || !isNumber(*array->kind) ? Kind::array : *array->kind;
  }

  bool setKind(Open& array, std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(kLastKind)) {
      return refuse();
    }
    array.kind = static_cast<Kind>(value);
    return isNumber(*array.kind) ? array.count == 2 || refuse() : makeElements(array);
  }

  static bool isNumber(Kind kind) { return kind != Kind::array && kind != Kind::record; }

  bool makeElements(Open& array) {
    const std::size_t count = array.count - 1;
    if (!charge(kArrayCost + count * kValueCost + (array.kind == Kind::record ? kRecordCost : 0))) {
      return false;
    }
    array.elements = std::make_shared<ArchiveArray>();
    array.elements->reserve(count);
    return true;
  }

  bool charge(std::size_t cost) {
    if (cost > budget_) {
      return refuse("the archive is too short for what it holds");
    }
    budget_ -= cost;
    return true;
  }

  template <typename Integer>
  bool addInteger(Integer value) {
    switch (numberKind()) {
      case Kind::int32:
        return addInRange<std::int32_t>(value);
      case Kind::uint32:
        return addInRange<std::uint32_t>(value);
      case Kind::int64:
        return addInRange<std::int64_t>(value);
      case Kind::uint64:
        return addInRange<std::uint64_t>(value);
      default:
        return refuse();
    }
  }

  template <typename Number, typename Integer>
  bool addInRange(Integer value) {
    return std::in_range<Number>(value) ? addNumber(static_cast<Number>(value)) : refuse();
  }

  bool addFloat(double value) {
    if (std::isfinite(value) && std::abs(value) > std::numeric_limits<float>::max()) {
      return refuse();
    }
    const auto narrow = static_cast<float>(value);
    return std::isnan(value) || static_cast<double>(narrow) == value ? addNumber(narrow) : refuse();
  }

  /// Into the array that says its type.
  bool addNumber(ArchiveValue number) {
    open_.back().number = std::move(number);
    return true;
  }

  bool addRecord(const std::string& name, const ArchiveArray& fields) {
    const auto maker = makers_.find(name);
    if (maker == makers_.end()) {
      return refuse("the archive holds a record of an unknown class");
    }
    std::shared_ptr<ArchiveRecord> record = makeRecord(maker->second, fields);
    return record == nullptr ? refuse("the archive holds a record whose fields are not its own")
                             : add(std::move(record));
  }

  std::shared_ptr<ArchiveRecord> makeRecord(const RecordMaker& maker, const ArchiveArray& fields) const {
    if (form_ == ArchiveForm::sequential) {
      FieldsInOrder coder(fields);
      return maker(coder);
    }
    const auto byKey = fields.size() == 1 ? fields.front().dictionary() : nullptr;
    if (byKey == nullptr) {
      return nullptr;
    }
    FieldsByKey coder(*byKey);
    return maker(coder);
  }

  bool add(ArchiveValue object) {
    if (open_.empty()) {
      result = std::move(object);
      return true;
    }
    Open& container = open_.back();
    if (container.dictionary) {
      container.dictionary->emplace(std::move(container.key), std::move(object));
      return true;
    }
    const bool isArray = container.kind == Kind::array;
    const bool isRecord = container.kind == Kind::record && container.name;
    if (!isArray && !isRecord) {
      return refuse();
    }
    container.elements->push_back(std::move(object));
    return true;
  }

  const ArchiveForm form_;
  const RecordMakers& makers_;
  std::size_t budget_;  // what is left of it
  std::vector<Open> open_;
};

}  // namespace

std::optional<ArchiveValue> buildObject(std::span<const std::uint8_t> cbor, ArchiveForm form,
                                        const RecordMakers& makers, std::size_t budget, std::string* problem) {
  Builder builder(form, makers, budget);
  if (!json::sax_parse(cbor.begin(), cbor.end(), &builder, json::input_format_t::cbor) || !builder.result) {
    *problem = builder.problem.empty() ? "the archive holds no object" : builder.problem;
    return std::nullopt;
  }
  return std::move(builder.result);
}

}  // namespace orv::archiver
