#pragma once

#include <cstddef>
#include <functional>

namespace orv::accuracy {

/// Calls `work` with each number below `count`, on `threads` threads, and returns when all calls have. What a call
/// throws ends the whole and is thrown on.
void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& work);

}  // namespace orv::accuracy
