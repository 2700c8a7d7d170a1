#pragma once

#include <string>
#include <string_view>

namespace orv::pipewire {

/// UTF-8 whatever came: what is none becomes U+FFFD.
std::string validText(std::string_view text);

/// A number that stands at the start of a text, or `otherwise`. `text` may be null.
long numberIn(const char* text, long otherwise);

/// `{ "name": … }`, as the server's metadata names a device.
std::string nameObject(const std::string& name);
/// The name in such an object; empty when there is none. `text` may be null.
std::string nameInObject(const char* text);

}  // namespace orv::pipewire
