// LZW encoder: a loop for the bulk, and byte by byte where input, output or the table come to an edge.
#include "files/codec/lzw_encoder.hpp"

#include <algorithm>

namespace qvim::lzw {

namespace {

constexpr uint32_t table_limit = 4094;  // the free code at which the table starts anew
constexpr uint32_t distance = 0x9E5;

// Writes the whole bytes of the buffer; false when the room ended before.
bool flush(bit_buffer &buffer, codecstream &out) {
  while (buffer.count >= 8) {
    if (bytes_left(out) == 0) return false;
    buffer.count -= 8;
    *out.next = uint8_t(buffer.bits >> buffer.count);
    advance(out, 1);
  }
  return true;
}

void pad(bit_buffer &buffer) {
  const uint32_t bits = -buffer.count % 8;
  buffer.bits <<= bits;
  buffer.count += bits;
}

}  // namespace

void encoder::reset(uint64_t seed) {
  stage_ = stage::start;
  seed_ = seed;
  scattered_ = false;
}

// Strings that are in the way of too many others have been made to be. Four neighbouring bytes at a time get
// a secret place, and their strings with them. Within such four no two strings share a slot, since these are
// apart modulo 5. The numbers are those of Steele, Lea and Flood, "Fast splittable pseudorandom number
// generators", OOPSLA 2014.
void encoder::scatter() {
  uint64_t seed = seed_;
  for (uint32_t byte = 0; byte < 256; byte += 4) {
    uint64_t z = seed += 0x9E3779B97F4A7C15;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    for (uint32_t i = 0; i < 4; i++) spread_[byte + i] = uint16_t((z >> 48) + i * distance);
  }
  std::fill(table_, table_ + slots, 0);
  for (uint32_t code = first_free; code < next_; code++) {
    uint32_t slot = slot_of<true>(pairs_[code] >> 8, pairs_[code] & 0xFF);
    while (table_[slot]) slot = (slot + 1) % slots;
    table_[slot] = uint16_t(code);
  }
  scattered_ = true;
  allowed_ = INT64_MAX;
}

void encoder::reset_table() {
  std::fill(table_, table_ + slots, 0);
  allowed_ = scattered_ ? INT64_MAX : int64_t{codes};
  next_ = first_free;
  width_ = min_width;
  current_ = clear;
}

// A stage adds at most two codes to less than a byte: 31 bits, which the stream record can keep.
int32_t encoder::run(codecstream &in, codecstream &out) {
  bit_buffer buffer(out);
  bool waits = false;
  while (!waits) {
    if (!flush(buffer, out)) break;
    switch (stage_) {
      case stage::start:
        reset_table();
        emit(clear, buffer);
        stage_ = stage::strings;
        break;
      case stage::strings:
        scattered_ ? bulk<true>(in, out, buffer) : bulk<false>(in, out, buffer);
        if (allowed_ < 0) scatter();
        if (next_ == table_limit) {
          emit(current_, buffer);
          emit(clear, buffer);
          reset_table();
        } else if (bytes_left(in)) {
          take(*in.next, buffer);
          advance(in, 1);
        } else if (in.more > 0) {
          waits = true;
        } else {
          emit_last(buffer);
          stage_ = stage::end;
        }
        break;
      case stage::end:
        emit(end_of_information, buffer);
        pad(buffer);
        stage_ = stage::done;
        break;
      case stage::done: return buffer.keep(out), 1;
    }
  }
  buffer.keep(out);
  return 0;
}

void encoder::emit(uint32_t code, bit_buffer &buffer) const {
  buffer.bits = buffer.bits << width_ | code;
  buffer.count += width_;
}

// At first by a distance between neighbouring bytes that leaves the strings of pictures apart, as long as no
// pixels are made to meet there. Only the sum waits for the code.
template <bool scattered>
inline uint32_t encoder::slot_of(uint32_t code, uint32_t byte) const {
  return (code * 5 + (scattered ? spread_[byte] : byte * distance)) % slots;
}

// The slot of a string, or the free one where it belongs. Strings that are in the way use up what is allowed.
template <bool scattered>
inline uint32_t encoder::find(uint32_t code, uint32_t byte, int64_t &allowed) const {
  uint32_t slot = slot_of<scattered>(code, byte);
  for (; table_[slot] && pairs_[table_[slot]] != pair(code, byte); allowed--) slot = (slot + 1) % slots;
  return slot;
}

void encoder::take(uint32_t byte, bit_buffer &buffer) {
  if (current_ == clear) {
    current_ = byte;
    return;
  }
  const uint32_t slot =
      scattered_ ? find<true>(current_, byte, allowed_) : find<false>(current_, byte, allowed_);
  if (table_[slot]) {
    current_ = table_[slot];
    return;
  }
  emit(current_, buffer);
  table_[slot] = uint16_t(next_);
  pairs_[next_] = pair(current_, byte);
  if (++next_ == 1u << width_) width_++;
  current_ = byte;
}

// The last string gives the decoder one more entry of its table, which may widen the code that follows.
void encoder::emit_last(bit_buffer &buffer) {
  if (current_ == clear) return;
  emit(current_, buffer);
  if (++next_ == 1u << width_) width_++;
}

// Encodes while there is ample input and room, up to where the table starts anew.
template <bool scattered>
void encoder::bulk(codecstream &in, codecstream &out, bit_buffer &buffer) {
  constexpr uint32_t group = 4;  // bytes whose codes the bit buffer surely takes
  if (current_ == clear || bytes_left(in) < group || bytes_left(out) < 8) return;
  const uint8_t *from = in.next, *const from_end = in.end;
  uint8_t *to = out.next, *const to_end = out.end;
  uint64_t bits = buffer.bits;
  uint32_t count = buffer.count, current = current_, next = next_, width = width_;
  int64_t allowed = allowed_;

  while (from_end - from >= group && to_end - to >= 8 && allowed >= 0 &&
         next + group <= std::min(1u << width, table_limit)) {
    for (uint32_t i = 0; i < group; i++) {
      const uint32_t byte = from[i], slot = find<scattered>(current, byte, allowed), known = table_[slot];
      if (known) {
        current = known;
        continue;
      }
      bits = bits << width | current;
      count += width;
      table_[slot] = uint16_t(next);
      pairs_[next++] = pair(current, byte);
      current = byte;
    }
    from += group;
    store_be64(to, bits << 1 << (63 - count));
    to += count >> 3;
    count &= 7;
    if (next == 1u << width) width++;
  }

  buffer.bits = bits;
  buffer.count = count;
  current_ = current;
  next_ = next;
  width_ = width;
  allowed_ = allowed;
  advance(in, uint64_t(from - in.next));
  advance(out, uint64_t(to - out.next));
}

}  // namespace qvim::lzw
