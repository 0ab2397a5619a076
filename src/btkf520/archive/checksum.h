// btkf520/archive/checksum.h: how damage is found: XXH64 with seed 0.
#pragma once

#include <cstdint>
#include <string_view>

namespace btkf {

uint64_t checksumOf(std::string_view bytes);

}  // namespace btkf
