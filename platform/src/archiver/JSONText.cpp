#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "OrvPlatform/JSON.h"
#include "OrvPlatform/Log.h"

namespace orv {
namespace {

using nlohmann::json;

constexpr std::size_t kLongestText = std::size_t{4} << 20;
constexpr std::size_t kDeepest = 64;
constexpr std::size_t kMostValues = 500000;

/// Listens to the parser, which does not recurse, and puts the value together.
class Builder final : public nlohmann::json_sax<json> {
 public:
  explicit Builder(std::string_view text) : text_(text) {}

  std::optional<ArchiveValue> result;
  std::string problem;

  bool null() override { return add(ArchiveValue()); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(std::int64_t value) override { return add(value); }
  bool number_unsigned(std::uint64_t value) override {
    return std::in_range<std::int64_t>(value) ? add(static_cast<std::int64_t>(value)) : add(value);
  }
  bool number_float(double value, const std::string& /*text*/) override {
    return std::isfinite(value) ? add(value) : refuse("a number is too large");
  }
  bool string(std::string& value) override { return add(std::move(value)); }
  bool binary(json::binary_t& /*value*/) override { return refuse("it holds bytes"); }

  bool start_object(std::size_t /*count*/) override {
    return open({std::make_shared<ArchiveDictionary>(), nullptr, {}});
  }
  bool key(std::string& value) override {
    if (open_.back().dictionary->contains(value)) {
      return refuse("the key \"" + value + "\" is there twice");
    }
    open_.back().key = std::move(value);
    return true;
  }
  bool end_object() override {
    const Open closed = pop();
    return add(closed.dictionary);
  }
  bool start_array(std::size_t /*count*/) override { return open({nullptr, std::make_shared<ArchiveArray>(), {}}); }
  bool end_array() override {
    const Open closed = pop();
    return add(closed.array);
  }

  bool parse_error(std::size_t position, const std::string& /*token*/, const json::exception& exception) override {
    if (dynamic_cast<const json::out_of_range*>(&exception) != nullptr) {
      return refuse("a number is too large" + placeOf(position));
    }
    return refuse("it is not JSON" + placeOf(position));
  }

 private:
  struct Open {
    std::shared_ptr<ArchiveDictionary> dictionary;  ///< null: an array
    std::shared_ptr<ArchiveArray> array;
    std::string key;  ///< the dictionary's next
  };

  /// `position`: bytes read, the one that was not understood included.
  std::string placeOf(std::size_t position) const {
    const std::string_view before = text_.substr(0, std::min(position == 0 ? 0 : position - 1, text_.size()));
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t lineStart = before.rfind('\n') == std::string_view::npos ? 0 : before.rfind('\n') + 1;
    return formatText(" at line %td, column %zu", line, before.size() - lineStart + 1);
  }

  bool refuse(std::string why) {
    if (problem.empty()) {
      problem = std::move(why);
    }
    return false;
  }

  bool open(Open container) {
    if (open_.size() >= kDeepest) {
      return refuse("it is nested too deeply");
    }
    open_.push_back(std::move(container));
    return true;
  }

  Open pop() {
    Open closed = std::move(open_.back());
    open_.pop_back();
    return closed;
  }

  bool add(ArchiveValue value) {
    if (++values_ > kMostValues) {
      return refuse("it holds too many values");
    }
    if (open_.empty()) {
      result = std::move(value);
    } else if (open_.back().dictionary) {
      open_.back().dictionary->emplace(std::move(open_.back().key), std::move(value));
    } else {
      open_.back().array->push_back(std::move(value));
    }
    return true;
  }

  const std::string_view text_;
  std::vector<Open> open_;
  std::size_t values_ = 0;
};

}  // namespace

std::optional<ArchiveValue> parseJSON(std::string_view text, std::string* problem) {
  Builder builder(text);
  if (text.size() > kLongestText) {
    builder.problem = "it is too long";
  } else if (json::sax_parse(text.begin(), text.end(), &builder) && builder.result) {
    return std::move(builder.result);
  }
  if (problem != nullptr) {
    *problem = builder.problem.empty() ? "it is not JSON" : builder.problem;
  }
  return std::nullopt;
}

}  // namespace orv
