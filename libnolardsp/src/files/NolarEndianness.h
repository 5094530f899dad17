#pragma once

#include <cstdint>

namespace nolardsp {

// Byte-order helpers over byte arrays. Every shift is done on unsigned
// values, and the sign comes last by conversion, so negative samples cost no
// undefined behaviour.
class Endianness {
 public:
  static std::uint32_t SwapIfBigEndian(std::uint32_t value);     // to/from little-endian
  static std::uint32_t SwapIfLittleEndian(std::uint32_t value);  // to/from big-endian
  static std::uint16_t SwapIfBigEndian(std::uint16_t value);
  static std::uint16_t SwapIfLittleEndian(std::uint16_t value);

  // Signed values from bytes.
  static std::int32_t LittleEndian24Bit(unsigned char const* b) {
    return static_cast<std::int32_t>(LittleEndian24BitLeftJustified(b)) >> 8;
  }
  static std::int32_t BigEndian24Bit(unsigned char const* b) {
    return static_cast<std::int32_t>(BigEndian24BitLeftJustified(b)) >> 8;
  }
  static std::int32_t LittleEndianInt(unsigned char const* b) {
    return static_cast<std::int32_t>(LittleEndianUInt(b));
  }
  static std::int32_t BigEndianInt(unsigned char const* b) {
    return static_cast<std::int32_t>(BigEndianUInt(b));
  }
  static std::int16_t LittleEndianShort(unsigned char const* b) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(b[0] | (b[1] << 8)));
  }
  static std::int16_t BigEndianShort(unsigned char const* b) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>((b[0] << 8) | b[1]));
  }

  static std::uint32_t LittleEndianUInt(unsigned char const* b) {
    return static_cast<std::uint32_t>(b[0]) | (static_cast<std::uint32_t>(b[1]) << 8) |
           (static_cast<std::uint32_t>(b[2]) << 16) | (static_cast<std::uint32_t>(b[3]) << 24);
  }
  static std::uint32_t BigEndianUInt(unsigned char const* b) {
    return (static_cast<std::uint32_t>(b[0]) << 24) | (static_cast<std::uint32_t>(b[1]) << 16) |
           (static_cast<std::uint32_t>(b[2]) << 8) | static_cast<std::uint32_t>(b[3]);
  }
  // 24-bit samples placed in the top three bytes of 32 bits.
  static std::uint32_t LittleEndian24BitLeftJustified(unsigned char const* b) {
    return (static_cast<std::uint32_t>(b[0]) << 8) | (static_cast<std::uint32_t>(b[1]) << 16) |
           (static_cast<std::uint32_t>(b[2]) << 24);
  }
  static std::uint32_t BigEndian24BitLeftJustified(unsigned char const* b) {
    return (static_cast<std::uint32_t>(b[2]) << 8) | (static_cast<std::uint32_t>(b[1]) << 16) |
           (static_cast<std::uint32_t>(b[0]) << 24);
  }

  // The low 24 bits of value as three bytes.
  static void LittleEndian24BitToChars(std::int32_t value, unsigned char* b) {
    std::uint32_t const v = static_cast<std::uint32_t>(value);
    b[0] = static_cast<unsigned char>(v & 0xFF);
    b[1] = static_cast<unsigned char>((v >> 8) & 0xFF);
    b[2] = static_cast<unsigned char>((v >> 16) & 0xFF);
  }
  static void BigEndian24BitToChars(std::int32_t value, unsigned char* b) {
    std::uint32_t const v = static_cast<std::uint32_t>(value);
    b[0] = static_cast<unsigned char>((v >> 16) & 0xFF);
    b[1] = static_cast<unsigned char>((v >> 8) & 0xFF);
    b[2] = static_cast<unsigned char>(v & 0xFF);
  }
};

}  // namespace nolardsp
