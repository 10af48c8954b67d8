#pragma once

#include <cstdint>
#include <string>

namespace media_server {

/// Writes the bit fields of JPEG XL, least significant bit first.
class JpegXlBits {
 public:
  /// Starts with the signature.
  JpegXlBits() { Put(0x0AFF, 16); }

  /// Beyond 64 bits zeros.
  JpegXlBits& Put(std::uint64_t value, unsigned count) {
    for (unsigned i = 0; i < count; ++i, ++bits_) {
      if (bits_ % 8 == 0) bytes_ += '\0';
      if (i < 64 && (value >> i & 1) != 0) bytes_.back() = static_cast<char>(bytes_.back() | 1 << (bits_ % 8));
    }
    return *this;
  }

  /// Fills the last byte up with zeros.
  JpegXlBits& ToByte() { return Put(0, (8 - bits_ % 8) % 8); }

  /// Of 14 bits: not small, height less one in 9 bits, width by a ratio.
  JpegXlBits& Size(std::uint32_t height, unsigned ratio) {
    return Put(0, 1).Put(0, 2).Put(height - 1, 9).Put(ratio, 3);
  }

  const std::string& Bytes() const { return bytes_; }
  /// What came behind the signature.
  std::string BytesOfFrame() const { return bytes_.substr(2); }

 private:
  std::string bytes_;
  unsigned bits_ = 0;
};

/// A frame of an animation that has the XYB colours, no extra channels and no time codes.
struct JpegXlFrame {
  unsigned duration_ticks = 0;  ///< below 256
  bool is_last = false;
  bool is_permuted = false;
  bool has_extension = false;
  unsigned parts = 1;       ///< in the table of contents
  unsigned part_bytes = 5;  ///< below 1024, of each

  std::string Bytes() const {
    JpegXlBits bits;
    bits.Put(0, 1).Put(0, 2).Put(1, 1).Put(0, 2);                     // not all default, regular, modular, no flags
    bits.Put(0, 2).Put(1, 2).Put(0, 2).Put(0, 1);                     // upsampling, groups of 256, one pass, no crop
    bits.Put(0, 2).Put(2, 2).Put(duration_ticks, 8).Put(is_last, 1);  // replaces all
    if (!is_last) bits.Put(0, 2);                                     // slot
    if (!is_last && duration_ticks == 0) bits.Put(0, 1);              // kept before or after the colours change
    bits.Put(0, 2).Put(1, 1).Put(has_extension ? 1 : 0, has_extension ? 6 : 2);  // name, filters
    bits.Put(is_permuted, 1).ToByte();
    for (unsigned i = 0; i < parts; ++i) bits.Put(0, 2).Put(part_bytes, 10);
    return bits.ToByte().BytesOfFrame() + std::string(std::size_t{parts} * part_bytes, '\xAA');
  }
};

}  // namespace media_server
