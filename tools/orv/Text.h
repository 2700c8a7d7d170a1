#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text that came from outside (paths, names) made fit for where it goes.
namespace orv::cli {

/// Valid UTF-8: each byte that belongs to no character becomes U+FFFD.
std::string validUtf8(std::string_view text);

/// Valid UTF-8 that stays on one line: control characters, and what XML has no place for, become U+FFFD too.
std::string printable(std::string_view text);

/// Characters (code points) in valid UTF-8.
std::size_t characterCount(std::string_view text);

/// At most `count` characters of valid UTF-8; what was shortened ends in "…".
std::string shortened(std::string_view text, std::size_t count);

/// The longest beginning that fits into `bytes` bytes without cutting a character of valid UTF-8.
std::string_view clipped(std::string_view text, std::size_t bytes);

/// The shortest decimal form that reads back as exactly the same number.
std::string exactNumber(double value);
std::string exactNumber(float value);

}  // namespace orv::cli
