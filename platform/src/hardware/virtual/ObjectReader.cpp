#include "hardware/virtual/ObjectReader.h"

#include <cmath>
#include <limits>

#include "OrvPlatform/Log.h"

namespace orv::virtualhardware {

std::optional<double> numberOf(const ArchiveValue& value) {
  if (const auto* const whole = value.as<std::int64_t>()) {
    return static_cast<double>(*whole);
  }
  if (const auto* const large = value.as<std::uint64_t>()) {
    return static_cast<double>(*large);
  }
  if (const auto* const real = value.as<double>()) {
    return *real;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> wholeNumberOf(const ArchiveValue& value) {
  const auto number = numberOf(value);
  const bool fits = number && *number >= 0.0 && *number <= std::numeric_limits<std::uint32_t>::max() &&
                    std::trunc(*number) == *number;
  return fits ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

ObjectReader::ObjectReader(const ArchiveValue& object, std::string where, std::string* problem)
    : object_(object.dictionary()), where_(std::move(where)), problem_(problem) {
  if (object_ == nullptr && isGood()) {
    // Behind "device 2: " as it is, behind "device 2: input." with a colon in place of the full stop.
    const std::string place = where_.ends_with('.') ? where_.substr(0, where_.size() - 1) + ": " : where_;
    *problem_ = place + "it is no JSON object";
  }
}

void ObjectReader::refuse(const std::string& key, const std::string& why) {
  if (isGood()) {
    *problem_ = where_ + key + ": " + why;
  }
}

const ArchiveValue* ObjectReader::find(const std::string& key) {
  known_.insert(key);
  if (!isGood()) {
    return nullptr;
  }
  const auto found = object_->find(key);
  return found == object_->end() ? nullptr : &found->second;
}

void ObjectReader::read(const std::string& key, bool* value) {
  if (const ArchiveValue* const found = find(key)) {
    if (const bool* const flag = found->as<bool>()) {
      *value = *flag;
    } else {
      refuse(key, "it is neither true nor false");
    }
  }
}

void ObjectReader::read(const std::string& key, double* value) {
  if (const ArchiveValue* const found = find(key)) {
    if (const auto number = numberOf(*found)) {
      *value = *number;
    } else {
      refuse(key, "it is no number");
    }
  }
}

void ObjectReader::read(const std::string& key, float* value) {
  double number = *value;
  read(key, &number);
  if (std::abs(number) <= std::numeric_limits<float>::max()) {
    *value = static_cast<float>(number);
  } else {
    refuse(key, "it is too large");
  }
}

void ObjectReader::read(const std::string& key, std::uint32_t* value) {
  if (const ArchiveValue* const found = find(key)) {
    if (const auto number = wholeNumberOf(*found)) {
      *value = *number;
    } else {
      refuse(key, "it is no whole number from 0 to 4294967295");
    }
  }
}

void ObjectReader::read(const std::string& key, std::string* value) {
  if (const ArchiveValue* const found = find(key)) {
    if (const std::string* const text = found->text()) {
      *value = *text;
    } else {
      refuse(key, "it is no text");
    }
  }
}

void ObjectReader::read(const std::string& key, std::optional<std::string>* value) {
  std::string text;
  read(key, &text);
  if (has(key) && isGood()) {
    *value = std::move(text);
  }
}

void ObjectReader::readCode(const std::string& key, FourCharCode* value) {
  const ArchiveValue* const found = find(key);
  if (found == nullptr) {
    return;
  }
  const std::string* const text = found->text();
  if (text == nullptr) {
    read(key, value);
    return;
  }
  if (text->size() != 4) {
    refuse(key, "a code has four characters");
    return;
  }
  *value = 0;
  for (const char character : *text) {
    *value = *value << 8 | static_cast<unsigned char>(character);
  }
}

void ObjectReader::readList(const std::string& key,
                            const std::function<void(const ArchiveValue& element, const std::string& place)>& element) {
  const ArchiveValue* const found = find(key);
  if (found == nullptr) {
    return;
  }
  const auto array = found->array();
  if (array == nullptr) {
    refuse(key, "it is no list");
    return;
  }
  for (std::size_t i = 0; i < array->size() && isGood(); ++i) {
    element((*array)[i], where_ + key + formatText("[%zu]", i));
  }
}

void ObjectReader::readObject(const std::string& key, const std::function<void(ObjectReader& object)>& object) {
  if (const ArchiveValue* const found = find(key)) {
    ObjectReader reader(*found, where_ + key + ".", problem_);
    if (reader.isGood()) {
      object(reader);
      reader.finish();
    }
  }
}

void ObjectReader::finish() {
  for (const auto& [key, value] : object_ == nullptr ? ArchiveDictionary() : *object_) {
    if (!known_.contains(key)) {
      refuse(key, "unknown key");
      return;
    }
  }
}

}  // namespace orv::virtualhardware
