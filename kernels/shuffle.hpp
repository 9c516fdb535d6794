// Byte shuffles: of 16 bytes, and of whole runs by vectors.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kernels/vectors.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

typedef uint8_t bytes16 __attribute__((vector_size(16)));

// Byte i of the result is byte order[i] of the value; all of these are below 16. On processors that shuffle
// vectors of 64 bytes, GCC would take an instruction for two of them, which needs half as long again.
QVIM_INLINE bytes16 shuffled(bytes16 value, bytes16 order) {
#if QVIM_HAVE_WIDE
  return bytes16(_mm_shuffle_epi8(__m128i(value), __m128i(order)));
#elif defined(__clang__)
  bytes16 result;
  for (int i = 0; i < 16; ++i) result[i] = value[order[i]];
  return result;
#else
  return __builtin_shuffle(value, order);
#endif
}

// Runs are shuffled in pieces: whole vectors where the processor takes any byte of one to any place, and
// loads and stores under masks (AVX-512 VBMI), otherwise lanes.
constexpr int64_t piece_bytes = QVIM_HAVE_WIDE ? 64 : lane_bytes;

// Some items as bytes of pieces: byte i of a piece of results is byte from[i] of one of the source. Of both,
// only the bytes whose bits are set count.
struct byte_order {
  alignas(64) uint8_t from[piece_bytes] = {};
  alignas(lane_bytes) uint8_t kept[piece_bytes];  // 255 for bytes of results that do not count
  uint64_t read = 0, written = 0;
  int64_t size, items, srcstride, dststride;

  // Items of `item` bytes. The destination's stride must be at least that, the source's, too, but may be
  // negative; neither may be more than a piece. Byte i of an item's result is byte source(i) of the item.
  constexpr byte_order(int64_t item, int64_t from_stride, int64_t to_stride, auto source)
      : size(item), srcstride(from_stride), dststride(to_stride) {
    const bool backwards = srcstride < 0;
    const int64_t distance = backwards ? -srcstride : srcstride;
    for (uint8_t &place : from) place = QVIM_HAVE_WIDE ? 0 : 0x80;
    for (uint8_t &place : kept) place = 0xFF;
    // The last item of a piece needs no room for what follows it.
    items = size > piece_bytes ? 0 : 1 + (piece_bytes - size) / (distance > dststride ? distance : dststride);
    for (int64_t n = 0; n < items; ++n)
      for (int64_t i = 0; i < size; ++i) {
        const int64_t at = (backwards ? items - 1 - n : n) * distance + source(i);
        from[n * dststride + i] = uint8_t(at);
        kept[n * dststride + i] = 0;
        read |= 1ull << at;
        written |= 1ull << (n * dststride + i);
      }
  }

  // Bytes of the first so many items, of the source and of the destination.
  QVIM_INLINE uint64_t read_of(int64_t some) const {
    return read & (srcstride > 0 ? ~(~0ull << some * srcstride) : ~0ull << (items - some) * -srcstride);
  }
  QVIM_INLINE uint64_t written_of(int64_t some) const { return written & ~(~0ull << some * dststride); }
  // Bytes from the first of a run of items to its last.
  QVIM_INLINE int64_t read_span(int64_t count) const { return (count - 1) * srcstride + size; }
  QVIM_INLINE int64_t written_span(int64_t count) const { return (count - 1) * dststride + size; }
};

constexpr int64_t same_byte(int64_t i) { return i; }

// What is done to the bytes of a vector after their shuffle.
struct unchanged {
  QVIM_INLINE auto operator()(auto v) const { return v; }
  QVIM_INLINE auto bytes(auto v) const { return v; }
};

#if QVIM_HAVE_WIDE

// A vector is loaded before the one in front of it is stored: a load waits for a store that it overlaps, even
// where masks keep the bytes apart, and in place it would overlap each.
//
// Masked vectors that lie across cache lines hold up a processor that waits for memory. Lines asked for some
// rounds ahead let frames in memory pass at twice the speed.
constexpr int64_t lines_ahead = 1024;
QVIM_INLINE void expect_lines(const char *src, const char *dst, bool backwards) {
  __builtin_prefetch(src + (backwards ? -lines_ahead : lines_ahead), 0);
  __builtin_prefetch(dst + lines_ahead, 1);
}

