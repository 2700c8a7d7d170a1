#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "OrvPlatform/ArchiveValue.h"
#include "OrvPlatform/Export.h"

namespace orv {

/// The value that a JSON text (RFC 8259) describes: dictionaries, arrays, texts, truth values, null as nothing. Whole
/// numbers are `std::int64_t`, or `std::uint64_t` where they are larger; others are `double`.
///
/// Texts are taken for hostile: at most 4 MiB, 64 levels of nesting and 500000 values, no key twice in one object, no
/// number that a double can't hold. Nothing, and one line in `*problem` (may be null) that says where, when the text is
/// not understood as a whole. Thread-safe.
ORV_API std::optional<ArchiveValue> parseJSON(std::string_view text, std::string* problem);

}  // namespace orv
