// The two forms of a TIFF file (classic and BigTIFF), its byte order, and its field types.
#pragma once

#include <bit>
#include <cstdint>

namespace qvim::tiff {

// Sizes and byte order of everything in a file's directories.
struct format {
  bool big_endian = false;
  bool bigtiff = false;

  std::endian order() const { return big_endian ? std::endian::big : std::endian::little; }
  int offset_size() const { return bigtiff ? 8 : 4; }
  int count_size() const { return bigtiff ? 8 : 2; }  // of a directory's entry count
  int entry_size() const { return bigtiff ? 20 : 12; }
  int header_size() const { return bigtiff ? 16 : 8; }
  uint64_t first_link() const { return bigtiff ? 8 : 4; }  // where the first directory's offset stands
  uint16_t version() const { return bigtiff ? 43 : 42; }
};

enum class field : uint16_t {
  byte = 1,
  ascii = 2,
  short_ = 3,
  long_ = 4,
  rational = 5,
  sbyte = 6,
  undefined = 7,
  sshort = 8,
  slong = 9,
  srational = 10,
  float_ = 11,
  double_ = 12,
  ifd = 13,
  long8 = 16,
  slong8 = 17,
  ifd8 = 18,
};

// Bytes of one value of a field type; 0 for numbers that are no type.
constexpr int field_size(field type) {
  switch (type) {
    case field::byte:
    case field::ascii:
    case field::sbyte:
    case field::undefined: return 1;
    case field::short_:
    case field::sshort: return 2;
    case field::long_:
    case field::slong:
    case field::float_:
    case field::ifd: return 4;
    case field::rational:
    case field::srational:
    case field::double_:
    case field::long8:
    case field::slong8:
    case field::ifd8: return 8;
  }
  return 0;
}

// Unsigned integers: what counts, offsets and scalar tags are made of.
constexpr bool is_unsigned_integer(field type) {
  return type == field::byte || type == field::short_ || type == field::long_ || type == field::ifd ||
         type == field::long8 || type == field::ifd8;
}

enum compression : uint32_t {
  uncompressed = 1,
  lzw = 5,
  packbits = 32773,
  arithmetic = 32885,
  // Not in files: the same with horizontal differences, as users ask for it and are told of it.
  lzw_differenced = 517,
  arithmetic_differenced = 33397,
};

enum photometric : uint32_t {
  white_is_zero = 0,
  black_is_zero = 1,
  rgb = 2,
  mapped = 3,
  separated = 5,
  ycbcr = 6
};

}  // namespace qvim::tiff
