#include "kernels/rectangle.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

namespace qvim {
namespace {

// A line of the one side is a column of the other: pixels of `bytes` bytes lie side by side across the
// lines in `from`, along them in `to`. Both go on with strides.
struct transposition {
  grid<const uint8_t> from;
  grid<uint8_t> to;
  uint32_t count, lines;

  // The same rectangle with its lines called columns, or in the opposite order along an axis.
  void exchange() {
    std::swap(from.along, from.across);
    std::swap(to.along, to.across);
    std::swap(count, lines);
  }
  void reverse_along() {
    from = {from.first + int64_t(count - 1) * from.along, -from.along, from.across};
    to = {to.first + int64_t(count - 1) * to.along, -to.along, to.across};
  }
  // Finds such an order, if there is one.
  bool arrange(int64_t bytes) {
    if (from.across != bytes && from.across != -bytes) exchange();
    if (to.along == -bytes) reverse_along();
    if (from.across == -bytes) exchange(), reverse_along(), exchange();
    return from.across == bytes && to.along == bytes;
  }
};

template <class Copy>
void one_by_one(const transposition &t, uint32_t left, uint32_t right, uint32_t top, uint32_t bottom,
                Copy copy) {
  for (int64_t y = top; y < bottom; y++)
    for (int64_t x = left; x < right; x++)
      copy(t.to.first + y * t.to.across + x * t.to.along,
           t.from.first + y * t.from.across + x * t.from.along);
}

// Squares of vectors: each round deals the rows of the upper half and of the lower one into each other, like
// cards; after log2 rounds rows are columns.
template <class T>
struct square {
  static constexpr int side = 16 / sizeof(T);
  typedef T row __attribute__((vector_size(16)));
  row rows[side];

  template <int... I>
  static row deal(const row &a, const row &b, int half, std::integer_sequence<int, I...>) {
    return half ? __builtin_shufflevector(a, b, (side / 2 + I / 2 + I % 2 * side)...)
                : __builtin_shufflevector(a, b, (I / 2 + I % 2 * side)...);
  }
  void transpose() {
    constexpr auto all = std::make_integer_sequence<int, side>{};
    for (int round = 1; round < side; round *= 2) {
      square dealt;
      for (int i = 0; i < side / 2; i++) {
        dealt.rows[2 * i] = deal(rows[i], rows[i + side / 2], 0, all);
        dealt.rows[2 * i + 1] = deal(rows[i], rows[i + side / 2], 1, all);
      }
      *this = dealt;
    }
  }
};

// Bands of a cache line's width, so that a line that is read is used while it is there. Bytes come faster
// from memory in longer pieces.
template <class T>
void transpose(const transposition &t) {
  constexpr uint32_t side = square<T>::side, band = sizeof(T) == 1 ? 512 : 64 / sizeof(T);
  const auto copy = [](uint8_t *out, const uint8_t *in) { std::memcpy(out, in, sizeof(T)); };
  const uint32_t right = t.count / side * side, bottom = t.lines / side * side;
  for (uint32_t top = 0; top < bottom; top += band)
    for (uint32_t left = 0; left < right; left += side)
      for (uint32_t y = top; y < std::min(top + band, bottom); y += side) {
        square<T> s;
        for (uint32_t i = 0; i < side; i++)
          std::memcpy(&s.rows[i],
                      t.from.first + int64_t(y) * t.from.across + int64_t(left + i) * t.from.along, 16);
        s.transpose();
        for (uint32_t i = 0; i < side; i++)
          std::memcpy(t.to.first + int64_t(y + i) * t.to.across + int64_t(left) * t.to.along, &s.rows[i], 16);
      }
  one_by_one(t, right, t.count, 0, bottom, copy);
  one_by_one(t, 0, t.count, bottom, t.lines, copy);
}

// Pixels of three quarters of a word, of which four become three words. Whole words are read: what follows a
// pixel on its line is read with it, and not used, so the last pixels of the lines need another way. Bands
// are so long that memory is read in long pieces, and so short that the lines written stay in the cache.
template <class Word>
void transpose_three_quarters(const transposition &t) {
  constexpr int bits = 2 * sizeof(Word), size = 3 * sizeof(Word) / 4;  // a quarter's bits, a pixel's bytes
  constexpr uint32_t band = 512;
  const uint32_t right = t.count / 4 * 4, bottom = t.lines - 1;
  const auto load = [](const uint8_t *in) {
    Word word;
    std::memcpy(&word, in, sizeof word);
    return Word(word & Word(~Word(0)) >> bits);
  };
  const auto store = [](uint8_t *out, Word word) { std::memcpy(out, &word, sizeof word); };
  for (uint32_t top = 0; top < bottom; top += band)
    for (uint32_t left = 0; left < right; left += 4) {
      const uint8_t *in = t.from.first + int64_t(top) * size + int64_t(left) * t.from.along;
      uint8_t *out = t.to.first + int64_t(top) * t.to.across + int64_t(left) * size;
      for (uint32_t n = std::min(band, bottom - top); n; n--, in += size, out += t.to.across) {
        const Word a = load(in), b = load(in + t.from.along), c = load(in + 2 * t.from.along),
                   d = load(in + 3 * t.from.along);
        store(out, a | b << 3 * bits);
        store(out + sizeof(Word), b >> bits | c << 2 * bits);
        store(out + 2 * sizeof(Word), c >> 2 * bits | d << bits);
      }
    }
  const auto copy = [](uint8_t *out, const uint8_t *from) { std::memcpy(out, from, size); };
  one_by_one(t, right, t.count, 0, bottom, copy);
  one_by_one(t, 0, t.count, bottom, t.lines, copy);
}

template <class Size>  // a number that the compiler knows, or one that it does not
void copy_tiles(const transposition &t, Size bytes) {
  constexpr uint32_t tile = 32;
  for (uint32_t top = 0; top < t.lines; top += tile)
    for (uint32_t left = 0; left < t.count; left += tile)
      one_by_one(t, left, std::min(left + tile, t.count), top, std::min(top + tile, t.lines),
                 [bytes](uint8_t *out, const uint8_t *in) { std::memcpy(out, in, bytes); });
}

}  // namespace

void copy_rectangle(grid<const uint8_t> from, grid<uint8_t> to, uint32_t count, uint32_t lines,
                    uint32_t bytes) {
  transposition t{from, to, count, lines};
  if (count == 0 || lines == 0) return;
  const bool arranged = t.arrange(bytes);
  if (arranged && bytes == 1) return transpose<uint8_t>(t);
  if (arranged && bytes == 2) return transpose<uint16_t>(t);
  if (arranged && bytes == 4) return transpose<uint32_t>(t);
  if constexpr (std::endian::native == std::endian::little) {
    if (arranged && bytes == 3) return transpose_three_quarters<uint32_t>(t);
    if (arranged && bytes == 6) return transpose_three_quarters<uint64_t>(t);
  }
  if (bytes == 3) return copy_tiles(t, std::integral_constant<size_t, 3>{});
  if (bytes == 6) return copy_tiles(t, std::integral_constant<size_t, 6>{});
  copy_tiles(t, size_t{bytes});
}

}  // namespace qvim
