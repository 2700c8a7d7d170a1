#pragma once

#include <cstddef>
#include <cstdint>

namespace orv::converter {

/// Decode 8-bit logarithmic samples, as ITU-T G.711 defines them, to native 16-bit ones. Real-time safe.
void decodeMuLaw(const std::uint8_t* from, std::int16_t* to, std::size_t count);
void decodeALaw(const std::uint8_t* from, std::int16_t* to, std::size_t count);

}  // namespace orv::converter
