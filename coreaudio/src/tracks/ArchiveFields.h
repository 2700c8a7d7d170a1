#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvPlatform/Archiver.h"

/// Fields of records in either form of archive: by key, or in the order of the calls.
namespace archivefields {

inline void encode(orv::ArchiveEncoder& coder, const char* key, const orv::ArchiveValue& field) {
  if (coder.isKeyed()) {
    coder.encodeObject_forKey(field, key);
  } else {
    coder.encodeObject(field);
  }
}

inline orv::ArchiveValue textOrNothing(const std::optional<std::string>& text) {
  return text ? orv::ArchiveValue(*text) : orv::ArchiveValue();
}

inline std::optional<orv::ArchiveValue> decode(orv::ArchiveDecoder& coder, const char* key) {
  return coder.isKeyed() ? coder.decodeObjectForKey(key) : coder.decodeObject();
}

/// False when the field is missing or of another type.
template <typename Number>
bool decodeNumber(orv::ArchiveDecoder& coder, const char* key, Number* number) {
  const auto field = decode(coder, key);
  const Number* const value = field ? field->as<Number>() : nullptr;
  if (value != nullptr) {
    *number = *value;
  }
  return value != nullptr;
}

/// A text or nothing.
inline bool decodeText(orv::ArchiveDecoder& coder, const char* key, std::optional<std::string>* text) {
  const auto field = decode(coder, key);
  if (!field || (field->text() == nullptr && !field->isNil())) {
    return false;
  }
  *text = field->text() == nullptr ? std::nullopt : std::optional(*field->text());
  return true;
}

/// What is null in a list, which only a host can have put there, is left out: it could not be read back.
template <typename Record>
orv::ArchiveValue listOrNothing(const std::shared_ptr<std::vector<std::shared_ptr<Record>>>& list) {
  if (list == nullptr) {
    return {};
  }
  auto array = std::make_shared<orv::ArchiveArray>();
  array->reserve(list->size());
  for (const auto& record : *list) {
    if (record != nullptr) {
      array->emplace_back(record);
    }
  }
  return array;
}

/// A list of records of one class, or nothing.
template <typename Record>
bool decodeList(orv::ArchiveDecoder& coder, const char* key,
                std::shared_ptr<std::vector<std::shared_ptr<Record>>>* list) {
  const auto field = decode(coder, key);
  if (!field || (field->array() == nullptr && !field->isNil())) {
    return false;
  }
  if (field->isNil()) {
    *list = nullptr;
    return true;
  }
  auto records = std::make_shared<std::vector<std::shared_ptr<Record>>>();
  records->reserve(field->array()->size());
  for (const orv::ArchiveValue& element : *field->array()) {
    auto record = std::dynamic_pointer_cast<Record>(element.record());
    if (record == nullptr) {
      return false;
    }
    records->push_back(std::move(record));
  }
  *list = std::move(records);
  return true;
}

}  // namespace archivefields
