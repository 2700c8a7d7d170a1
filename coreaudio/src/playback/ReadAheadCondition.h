#pragma once

#include <cstdint>

// What the lock between a cycle and the thread that reads ahead says.
inline constexpr std::int32_t kReadAheadWanted = 0;
inline constexpr std::int32_t kReadAheadIdle = 1;