template <class Operation>
[[gnu::noinline]] void shuffle_pieces(const char *src, char *dst, uint64_t count, const byte_order &order,
                                      const Operation &op) {
  const Operation operation = op;  // a copy, which no store can change
  const __m512i from = _mm512_load_si512(order.from);
  const uint64_t read = order.read, written = order.written;
  const int64_t items = order.items, srcstep = items * order.srcstride, dststep = items * order.dststride;
  if (srcstep < 0) src += srcstep - order.srcstride;  // the lowest address of a vector
  int64_t left = int64_t(count);
  const auto get = [&](uint64_t in) __attribute__((always_inline)) {
    expect_lines(src, dst, srcstep < 0);
    const __m512i v = _mm512_maskz_loadu_epi8(in, src);
    src += srcstep;
    return v;
  };
  const auto put = [&](__m512i v, uint64_t out) __attribute__((always_inline)) {
    const auto shuffled = (vec<uint8_t>)_mm512_maskz_permutexvar_epi8(out, from, v);
    _mm512_mask_storeu_epi8(dst, out, (__m512i)operation.bytes(shuffled));
    dst += dststep;
  };
  if (left >= items) {
    __m512i now = get(read);
    for (left -= items; left >= items; left -= items) {
      const __m512i next = get(read);
      put(now, written);
      now = next;
    }
    const __m512i last = left ? get(order.read_of(left)) : now;
    put(now, written);
    if (left) put(last, order.written_of(left));
  } else if (left) {
    put(get(order.read_of(left)), order.written_of(left));
  }
}

#elif QVIM_LANES

// Lanes are loaded and stored whole. What is loaded beyond their items is not used. What is stored beyond
// them is overwritten by the next store, so that where source and destination are the same, the next vectors
// are loaded before; gaps between items get back what was there. The last items, behind which there are too
// few bytes for that, change places in buffers.
template <int64_t known_from, int64_t known_to, class Operation>
[[gnu::noinline]] void shuffle_lanes(const char *src, char *dst, int64_t left, const byte_order &order,
                                     const Operation &op) {
  if (left == 0) return;
  using bytes = vec<uint8_t>;
  constexpr int64_t together = 4;  // vectors
  constexpr bool twelves = known_to == 12;
  const Operation operation = op;
  const int64_t items = order.items, srcstep = known_from ? known_from : items * order.srcstride,
                dststep = known_to ? known_to : items * order.dststride;
  const bool has_gaps = order.size < order.dststride;
  const bytes from = in_all_lanes<uint8_t>(order.from), kept = in_all_lanes<uint8_t>(order.kept);
  struct vectors {
    bytes v[together];
  };
  const auto get = [&]() __attribute__((always_inline)) {
    vectors all;
    each<together>([&](auto i) __attribute__((always_inline)) {
      all.v[i] = load_lanes<known_from>(src + i * lanes * srcstep, srcstep);
    });
    src += together * lanes * srcstep;
    left -= together * lanes * items;
    return all;
  };
  const auto put = [&](vectors all) __attribute__((always_inline)) {
    const auto to = [=](int64_t i) { return dst + i * lanes * dststep; };
    each<together>([&](auto i) __attribute__((always_inline)) {
      all.v[i] = operation.bytes(shuffled_lanes(all.v[i], from));
      if (!twelves && has_gaps) all.v[i] = chosen(kept, load_lanes<known_to>(to(i), dststep), all.v[i]);
    });
    if constexpr (twelves)
      store_twelves(dst, all.v);
    else
      each<together>([&](auto i)
                         __attribute__((always_inline)) { store_lanes<known_to>(to(i), dststep, all.v[i]); });
    dst += together * lanes * dststep;
  };
  // So many items are left when all bytes of vectors are in the runs.
  const auto items_in = [=](int64_t span, int64_t step, int64_t stride) __attribute__((always_inline)) {
    return ((together - 1) * lanes * step + span - order.size + stride - 1) / stride + 1;
  };
  const int64_t least =
      std::max({items_in(lanes_span<known_from>(srcstep), srcstep, order.srcstride),
                items_in(lanes_span<0>(dststep), dststep, order.dststride), together * lanes * items});
  constexpr int64_t group = together * vector_bytes;
  run_end<group + 2 * lane_bytes, group + lane_bytes> in, out;
  const int64_t read = order.read_span(left), written = order.written_span(left);
  const char *const src_end = src + read;
  char *const dst_end = dst + written;
  if (left >= least) {
    vectors now = get();
    while (left >= least) {
      const vectors next = get();
      put(now);
      now = next;
    }
    in.load(src_end, read);
    put(now);
  } else {
    in.load(src_end, read);
  }
  if (left <= 0) return;
  out.load(dst_end, written);
  src = in.last(order.read_span(left));
  dst = out.last(order.written_span(left));
  while (left > 0) put(get());
  out.store(dst_end, written);
}

