#include "accuracy/Arguments.h"

#include <charconv>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

namespace orv::accuracy {
namespace {

int numberOf(const std::string& text, int least) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, number);
  if (problem != std::errc() || stop != end || number < least) {
    throw std::runtime_error("not a number of at least " + std::to_string(least) + ": " + text);
  }
  return number;
}

Half halfOf(const std::string& text) {
  for (const Half half : {Half::tuning, Half::report}) {
    if (text == nameOf(half)) {
      return half;
    }
  }
  throw std::runtime_error("neither tuning nor report: " + text);
}

}  // namespace

Arguments parseArguments(const std::vector<std::string>& words) {
  Arguments result;
  result.cacheFolder = std::filesystem::temp_directory_path() / "orv-accuracy-pieces";
  const std::map<std::string, std::function<void(const std::string&)>> withValue = {
      {"--half", [&](const std::string& text) { result.selection.half = halfOf(text); }},
      {"--seed-offset", [&](const std::string& text) { result.selection.seedOffset = numberOf(text, 0); }},
      {"--sides-of-a-kind", [&](const std::string& text) { result.selection.mostOfAKind = numberOf(text, 1); }},
      {"--only", [&](const std::string& text) { result.selection.only = text; }},
      {"--cache", [&](const std::string& text) { result.cacheFolder = text; }},
      {"--keep", [&](const std::string& text) { result.keepFolder = text; }},
      {"--sides", [&](const std::string& text) { result.sides = text; }},
      {"--side", [&](const std::string& text) { result.side = text; }},
      {"--truth", [&](const std::string& text) { result.truth = text; }},
      {"--threads", [&](const std::string& text) { result.threads = static_cast<unsigned>(numberOf(text, 1)); }},
  };
  const std::map<std::string, std::function<void()>> withoutValue = {
      {"--quick", [&] { result.selection.mostOfAKind = 1; }},
      {"--details", [&] { result.details = true; }},
      {"--no-peers", [&] { result.withoutPeers = true; }},
  };
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (const auto option = withoutValue.find(word); option != withoutValue.end()) {
      option->second();
    } else if (const auto valued = withValue.find(word); valued != withValue.end() && i + 1 < words.size()) {
      valued->second(words[++i]);
    } else if (word.starts_with("-")) {
      throw std::runtime_error("unknown option, or its value is missing: " + word);
    } else {
      result.positional.push_back(word);
    }
  }
  return result;
}

}  // namespace orv::accuracy
