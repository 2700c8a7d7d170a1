#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvPlatform/StringTable.h"

namespace orv::test {

/// A string table for as long as it lives, which translates every key to itself in angle brackets and keeps what it was
/// asked for.
class Translations {
 public:
  Translations() {
    previous_ = setStringTable([this](std::string_view key) {
      keys.emplace_back(key);
      return "<" + std::string(key) + ">";
    });
  }
  Translations(const Translations&) = delete;
  Translations& operator=(const Translations&) = delete;
  ~Translations() { setStringTable(std::move(previous_)); }

  std::vector<std::string> keys;

 private:
  StringTable previous_;
};

}  // namespace orv::test
