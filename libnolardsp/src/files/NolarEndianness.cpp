#include "NolarEndianness.h"

namespace nolardsp {

namespace {
constexpr bool hostIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

std::uint32_t Endianness::SwapIfBigEndian(std::uint32_t value) {
  return hostIsBigEndian ? __builtin_bswap32(value) : value;
}
std::uint32_t Endianness::SwapIfLittleEndian(std::uint32_t value) {
  return hostIsBigEndian ? value : __builtin_bswap32(value);
}
std::uint16_t Endianness::SwapIfBigEndian(std::uint16_t value) {
  return hostIsBigEndian ? __builtin_bswap16(value) : value;
}
std::uint16_t Endianness::SwapIfLittleEndian(std::uint16_t value) {
  return hostIsBigEndian ? value : __builtin_bswap16(value);
}

}  // namespace nolardsp
