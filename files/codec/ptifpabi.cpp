// PackBits (Compression 32773).
#include <algorithm>

#include <qvimage/error.h>

#include "core/owned.hpp"
#include "core/reason.hpp"
#include "files/codec/codec.hpp"

namespace {

using namespace qvim;

constexpr uint32_t longest = 128;  // bytes that one packet stands for
constexpr uint8_t skipped = 0x80;  // a header without bytes

// What follows a header: bytes that are taken as they are, or one byte that stands for so many.
struct packet {
  uint32_t bytes;
  bool literal;

  static packet of(uint8_t header) {
    return header < skipped ? packet{header + 1u, true} : packet{257u - header, false};
  }
  uint8_t header() const { return uint8_t(literal ? bytes - 1 : 257 - bytes); }
  uint32_t coded_bytes() const { return literal ? 1 + bytes : 2; }
};

struct pabi_state {
  uint32_t row_bytes;
  uint32_t row_done;  // encoder: bytes of the row whose packets are written
  uint32_t written;   // encoder: coded bytes written of the packet after these
  packet current;     // decoder: what is left of a packet
  bool has_value;     // decoder: the byte that it repeats was read
  uint8_t value;
  int32_t error;
};

constexpr uint64_t every_byte = 0x0101010101010101;

// The number of leading bytes before the first zero one; 8 when there is none.
uint32_t bytes_before_zero(uint64_t word) {
  const uint64_t zeros = (word - every_byte) & ~word & (every_byte << 7);
  return uint32_t(std::countr_zero(zeros)) / 8;
}

// How often the first byte comes from here on, of at most `size` bytes.
uint32_t repeats(const uint8_t *p, uint32_t size) {
  uint32_t n = 1;
  for (; n + 8 <= size; n += 8) {
    const uint64_t differs = load_le64(p + n) ^ every_byte * p[0];
    if (differs) return n + uint32_t(std::countr_zero(differs)) / 8;
  }
  while (n < size && p[n] == p[0]) n++;
  return n;
}

// Where in `size` bytes the first three equal ones begin, `size` if nowhere. They may end beyond, within
// `left`.
uint32_t first_triple(const uint8_t *p, uint32_t size, uint32_t left) {
  uint32_t n = 0;
  for (; n < size && n + 10 <= left; n += 8) {
    const uint64_t a = load_le64(p + n), b = load_le64(p + n + 1), c = load_le64(p + n + 2);
    const uint32_t place = bytes_before_zero((a ^ b) | (b ^ c));
    if (place < 8) return std::min(n + place, size);
  }
  for (; n < size && n + 2 < left; n++)
    if (p[n] == p[n + 1] && p[n] == p[n + 2]) return n;
  return size;
}

packet next_packet(const uint8_t *p, uint32_t left) {
  const uint32_t size = std::min(left, longest);
  if (size == 1 || p[0] != p[1]) return {first_triple(p, size, left), true};
  return {repeats(p, size), false};
}

// Writes what there is room for of a packet's code; false when room ended before.
bool write_packet(pabi_state &s, const packet &next, const uint8_t *p, codecstream &out) {
  const uint32_t size = next.coded_bytes();
  if (s.written == 0 && bytes_left(out)) {
    *out.next = next.header();
    advance(out, 1);
    s.written = 1;
  }
  if (s.written == 0) return false;
  const uint32_t n = uint32_t(std::min<uint64_t>(size - std::min(s.written, size), bytes_left(out)));
  if (n) std::memcpy(out.next, p + s.written - 1, n);
  advance(out, n);
  s.written += n;
  if (s.written < size) return false;
  s.written = 0;
  return true;
}

int32_t encode(pabi_state &s, codecstream &in, codecstream &out) {
  if (bytes_left(in) && (uint64_t(in.end - in.start) % s.row_bytes || bytes_left(in) % s.row_bytes))
    return s.error = QVERR_USAGE;
  while (bytes_left(in)) {
    while (s.row_done < s.row_bytes) {
      // A packet that was begun comes out the same again: the caller still holds the row.
      const uint8_t *p = in.next + s.row_done;
      const packet next = next_packet(p, s.row_bytes - s.row_done);
      if (!write_packet(s, next, p, out)) return 0;
      s.row_done += next.bytes;
    }
    s.row_done = 0;
    advance(in, s.row_bytes);
  }
  return in.more > 0 ? 0 : 1;
}

// Whole packets, while there is ample input: where there is room for the longest, each writes as much as
// that, in a fixed number of stores.
void decode_bulk(codecstream &in, codecstream &out) {
  const uint8_t *from = in.next;
  uint8_t *to = out.next;
  while (in.end - from > int32_t(longest)) {
    const uint8_t header = *from;
    if (header == skipped) {
      from++;
      continue;
    }
    const packet next = packet::of(header);
    const int64_t room = out.end - to;
    if (room < int64_t{next.bytes}) break;
    const uint32_t size = room < int64_t{longest} ? next.bytes : 0;
    if (size)
      next.literal ? std::memcpy(to, from + 1, size) : std::memset(to, from[1], size);
    else
      next.literal ? std::memcpy(to, from + 1, longest) : std::memset(to, from[1], longest);
    from += next.coded_bytes();
    to += next.bytes;
  }
  advance(in, uint64_t(from - in.next));
  advance(out, uint64_t(to - out.next));
}

// What input and room allow of the packet begun.
void continue_packet(pabi_state &s, codecstream &in, codecstream &out) {
  packet &rest = s.current;
  if (!rest.literal && !s.has_value && bytes_left(in)) {
    s.value = *in.next;
    s.has_value = true;
    advance(in, 1);
  }
  uint32_t n = uint32_t(std::min<uint64_t>(rest.bytes, bytes_left(out)));
  if (rest.literal) n = uint32_t(std::min<uint64_t>(n, bytes_left(in)));
  if (n == 0 || !(rest.literal || s.has_value)) return;
  if (rest.literal) {
    std::memcpy(out.next, in.next, n);
    advance(in, n);
  } else {
    std::memset(out.next, s.value, n);
  }
  advance(out, n);
  rest.bytes -= n;
}

int32_t decode(pabi_state &s, codecstream &in, codecstream &out) {
  for (;;) {
    if (s.current.bytes == 0) {
      decode_bulk(in, out);
      if (bytes_left(in) == 0) return in.more > 0 ? 0 : 1;
      const uint8_t header = *in.next;
      advance(in, 1);
      if (header == skipped) continue;
      s.current = packet::of(header);
      s.has_value = false;
    }
    continue_packet(s, in, out);
    if (s.current.bytes == 0) continue;
    const bool needs_input = s.current.literal || !s.has_value;
    if (in.more > 0 || bytes_left(out) == 0 || !needs_input) return 0;
    return s.error = because(QVERR_FORMAT, {"the data end inside a PackBits run"});
  }
}

// Both directions: an error stays until the state is reset.
int32_t run(void *state, int32_t (*coder)(pabi_state &, codecstream &, codecstream &), codecstream *in,
            codecstream *out) {
  if (!state || !in || !out) return QVERR_USAGE;
  auto &s = *static_cast<pabi_state *>(state);
  return s.error ? s.error : coder(s, *in, *out);
}

}  // namespace

extern "C" {

int32_t ptifpabi_stateinit(void **state, const int32_t *rowbytes) {
  if (!state || *state || !rowbytes || *rowbytes < 1) return QVERR_USAGE;
  auto *s = static_cast<pabi_state *>(qvmallocz(sizeof(pabi_state)));
  if (!s) return QVERR_MEMORY;
  s->row_bytes = uint32_t(*rowbytes);
  *state = s;
  return 0;
}

int32_t ptifpabi_statereset(void *state) {
  if (!state) return QVERR_USAGE;
  auto &s = *static_cast<pabi_state *>(state);
  const uint32_t row_bytes = s.row_bytes;
  s = {};
  s.row_bytes = row_bytes;
  return 0;
}

void ptifpabi_statedone(void **state) { qvfreep(state); }

int32_t ptifpabi_encode(void *state, codecstream *in, codecstream *out) {
  return run(state, encode, in, out);
}

int32_t ptifpabi_decode(void *state, codecstream *in, codecstream *out) {
  return run(state, decode, in, out);
}

}  // extern "C"