template <class Operation>
QVIM_INLINE void shuffle_pieces(const char *src, char *dst, uint64_t count, const byte_order &order,
                                const Operation &operation) {
  const int64_t from = order.items * order.srcstride, to = order.items * order.dststride;
  const bool dense = order.size == order.dststride;
  const auto with = [&](auto known_from, auto known_to) __attribute__((always_inline)) {
    shuffle_lanes<known_from(), known_to()>(src, dst, int64_t(count), order, operation);
  };
  constexpr std::integral_constant<int64_t, 0> any;
  constexpr std::integral_constant<int64_t, 12> twelve;
  constexpr std::integral_constant<int64_t, 16> sixteen;
  if (from == 12 && to == 12 && dense) return with(twelve, twelve);
  if (from == 16 && to == 12 && dense) return with(sixteen, twelve);
  if (from == 12 && to == 16) return with(twelve, sixteen);
  if (from == 16 && to == 16) return with(sixteen, sixteen);
  with(any, any);
}

#endif

// What lies between the items of a run: bytes that must not be written, or the pads of pixels, which may be
// written with what they held.
enum class gaps { others, pads };

// A run of items in the order of their bytes, if this level can; says so. Source and destination may be the
// same when their strides are equal.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_run([[maybe_unused]] const char *src, [[maybe_unused]] char *dst,
                             [[maybe_unused]] uint64_t count, [[maybe_unused]] const byte_order &order,
                             [[maybe_unused]] gaps between = gaps::others,
                             [[maybe_unused]] const Operation &operation = {}) {
#if QVIM_LANES
  constexpr int64_t worthwhile = 12;  // bytes of a lane
  const bool can = QVIM_HAVE_WIDE ? order.items > 0
                                  : order.srcstride > 0 && order.items * order.dststride >= worthwhile &&
                                        (order.size == order.dststride || between == gaps::pads);
  if (can) shuffle_pieces(src, dst, count, order, operation);
  return can;
#else
  return false;
#endif
}

// The same for strides known only here, where masks let an order be made for any of them, when the run is
// worth it.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_strided(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                 uint64_t count, int64_t size, const auto &source,
                                 const Operation &operation = {}) {
  constexpr uint64_t many = 128;
  constexpr auto close = [](int64_t stride) { return stride >= -32 && stride <= 32; };
  if (!QVIM_HAVE_WIDE || count < many || !close(srcstride) || !close(dststride)) return false;
  if ((srcstride < 0 ? -srcstride : srcstride) < size || dststride < size) return false;
  return shuffle_run(src, dst, count, byte_order(size, srcstride, dststride, source), gaps::others,
                     operation);
}

// Pixels of three components, packed or with a pad, by orders made beforehand.
template <class T, auto source, class Operation = unchanged>
QVIM_INLINE bool shuffle_pixels(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                                uint64_t count, const Operation &operation = {}) {
  constexpr int64_t packed = 3 * sizeof(T), padded = 4 * sizeof(T);
  static constexpr byte_order orders[2][2] = {
      {{packed, packed, packed, source}, {packed, packed, padded, source}},
      {{packed, padded, packed, source}, {packed, padded, padded, source}}};
  const bool from_pad = srcstride == padded, to_pad = dststride == padded;
  if (!from_pad && srcstride != packed) return false;
  if (!to_pad && dststride != packed) return false;
  return shuffle_run(src, dst, count, orders[from_pad][to_pad], gaps::pads, operation);
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
