#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orv::cli {

/// Builds one JSON text, step by step. Strings may hold anything: what is not UTF-8 is replaced.
class JsonWriter {
 public:
  enum class Layout { indented, oneLine };
  explicit JsonWriter(Layout layout = Layout::indented) : layout_(layout) {}

  JsonWriter& beginObject();
  JsonWriter& endObject();
  JsonWriter& beginArray();
  JsonWriter& endArray();

  /// Names the value that follows. Requires: inside an object.
  JsonWriter& key(std::string_view name);

  JsonWriter& value(std::string_view text);
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  JsonWriter& value(std::uint64_t number);
  JsonWriter& value(std::uint32_t number) { return value(std::uint64_t{number}); }
  JsonWriter& value(std::int64_t number);
  /// Reads back as exactly this number; `null` where JSON has no way to write it.
  JsonWriter& value(double number);
  JsonWriter& value(float number);
  JsonWriter& value(bool truth);
  JsonWriter& null();

  const std::string& text() const { return text_; }

 private:
  JsonWriter& put(std::string_view token);
  JsonWriter& open(char bracket);
  JsonWriter& close(char bracket);
  void separate();
  void newLine();

  const Layout layout_;
  std::string text_;
  int depth_ = 0;
  bool first_ = true;      // nothing yet in the innermost object or array
  bool afterKey_ = false;  // the next value stands on its key's line
};

}  // namespace orv::cli
