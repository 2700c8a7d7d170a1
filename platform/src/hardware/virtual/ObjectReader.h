#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "OrvPlatform/ArchiveValue.h"
#include "OrvPlatform/Status.h"

namespace orv::virtualhardware {

/// Reads the keys of a JSON object into variables, which keep their values where a key is missing. The first thing that
/// is wrong ends up in `*problem` with the place ("device 2: input.latency: it is no whole number from 0 to
/// 4294967295"); after it nothing is read any more.
class ObjectReader {
 public:
  /// `where` is put in front of keys: "device 2: input.".
  ObjectReader(const ArchiveValue& object, std::string where, std::string* problem);

  bool isGood() const { return problem_->empty(); }
  bool has(const std::string& key) const { return object_ != nullptr && object_->contains(key); }

  void read(const std::string& key, bool* value);
  void read(const std::string& key, double* value);
  void read(const std::string& key, float* value);
  void read(const std::string& key, std::uint32_t* value);
  void read(const std::string& key, std::string* value);
  void read(const std::string& key, std::optional<std::string>* value);
  /// A text of four characters, or a number.
  void readCode(const std::string& key, FourCharCode* value);
  /// One of several words.
  template <typename T>
  void readChoice(const std::string& key, std::initializer_list<std::pair<const char*, T>> choices, T* value) {
    std::string word;
    read(key, &word);
    if (!has(key) || !isGood()) {
      return;
    }
    for (const auto& [name, choice] : choices) {
      if (word == name) {
        *value = choice;
        return;
      }
    }
    refuse(key, "\"" + word + "\" is none of the possible words");
  }

  /// Calls `element` with each element of an array and its place: "device 2: input.streams[0]".
  void readList(const std::string& key,
                const std::function<void(const ArchiveValue& element, const std::string& place)>& element);
  /// Calls `object` with a reader of the object under the key, if there is one; its keys must all be known.
  void readObject(const std::string& key, const std::function<void(ObjectReader& object)>& object);

  /// After all keys: one that nobody asked for is a mistake.
  void finish();
  /// Says what is wrong with a key, unless something else was already.
  void refuse(const std::string& key, const std::string& why);

 private:
  /// Null when the key is missing, or something was wrong before.
  const ArchiveValue* find(const std::string& key);

  const std::shared_ptr<ArchiveDictionary> object_;  // null: not an object
  const std::string where_;
  std::string* const problem_;
  std::set<std::string> known_;
};

/// A JSON number of whichever kind.
std::optional<double> numberOf(const ArchiveValue& value);
/// A whole number that fits.
std::optional<std::uint32_t> wholeNumberOf(const ArchiveValue& value);

}  // namespace orv::virtualhardware
