// LZW decoder: a loop for the bulk, and code by code where input, output or the table come to an edge.
#include "files/lzw_decoder.hpp"

#include <algorithm>

#include <qvimage/error.h>

namespace qvim::lzw {

namespace {

// The free code at which codes become wider. The decoder adds a string one code later than the encoder, so it
// switches one number earlier.
constexpr uint32_t switch_point(uint32_t width) { return width < max_width ? (1u << width) - 1 : codes; }

}  // namespace

inline decoder::string decoder::string::with(uint32_t last, uint32_t own_code) const {
  const uint32_t used = length() & 7;
  if (used == 0) return {last, ((shape & 0xFF000FFF) | own_code << 12) + 1};
  return {tail | uint64_t{last} << (8 * used), shape + 1};
}

void decoder::reset() {
  for (uint32_t byte = 0; byte < 256; byte++) put(byte, {byte, byte << 24 | 1});
  next_ = codes;
  reset_table();
  pending_ = 0;
  begun_ = false;
  result_ = 0;
}

void decoder::reset_table() {
  std::fill(shapes_ + 256, shapes_ + next_, 0);
  next_ = first_free;
  width_ = min_width;
  previous_ = clear;
}

int32_t decoder::run(codecstream &in, codecstream &out) {
  while (result_ == 0) {
    if (!deliver(out)) return 0;
    bulk(in, out);
    uint32_t code;
    if (!read_code(in, code)) {
      if (in.more > 0) return 0;
      return result_ = QVERR_USAGE;
    }
    // The decoder has now seen two bytes of the strip: the first, and the second up to its lowest bit.
    if (!begun_ && lzw_bits_reversed(uint8_t(code >> 1), uint8_t(in.bitacc))) return result_ = QVERR_FORMAT;
    begun_ = true;
    result_ = accept(code);
  }
  return result_;
}

// One code. False when the input does not hold all of it: its bits then wait in the stream record.
bool decoder::read_code(codecstream &in, uint32_t &code) const {
  bit_buffer buffer(in);
  while (buffer.count < width_ && bytes_left(in)) {
    buffer.bits = buffer.bits << 8 | *in.next;
    buffer.count += 8;
    advance(in, 1);
  }
  const bool complete = buffer.count >= width_;
  if (complete) {
    buffer.count -= width_;
    code = uint32_t(buffer.bits >> buffer.count);
  }
  buffer.keep(in);
  return complete;
}

// Takes a code into the table and makes its string the pending one.
int32_t decoder::accept(uint32_t code) {
  if (code == end_of_information) return 1;
  if (code == clear) return reset_table(), 0;
  if (previous_ == clear) {
    if (code > clear) return QVERR_FORMAT;
  } else {
    if (next_ >= codes || code > next_) return QVERR_FORMAT;
    const string before = at(previous_);
    put(next_, before.with(code < next_ ? at(code).first() : before.first(), previous_));
    if (++next_ == switch_point(width_) && width_ < max_width) width_++;
  }
  previous_ = code;
  pending_ = at(code).length();
  return 0;
}

// Writes what there is room for of the pending string; true when all of it is out.
bool decoder::deliver(codecstream &out) {
  if (pending_ == 0) return true;
  if (bytes_left(out) == 0) return false;
  string s = at(previous_);
  const uint32_t begin = s.length() - pending_;
  const uint32_t size = uint32_t(std::min<uint64_t>(pending_, bytes_left(out)));
  uint32_t end = s.length();
  for (;;) {  // from the string's last piece to its first
    const uint32_t start = s.tail_start();
    for (uint32_t i = std::max(start, begin); i < std::min(end, begin + size); i++)
      out.next[i - begin] = uint8_t(s.tail >> (8 * (i - start)));
    if (start <= begin) break;
    end = start;
    s = at(s.link());
  }
  advance(out, size);
  pending_ -= size;
  return pending_ == 0;
}

// Writes a string and up to seven bytes more.
inline uint8_t *decoder::copy(const string &s, uint8_t *to) const {
  uint32_t start = s.tail_start();
  store_le64(to + start, s.tail);
  for (uint32_t code = s.link(); start > 0; code = at(code).link()) {
    start -= 8;
    store_le64(to + start, tails_[code]);
  }
  return to + s.length();
}

// Decodes while there is ample input and room, up to a code that needs a closer look: Clear, End of
// Information, a bad one.
void decoder::bulk(codecstream &in, codecstream &out) {
  constexpr uint32_t group = 4;  // codes for which one filling of the bit buffer suffices
  constexpr uint64_t margin = 8 * group + 8;
  if (previous_ == clear || bytes_left(in) < 8 || bytes_left(out) < margin) return;
  const uint8_t *from = in.next;
  uint8_t *to = out.next;
  bit_buffer buffer(in);
  uint64_t bits = buffer.bits << 1 << (63 - buffer.count);  // the next bit highest
  uint32_t count = buffer.count;
  uint32_t next = next_, width = width_, previous_code = previous_;
  string previous = at(previous_);
  bool regular = true;

  while (regular && next < codes && in.end - from >= 8 && uint64_t(out.end - to) >= margin) {
    bits |= load_be64(from) >> count;
    from += (63 - count) >> 3;
    count |= 56;
    const uint32_t stop = std::min(next + group, switch_point(width));
    while (next < stop) {
      const uint32_t code = uint32_t(bits >> (64 - width));
      string current = at(code);
      if (current.shape == 0) [[unlikely]] {
        if (code != next) regular = false;
        current = previous.with(previous.first(), previous_code);
      }
      if (current.length() > 8 && uint64_t(out.end - to) < current.length() + margin) [[unlikely]]
        regular = false;
      if (!regular) break;
      put(next++, previous.with(current.first(), previous_code));
      to = copy(current, to);
      previous = current;
      previous_code = code;
      bits <<= width;
      count -= width;
    }
    if (next == switch_point(width) && width < max_width) width++;
  }

  next_ = next;
  width_ = width;
  previous_ = previous_code;
  const uint32_t unread = uint32_t(std::min<uint64_t>(count >> 3, uint64_t(from - in.next)));
  buffer.bits = bits >> 1 >> (63 - count) >> (8 * unread);
  buffer.count = count - 8 * unread;
  buffer.keep(in);
  advance(in, uint64_t(from - in.next) - unread);
  advance(out, uint64_t(to - out.next));
}

}  // namespace qvim::lzw
