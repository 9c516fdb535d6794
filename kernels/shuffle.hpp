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

// Some items as bytes of a piece of a run: byte i of a piece of results is byte from[i] of one of the source,
// or 0 where that is 128. Of both, only the bytes whose bits are set count.
template <int64_t bytes>
struct byte_piece {
  alignas(bytes) uint8_t from[bytes] = {};
  uint64_t read = 0, written = 0;
  int64_t size, items, srcstride, dststride;

  // Items of `item` bytes. The destination's stride must be at least that, the source's, too, but may be
  // negative. Byte i of an item's result is byte source(i) of the item.
  constexpr byte_piece(int64_t item, int64_t from_stride, int64_t to_stride, auto source)
      : size(item), srcstride(from_stride), dststride(to_stride) {
    const bool backwards = srcstride < 0;
    const int64_t distance = backwards ? -srcstride : srcstride;
    for (uint8_t &place : from) place = 0x80;
    // The last item of a piece needs no room for what follows it.
    items = size > bytes ? 0 : 1 + (bytes - size) / (distance > dststride ? distance : dststride);
    if (bytes == lane_bytes && items == 5) items = 4;  // 12 bytes of a lane are quicker than 15
    for (int64_t n = 0; n < items; ++n)
      for (int64_t i = 0; i < size; ++i) {
        const int64_t at = (backwards ? items - 1 - n : n) * distance + source(i);
        from[n * dststride + i] = uint8_t(at);
        read |= 1ull << at;
        written |= 1ull << (n * dststride + i);
      }
  }
};

// The order of the bytes of a run of items, by lanes, and by whole vectors where the processor takes any byte
// of one to any place, and loads and stores under masks (AVX-512 VBMI).
struct byte_order {
  byte_piece<lane_bytes> lane;
#if QVIM_HAVE_WIDE
  byte_piece<vector_bytes> vector;
#endif
  constexpr byte_order(int64_t item, int64_t from_stride, int64_t to_stride, auto source)
      : lane(item, from_stride, to_stride, source)
#if QVIM_HAVE_WIDE
        ,
        vector(item, from_stride, to_stride, source)
#endif
  {
  }
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
template <class Operation>
[[gnu::noinline]] void shuffle_masked(const char *src, char *dst, uint64_t count,
                                      const byte_piece<vector_bytes> &order, const Operation &op) {
  const Operation operation = op;  // a copy, which no store can change
  const __m512i from = _mm512_load_si512(order.from);
  const uint64_t read = order.read, written = order.written;
  const int64_t items = order.items, srcstep = items * order.srcstride, dststep = items * order.dststride;
  if (srcstep < 0) src += srcstep - order.srcstride;  // the lowest address of a vector
  int64_t left = int64_t(count);
  // Bytes of the first so many items.
  const auto read_of = [&](int64_t some) {
    return read &
           (srcstep > 0 ? ~(~0ull << some * order.srcstride) : ~0ull << (items - some) * -order.srcstride);
  };
  const auto written_of = [&](int64_t some) { return written & ~(~0ull << some * order.dststride); };
  const auto get = [&](uint64_t in) __attribute__((always_inline)) {
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
    const __m512i last = left ? get(read_of(left)) : now;
    put(now, written);
    if (left) put(last, written_of(left));
  } else if (left) {
    put(get(read_of(left)), written_of(left));
  }
}

// The first 12 bytes of each lane of four vectors of two lanes make three: number k, of vectors k and k + 1.
template <int k>
QVIM_INLINE __m256i joined_twelves(__m256i a, __m256i b) {
  constexpr auto place = [](int i) {
    const int word = 8 * k + i;
    return (word / 6 - k) * 8 + word % 6 / 3 * 4 + word % 3;
  };
  const __m256i from =
      _mm256_setr_epi32(place(0), place(1), place(2), place(3), place(4), place(5), place(6), place(7));
  return _mm256_permutex2var_epi32(a, from, b);
}

// Lanes of pixels, packed or with pads, which get back what was there. Two lanes at a time: vectors of 64
// bytes take a fifth longer in memory and as long in the cache (AMD EPYC of family 25).
template <int64_t from, int64_t to, class Operation>
[[gnu::noinline]] void shuffle_pairs(const char *src, char *dst, int64_t left,
                                     const byte_piece<lane_bytes> &order, const Operation &op) {
  if (left == 0) return;
  using pair = vector_type<uint8_t, 2 * lane_bytes>::type;
  constexpr int64_t together = 4, group_lanes = 2 * together;
  const Operation operation = op;
  const int64_t items = order.items, size = order.size, srcstride = order.srcstride,
                dststride = order.dststride;
  const bool has_gaps = size < dststride;
  const __m128i places = _mm_load_si128(reinterpret_cast<const __m128i *>(order.from));
  const auto both = (pair)_mm256_broadcastsi128_si256(places), kept = (pair)(both >= 0x80);
  const __m256i second_begins = _mm256_setr_m128i(__m128i(), _mm_set1_epi8(char(from)));
  const auto read_from = _mm256_add_epi8((__m256i)both, second_begins);
  const auto load_pair = [](const char *at) __attribute__((always_inline)) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(at));
  };
  const auto store_pair = [](char *at, auto v) __attribute__((always_inline)) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(at), (__m256i)v);
  };
  const auto take = [&](int64_t i) __attribute__((always_inline)) {
    const auto filled = __mmask32(~_mm256_movepi8_mask(read_from));
    return operation.bytes(
        (pair)_mm256_maskz_permutexvar_epi8(filled, read_from, load_pair(src + i * 2 * from)));
  };
  const auto group = [&]() __attribute__((always_inline)) {
    if constexpr (to == 12) {  // three vectors of four
      const pair v[together] = {take(0), take(1), take(2), take(3)};
      each<together - 1>([&](auto k) __attribute__((always_inline)) {
        store_pair(dst + k * 2 * lane_bytes, joined_twelves<int(k)>((__m256i)v[k], (__m256i)v[k + 1]));
      });
    } else {
      each<together>([&](auto i) __attribute__((always_inline)) {
        pair v = take(i);
        char *const at = dst + i * 2 * to;
        if (has_gaps) v = (v & ~kept) | (kept & (pair)load_pair(at));
        store_pair(at, v);
      });
    }
    src += group_lanes * from;
    dst += group_lanes * to;
    left -= group_lanes * items;
  };
  constexpr int64_t group_bytes = group_lanes * lane_bytes;
  run_end<group_bytes + 2 * lane_bytes, group_bytes + lane_bytes> in, out;
  const auto span = [&](int64_t some, int64_t stride) { return (some - 1) * stride + size; };
  const int64_t read = span(left, srcstride), written = span(left, dststride);
  const char *const src_end = src + read;
  char *const dst_end = dst + written;
  while (left >= (group_lanes + 1) * items) group();  // a lane more: whole vectors are in the runs
  if (left <= 0) return;
  in.load(src_end, read);
  out.load(dst_end, written);
  src = in.last(span(left, srcstride));
  dst = out.last(span(left, dststride));
  while (left > 0) group();
  out.store(dst_end, written);
}

