#include "OrvPlatform/StringTable.h"

#include <exception>
#include <mutex>
#include <utility>

#include "OrvPlatform/Log.h"

namespace orv {
namespace {

/// Made with `new` and never destroyed: objects that outlive main still find it.
struct Slot {
  std::mutex mutex;
  StringTable table;  // guarded by mutex
};

Slot& slot() {
  static Slot* const instance = new Slot;
  return *instance;
}

}  // namespace

StringTable setStringTable(StringTable table) {
  const std::lock_guard guard(slot().mutex);
  return std::exchange(slot().table, std::move(table));
}

std::string localizedString(std::string_view key, std::string_view fallback) {
  std::optional<std::string> text;
  try {
    const std::lock_guard guard(slot().mutex);
    if (slot().table) {
      text = slot().table(key);
    }
  } catch (const std::exception& failure) {
    logf("the string table failed: %s", failure.what());
  } catch (...) {
    log("the string table failed");
  }
  return text ? *text : std::string(fallback);
}

}  // namespace orv
