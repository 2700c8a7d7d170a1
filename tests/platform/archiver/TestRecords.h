#pragma once

#include <memory>
#include <optional>
#include <string>

#include "OrvPlatform/Archiver.h"

namespace orv::test {

/// A record with a text and an object of any kind.
class Labelled final : public ArchiveRecord {
 public:
  Labelled(std::string text, ArchiveValue object) : label(std::move(text)), content(std::move(object)) {}

  static std::shared_ptr<Labelled> make(ArchiveDecoder& coder) {
    const auto label = coder.isKeyed() ? coder.decodeObjectForKey("label") : coder.decodeObject();
    const auto content = coder.isKeyed() ? coder.decodeObjectForKey("content") : coder.decodeObject();
    if (!label || label->text() == nullptr || !content) {
      return nullptr;
    }
    return std::make_shared<Labelled>(*label->text(), *content);
  }

  std::string archiveName() const override { return "Labelled"; }
  void encodeWithCoder(ArchiveEncoder& coder) const override {
    if (coder.isKeyed()) {
      coder.encodeObject_forKey(content, "content");
      coder.encodeObject_forKey(label, "label");
    } else {
      coder.encodeObject(label);
      coder.encodeObject(content);
    }
  }

  const std::string label;
  const ArchiveValue content;
};

inline RecordMakers testMakers() {
  return {{"Labelled", Labelled::make}};
}

inline ArchiveValue labelled(std::string label, ArchiveValue content = {}) {
  return std::shared_ptr<ArchiveRecord>(std::make_shared<Labelled>(std::move(label), std::move(content)));
}

inline ArchiveValue list(std::initializer_list<ArchiveValue> elements) {
  return std::make_shared<ArchiveArray>(elements);
}

inline ArchiveValue dictionary(std::initializer_list<ArchiveDictionary::value_type> entries) {
  return std::make_shared<ArchiveDictionary>(entries);
}

/// Writes an object out, so that two can be compared: "u4:5", "[nil, \"a\"]", "Labelled(a, nil)".
inline std::string show(const ArchiveValue& value) {
  if (const bool* flag = value.as<bool>()) {
    return *flag ? "true" : "false";
  }
  const auto number = [&]<typename T>(const char* type, const T* held) {
    return held == nullptr ? std::string() : type + (":" + std::to_string(*held));
  };
  for (const std::string& text : {number("s4", value.as<std::int32_t>()), number("u4", value.as<std::uint32_t>()),
                                  number("s8", value.as<std::int64_t>()), number("u8", value.as<std::uint64_t>()),
                                  number("f4", value.as<float>()), number("f8", value.as<double>())}) {
    if (!text.empty()) {
      return text;
    }
  }
  if (value.text() != nullptr) {
    return "\"" + *value.text() + "\"";
  }
  std::string shown;
  if (const auto array = value.array()) {
    for (const ArchiveValue& element : *array) {
      shown += (shown.empty() ? "" : ", ") + show(element);
    }
    return "[" + shown + "]";
  }
  if (const auto entries = value.dictionary()) {
    for (const auto& [key, element] : *entries) {
      shown += (shown.empty() ? "" : ", ") + key + "=" + show(element);
    }
    return "{" + shown + "}";
  }
  if (const auto record = std::dynamic_pointer_cast<const Labelled>(value.record())) {
    return "Labelled(" + record->label + ", " + show(record->content) + ")";
  }
  return "nil";
}

/// What comes back of an object; fails as text when nothing does.
inline std::string roundTrip(const ArchiveValue& value, ArchiveForm form) {
  std::string problem;
  const auto back = unarchive(archive(value, form), testMakers(), &problem);
  return back ? show(*back) : "refused: " + problem;
}

}  // namespace orv::test