#elif QVIM_LANES

// Lanes are loaded and stored whole. What is loaded beyond their items is not used. What is stored beyond
// them is overwritten by the next store, so that where source and destination are the same, the next vectors
// are loaded before; gaps between items get back what was there. The last items, behind which there are too
// few bytes for that, change places in buffers.
template <int64_t known_from, int64_t known_to, class Operation>
[[gnu::noinline]] void shuffle_lanes(const char *src, char *dst, int64_t left,
                                     const byte_piece<lane_bytes> &order, const Operation &op) {
  if (left == 0) return;
  using bytes = vec<uint8_t>;
  constexpr int64_t together = 4;  // vectors
  constexpr bool twelves = known_to == 12;
  const Operation operation = op;
  const int64_t items = order.items, srcstep = known_from ? known_from : items * order.srcstride,
                dststep = known_to ? known_to : items * order.dststride;
  const bool has_gaps = order.size < order.dststride;
  const bytes from = in_all_lanes<uint8_t>(order.from), kept = (bytes)(from >= 0x80);
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
  // Bytes from the first of so many items to the last.
  const auto span = [&](int64_t some, int64_t stride) { return (some - 1) * stride + order.size; };
  const int64_t read = span(left, order.srcstride), written = span(left, order.dststride);
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
  src = in.last(span(left, order.srcstride));
  dst = out.last(span(left, order.dststride));
  while (left > 0) put(get());
  out.store(dst_end, written);
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
  const auto &lane = order.lane;
  const int64_t from = lane.items * lane.srcstride, to = lane.items * lane.dststride;
  const bool dense = lane.size == lane.dststride,
             can = from > 0 && to >= worthwhile && (dense || between == gaps::pads);
  const auto by_lanes = [&](auto known_from, auto known_to) __attribute__((always_inline)) {
#if !QVIM_HAVE_WIDE
    shuffle_lanes<known_from(), known_to()>(src, dst, int64_t(count), lane, operation);
    return true;
#else
    constexpr bool takes_pairs = requires(vector_type<uint8_t, 2 * lane_bytes>::type v) {
      operation.bytes(v);
    };
    if constexpr (takes_pairs)
      shuffle_pairs<known_from(), known_to()>(src, dst, int64_t(count), lane, operation);
    return takes_pairs;
#endif
  };
  constexpr std::integral_constant<int64_t, 12> twelve;
  constexpr std::integral_constant<int64_t, 16> sixteen;
  if (can && from == 12 && to == 12 && dense && by_lanes(twelve, twelve)) return true;
  if (can && from == 16 && to == 12 && dense && by_lanes(sixteen, twelve)) return true;
  if (can && from == 12 && to == 16 && by_lanes(twelve, sixteen)) return true;
  if (can && from == 16 && to == 16 && by_lanes(sixteen, sixteen)) return true;
#if QVIM_HAVE_WIDE
  if (order.vector.items > 0) shuffle_masked(src, dst, count, order.vector, operation);
  return order.vector.items > 0;
#else
  constexpr std::integral_constant<int64_t, 0> any;
  return can && by_lanes(any, any);
#endif
#else
  return false;
#endif
}

// The same for strides known only here, where masks let an order be made for any of them, when the run is
// worth it.
template <class Operation = unchanged>
QVIM_INLINE bool shuffle_strided([[maybe_unused]] const char *src, [[maybe_unused]] char *dst,
                                 [[maybe_unused]] int64_t srcstride, [[maybe_unused]] int64_t dststride,
                                 [[maybe_unused]] uint64_t count, [[maybe_unused]] int64_t size,
                                 [[maybe_unused]] const auto &source,
                                 [[maybe_unused]] const Operation &operation = {}) {
#if QVIM_HAVE_WIDE
  constexpr uint64_t many = 128;
  constexpr auto close = [](int64_t stride) { return stride >= -32 && stride <= 32; };
  if (count < many || !close(srcstride) || !close(dststride)) return false;
  if ((srcstride < 0 ? -srcstride : srcstride) < size || dststride < size) return false;
  const byte_piece<vector_bytes> order(size, srcstride, dststride, source);
  if (order.items > 0) shuffle_masked(src, dst, count, order, operation);
  return order.items > 0;
#else
  return false;
#endif
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
