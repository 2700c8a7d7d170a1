#include "archiver/ObjectEncoder.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "archiver/Cost.h"

namespace orv::archiver {
namespace {

using nlohmann::json;

json arrayOf(Kind kind) {
  return json::array({static_cast<unsigned>(kind)});
}

class Encoder {
 public:
  explicit Encoder(ArchiveForm form) : form_(form) {}

  ArchiveForm form() const { return form_; }
  std::size_t cost() const { return cost_; }

  /// `room`: containers that may still be opened inside each other.
  json encode(const ArchiveValue& object, int room) {
    if (object.isNil()) {
      return nullptr;
    }
    if (const bool* flag = object.as<bool>()) {
      return *flag;
    }
    if (const std::string* text = object.text()) {
      cost_ += kTextCost + text->size();
      return *text;
    }
    if (room == 0) {
      throw std::length_error("objects nest too deep for an archive");
    }
    if (const auto dictionary = object.dictionary()) {
      return encodeDictionary(*dictionary, room - 1);
    }
    if (const auto array = object.array()) {
      return encodeArray(*array, room - 1);
    }
    if (const auto record = object.record()) {
      return encodeRecord(*record, room - 1);
    }
    return encodeNumber(object);
  }

  json encodeField(const ArchiveValue& object, int room) {
    cost_ += kValueCost;
    return encode(object, room);
  }

  void chargeEntry(const std::string& key) { cost_ += kEntryCost + key.size(); }

 private:
  template <typename Number>
  static bool isNumber(const ArchiveValue& object, Kind kind, json* encoded) {
    const auto* number = object.as<Number>();
    if (number != nullptr) {
      *encoded = arrayOf(kind);
      encoded->push_back(*number);
    }
    return number != nullptr;
  }

  static json encodeNumber(const ArchiveValue& object) {
    json encoded;
    if (!isNumber<std::int32_t>(object, Kind::int32, &encoded) &&
        !isNumber<std::uint32_t>(object, Kind::uint32, &encoded) &&
        !isNumber<std::int64_t>(object, Kind::int64, &encoded) &&
        !isNumber<std::uint64_t>(object, Kind::uint64, &encoded) && !isNumber<float>(object, Kind::float32, &encoded) &&
        !isNumber<double>(object, Kind::float64, &encoded)) {
      throw std::logic_error("an object that archives don't know");
    }
    return encoded;
  }

  json encodeDictionary(const ArchiveDictionary& dictionary, int room) {
    cost_ += kDictionaryCost;
    json encoded = json::object();
    for (const auto& [key, value] : dictionary) {
      chargeEntry(key);
      encoded[key] = encode(value, room);
    }
    return encoded;
  }

  json encodeArray(const ArchiveArray& array, int room) {
    cost_ += kArrayCost + array.size() * kValueCost;
    json encoded = arrayOf(Kind::array);
    for (const ArchiveValue& element : array) {
      encoded.push_back(encode(element, room));
    }
    return encoded;
  }

  json encodeRecord(const ArchiveRecord& record, int room);

  const ArchiveForm form_;
  std::size_t cost_ = 0;
};

/// Collects the fields of a record behind its kind and name.
class FieldCollector final : public ArchiveEncoder {
 public:
  FieldCollector(Encoder& encoder, int room, json& array) : encoder_(encoder), room_(room), array_(array) {
    if (isKeyed()) {
      require(room > 0, "objects nest too deep for an archive");
      array_.push_back(json::object());
    }
  }

  bool isKeyed() const override { return encoder_.form() == ArchiveForm::keyed; }

  void encodeObject(const ArchiveValue& object) override {
    require(!isKeyed(), "a field without a key in a keyed archive");
    array_.push_back(encoder_.encodeField(object, room_));
  }

  void encodeObject_forKey(const ArchiveValue& object, const std::string& key) override {
    require(isKeyed(), "a field with a key in a sequential archive");
    encoder_.chargeEntry(key);
    array_.back()[key] = encoder_.encode(object, room_ - 1);
  }

 private:
  static void require(bool holds, const char* problem) {
    if (!holds) {
      throw std::length_error(problem);
    }
  }

  Encoder& encoder_;
  const int room_;
  json& array_;
};

json Encoder::encodeRecord(const ArchiveRecord& record, int room) {
  // The name, or the dictionary of a record by key, is an element as well.
  cost_ += kArrayCost + kRecordCost + 2 * kValueCost + (form_ == ArchiveForm::keyed ? kDictionaryCost : 0);
  json encoded = arrayOf(Kind::record);
  encoded.push_back(record.archiveName());
  FieldCollector fields(*this, room, encoded);
  record.encodeWithCoder(fields);
  return encoded;
}

}  // namespace

EncodedObject encodeObject(const ArchiveValue& object, ArchiveForm form) {
  Encoder encoder(form);
  const json encoded = encoder.encode(object, kDeepestArchive);
  return {json::to_cbor(encoded), encoder.cost()};
}

}  // namespace orv::archiver
