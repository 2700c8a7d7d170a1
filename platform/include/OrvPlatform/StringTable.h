#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "OrvPlatform/Export.h"

/// The host's translations of texts that the framework shows.
namespace orv {

/// The text for a key, none where the host has none. Called on the thread that asks, one call at a time.
using StringTable = std::function<std::optional<std::string>(std::string_view key)>;

/// Replaces the table and returns the one before; an empty function takes it away. Must not be called from inside a
/// table. Thread-safe.
ORV_API StringTable setStringTable(StringTable table);

/// The table's text for `key`; `fallback` without a table, an entry, or when the table throws. Thread-safe; not
/// real-time safe.
ORV_API std::string localizedString(std::string_view key, std::string_view fallback);

}  // namespace orv
