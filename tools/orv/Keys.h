#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// What a key asks for.
enum class Key { pause, left, right, up, down, quit };

/// Makes keys of the bytes that a terminal sends. Those of an arrow begin with that of the Escape key, so a lone Escape
/// is known as one only when nothing has followed it by the next look.
class KeyReader {
 public:
  /// The keys in the bytes that came since the last look; none came: an empty text. What has no meaning is skipped.
  std::vector<Key> take(std::string_view bytes);

 private:
  std::string waiting_;  ///< the begin of a sequence
};

}  // namespace orv::cli
