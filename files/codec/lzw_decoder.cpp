// LZW decoder: a loop for the bulk, and code by code where input, output or the table come to an edge.
#include "files/codec/lzw_decoder.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim::lzw {

namespace {

// The free code at which codes become wider. The decoder adds a string one code later than the encoder, so it
// switches one number earlier.
constexpr uint32_t switch_point(uint32_t width) { return width < max_width ? (1u << width) - 1 : codes; }

// Room for so many short strings, each stored as eight bytes.
constexpr int64_t room_for(uint32_t strings) { return 8 * strings; }

}  // namespace

void decoder::reset() {
  for (uint32_t byte = 0; byte < 256; byte++) words_[byte] = one_more | byte;
  next_ = codes;
  reset_table();
  pending_ = 0;
  unfolded_ = false;
  begun_ = false;
  result_ = 0;
}

void decoder::reset_table() {
  std::fill(words_ + 256, words_ + next_, 0);
  next_ = first_free;
  width_ = min_width;
  previous_ = clear;
}

// The string `next` when it extends this one; its facts are put in place already.
inline decoder::growing decoder::extension_of(uint32_t code, uint32_t next) {
  const word w = words_[code];
  const bool full = bits_of(w) == 8 * piece;
  const facts f = facts_of(code);
  long_[next].packed = full ? f.first() << 24 | code << 12 | (f.length() + 1) : f.packed + 1;
  return full ? growing{is_long | one_more, 0} : growing{w + one_more, bits_of(w)};
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
    if (!begun_ && lzw_bits_reversed(uint8_t(code >> 1), uint8_t(in.bitacc)))
      return result_ = because(QVERR_FORMAT, {lzw_reversed});
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
    if (code > clear) return because(QVERR_FORMAT, {"LZW code ", code, " before it is defined"});
  } else {
    if (next_ >= codes) return because(QVERR_FORMAT, {"more LZW codes than ", codes, " without a new table"});
    if (code > next_) return because(QVERR_FORMAT, {"LZW code ", code, " before it is defined"});
    const facts f = facts_of(code < next_ ? code : previous_);
    words_[next_] = extension_of(previous_, next_).with(f.first());
    if (++next_ == switch_point(width_) && width_ < max_width) width_++;
  }
  previous_ = code;
  pending_ = facts_of(code).length();
  unfolded_ = false;
  return 0;
}

// Writes what there is room for of the pending string; true when all of it is out. A string that does not go
// out at once is unfolded first, so that many small pieces of it cost no more than one.
bool decoder::deliver(codecstream &out) {
  if (pending_ == 0) return true;
  const uint32_t length = facts_of(previous_).length();
  const uint32_t size = uint32_t(std::min<uint64_t>(pending_, bytes_left(out)));
  if (size == 0) return false;
  if (size == length && bytes_left(out) >= length + piece) {
    copy(previous_, out.next);
  } else {
    if (!unfolded_) copy(previous_, string_);
    unfolded_ = true;
    std::memcpy(out.next, string_ + (length - pending_), size);
  }
  advance(out, size);
  pending_ -= size;
  return pending_ == 0;
}

// Writes a string, and up to seven bytes more.
uint8_t *decoder::copy(uint32_t code, uint8_t *to) const {
  facts f = facts_of(code);
  uint8_t *const end = to + f.length();
  uint8_t *place = to + (f.length() - 1) / piece * piece;
  store_le64(place, words_[code]);
  while (place > to) {
    place -= piece;
    code = f.link();
    f = facts_of(code);
    const uint8_t next_piece = place[piece];
    store_le64(place, words_[code]);
    place[piece] = next_piece;
  }
  return end;
}

// Decodes while there is ample input and room, up to a code that needs a closer look: Clear, End of
// Information, a bad one.
void decoder::bulk(codecstream &in, codecstream &out) {
  if (previous_ == clear || bytes_left(in) < 8 || bytes_left(out) < uint64_t(room_for(1))) return;
  bit_buffer buffer(in);
  cursor at{in.next, in.end, out.next, out.end, buffer.bits << 1 << (63 - buffer.count), buffer.count};
  const bool at_width_12 = (width_ > 9 || bulk_of_width<9>(at)) && (width_ > 10 || bulk_of_width<10>(at)) &&
                           (width_ > 11 || bulk_of_width<11>(at));
  if (at_width_12) bulk_of_width<12>(at);
  const uint32_t unread = uint32_t(std::min<uint64_t>(at.count >> 3, uint64_t(at.from - in.next)));
  buffer.bits = at.bits >> 1 >> (63 - at.count) >> (8 * unread);
  buffer.count = at.count - 8 * unread;
  buffer.keep(in);
  advance(in, uint64_t(at.from - in.next) - unread);
  advance(out, uint64_t(at.to - out.next));
}

// The same for codes of one width; true when wider ones follow. The loop lives in registers.
template <uint32_t Width>
bool decoder::bulk_of_width(cursor &at) {
  constexpr uint32_t end = switch_point(Width);
  const uint8_t *from = at.from, *const from_end = at.from_end;
  uint8_t *to = at.to, *const to_end = at.to_end;
  uint64_t bits = at.bits;
  uint32_t count = at.count, next = next_, previous = previous_;
  growing grown = extension_of(previous, next);
  bool regular = true;

  // In groups of codes for which one filling of the bit buffer suffices; near the end of the room one by one.
  for (const uint32_t group : {4u, 1u}) {
    const int64_t room = room_for(group);
    while (regular && next < end && from_end - from >= 8 && to_end - to >= room) {
      bits |= load_be64(from) >> count;
      from += (63 - count) >> 3;
      count |= 56;
      const uint32_t stop = std::min(next + group, end);
      while (next < stop) {
        const uint32_t code = uint32_t(bits >> (64 - Width));
        const word w = words_[code];
        const uint32_t size = tag(w);
        if (size - 8 < 8 * piece - 8) [[likely]] {  // one to six bytes, so the next string has up to seven
          words_[next++] = grown.with(w & 0xFF);
          store_le64(to, w);
          to += size / 8;
          grown = {w + one_more, size};
        } else {
          const uint32_t known = w ? code : previous;
          regular = (w || code == next) && to_end - to >= facts_of(known).length() + 1 + room;
          if (!regular) break;
          words_[next++] = grown.with(facts_of(known).first());
          to = copy(code, to);
          grown = extension_of(code, next);
        }
        previous = code;
        bits <<= Width;
        count -= Width;
      }
    }
  }

  next_ = next;
  previous_ = previous;
  at.from = from;
  at.to = to;
  at.bits = bits;
  at.count = count;
  const bool wider = next == end && Width < max_width;
  if (wider) width_++;
  return wider && regular;
}

}  // namespace qvim::lzw
