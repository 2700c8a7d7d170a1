#include "Json.h"

#include <cmath>

#include "Text.h"

namespace orv::cli {
namespace {

std::string quoted(std::string_view text) {
  constexpr std::string_view hex = "0123456789abcdef";
  std::string result = "\"";
  for (const char c : validUtf8(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else if (byte < 0x20 || byte == 0x7F) {
      result += "\\u00";
      result += hex[byte >> 4];
      result += hex[byte & 0xFU];
    } else {
      result += c;
    }
  }
  return result + '"';
}

}  // namespace

JsonWriter& JsonWriter::beginObject() {
  return open('{');
}
JsonWriter& JsonWriter::endObject() {
  return close('}');
}
JsonWriter& JsonWriter::beginArray() {
  return open('[');
}
JsonWriter& JsonWriter::endArray() {
  return close(']');
}

JsonWriter& JsonWriter::key(std::string_view name) {
  put(quoted(name));
  text_ += ": ";
  afterKey_ = true;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  return put(quoted(text));
}
JsonWriter& JsonWriter::value(std::uint64_t number) {
  return put(std::to_string(number));
}
JsonWriter& JsonWriter::value(std::int64_t number) {
  return put(std::to_string(number));
}
JsonWriter& JsonWriter::value(double number) {
  return put(std::isfinite(number) ? exactNumber(number) : "null");
}
JsonWriter& JsonWriter::value(float number) {
  return put(std::isfinite(number) ? exactNumber(number) : "null");
}
JsonWriter& JsonWriter::value(bool truth) {
  return put(truth ? "true" : "false");
}

JsonWriter& JsonWriter::null() {
  return put("null");
}

JsonWriter& JsonWriter::put(std::string_view token) {
  separate();
  text_ += token;
  return *this;
}

JsonWriter& JsonWriter::open(char bracket) {
  separate();
  text_ += bracket;
  ++depth_;
  first_ = true;
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  --depth_;
  if (!first_) {
    newLine();
  }
  text_ += bracket;
  first_ = false;
  return *this;
}

void JsonWriter::separate() {
  if (!afterKey_ && depth_ > 0) {
    if (!first_) {
      text_ += layout_ == Layout::oneLine ? ", " : ",";
    }
    newLine();
  }
  afterKey_ = false;
  first_ = false;
}

void JsonWriter::newLine() {
  if (layout_ == Layout::oneLine) {
    return;
  }
  text_ += '\n';
  text_.append(2 * static_cast<std::size_t>(depth_), ' ');
}

}  // namespace orv::cli
