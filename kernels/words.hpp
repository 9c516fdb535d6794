// The words of requests: what pixies are and how a caller has them, along which axis runs go.
#pragma once

#include <cstdint>

#include <qvimage/data.h>
#include <qvimage/types.h>

namespace qvim {

constexpr bool is_integer(int32_t pixietype) {
  return pixietype & (QVIM_UINT8 | QVIM_UINT16 | QVIM_UINT32 | QVIM_UINT64);
}
constexpr bool is_real(int32_t pixietype) { return pixietype & (QVIM_FLOAT32 | QVIM_FLOAT64); }

// The components of a pixel with that hint, as far as the hint says.
constexpr int32_t components_of(int32_t hint) { return hint & 0xF; }

// Where the significant bits lie: the field of request words and of descriptions. In a description both ends
// together say that all bits are significant.
inline constexpr uint32_t justification = QVIM_MSB | QVIM_LSB, all_bits_used = justification;

// The field of a data type word that holds the pixie type.
inline constexpr uint32_t type_bits = 0xFF;

// A data type word: a pixie type and the form in which a caller has such pixies.
struct type_word {
  uint32_t bits = 0;

  constexpr type_word() = default;
  constexpr type_word(uint32_t word) : bits(word) {}
  constexpr uint32_t type() const { return bits & type_bits; }
  constexpr bool integer() const { return is_integer(int32_t(type())); }
  int32_t size() const { return qvimdatasize(bits); }  // bytes of a pixie; 0 for no type
  constexpr bool has(uint32_t flags) const { return bits & flags; }
  constexpr type_word with(uint32_t flags) const { return bits | flags; }
  constexpr type_word without(uint32_t flags) const { return bits & ~flags; }
  // The same pixies as clean numbers at the low end, in the host's byte order.
  constexpr type_word as_numbers() const {
    return without(justification | QVIM_DIRTY | QVIM_SWAPPED).with(QVIM_LSB);
  }
};

// The field of mode words that names the axis along which runs go.
inline constexpr uint32_t scan_bits = QVIM_YSCAN | QVIM_ZSCAN;

// Bits of mode words that travel between kinds without a meaning that all share.
namespace passing {
inline constexpr uint32_t stays = 0x800;             // views take it away from transfers
inline constexpr uint32_t marks_writes = 0x1000;     // and add this to those that write
inline constexpr uint32_t through_blocks = 0x10000;  // the one bit of a 2-D block transfer that reaches ioset
}  // namespace passing

// The flags of facts about pixels.
namespace fact {
inline constexpr uint8_t integer = 0x1, real = 0x2;
}

// What imapset answers.
namespace capability {
inline constexpr int32_t maps = 0x1, of_memory = 0x4, spans_lines = 0x8, memory_image = 0x4000;
}

}  // namespace qvim
