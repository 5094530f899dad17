#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// Scratch files and hand-built byte layouts for the file-format tests.
namespace zorvtest {

// A path in the system's temporary folder, unique to this process.
inline std::string TempPath(std::string const& name) {
  char const* dir = std::getenv("TMPDIR");
  std::string base = (dir != nullptr && dir[0] != '\0') ? dir : "/tmp";
  return base + "/zorvtest-" + std::to_string(static_cast<long>(getpid())) + "-" + name;
}

inline bool WriteFileBytes(std::string const& path, std::vector<unsigned char> const& bytes) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return false;
  bool const ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

inline std::vector<unsigned char> ReadFileBytes(std::string const& path) {
  std::vector<unsigned char> bytes;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) return bytes;
  unsigned char chunk[4096];
  std::size_t n;
  while ((n = std::fread(chunk, 1, sizeof(chunk), f)) > 0)
    bytes.insert(bytes.end(), chunk, chunk + n);
  std::fclose(f);
  return bytes;
}

// Builds a byte layout field by field, in either byte order.
class Bytes {
 public:
  explicit Bytes(bool bigEndian = true) : big(bigEndian) {}

  Bytes& Tag(char const* four) {
    data.insert(data.end(), four, four + 4);
    return *this;
  }
  Bytes& Text(std::string const& s) {
    data.insert(data.end(), s.begin(), s.end());
    return *this;
  }
  Bytes& U8(unsigned v) {
    data.push_back(static_cast<unsigned char>(v & 0xFF));
    return *this;
  }
  Bytes& U16(std::uint32_t v) { return put(v, 2); }
  Bytes& U24(std::uint32_t v) { return put(v, 3); }
  Bytes& U32(std::uint32_t v) { return put(v, 4); }
  Bytes& U64(std::uint64_t v) {
    if (big) {
      put(static_cast<std::uint32_t>(v >> 32), 4);
      return put(static_cast<std::uint32_t>(v), 4);
    }
    put(static_cast<std::uint32_t>(v), 4);
    return put(static_cast<std::uint32_t>(v >> 32), 4);
  }
  Bytes& F32(float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, 4);
    return U32(bits);
  }
  Bytes& F64(double d) {
    std::uint64_t bits;
    std::memcpy(&bits, &d, 8);
    return U64(bits);
  }
  Bytes& Zeros(std::size_t n) {
    data.resize(data.size() + n, 0);
    return *this;
  }
  Bytes& Append(std::vector<unsigned char> const& more) {
    data.insert(data.end(), more.begin(), more.end());
    return *this;
  }
  std::size_t Size() const { return data.size(); }
  std::vector<unsigned char> const& Get() const { return data; }
  bool WriteTo(std::string const& path) const { return WriteFileBytes(path, data); }

 private:
  Bytes& put(std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) {
      int const shift = big ? 8 * (n - 1 - i) : 8 * i;
      data.push_back(static_cast<unsigned char>((v >> shift) & 0xFF));
    }
    return *this;
  }

  bool big;
  std::vector<unsigned char> data;
};

}  // namespace zorvtest
