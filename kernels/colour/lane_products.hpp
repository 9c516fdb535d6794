// Integer linear combinations by lanes: four pixels in each, one in each 32 bits while it is computed.
// Products of words are added in pairs, so that coefficients must be words. The results are those of the
// generic loops.
#pragma once

#include "kernels/colour/pixels.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// What becomes of shifted sums: cut to the width, limited to 0 .. largest, or that but for pixels with a
// component that is `largest`, which turn white.
enum class results { cut, limited, limited_or_white };

#if QVIM_LANES

using byte_vector = vec<uint8_t>;

// The order of a lane's bytes, from a function of the place; 128 gives 0.
struct lane_order {
  alignas(lane_bytes) uint8_t from[lane_bytes] = {};
  constexpr explicit lane_order(auto source) {
    for (int i = 0; i < lane_bytes; ++i) from[i] = uint8_t(source(i));
  }
};
template <auto &order>
QVIM_INLINE byte_vector ordered(byte_vector v) {
  return shuffled_lanes(v, in_all_lanes<uint8_t>(order.from));
}

// Runs of pixels of `in` and `out` components by steps of `pixels`, which a member convert(src, dst) takes
// all at once. What is too short for a step, or lies so near the end that whole vectors would reach beyond
// the run, passes through buffers.
template <class T, int in, int out, int out_used, int64_t pixels, class Step>
QVIM_INLINE void run_steps(const Step &step, const char *src, char *dst, uint64_t count) {
  constexpr int64_t size_in = in * sizeof(T), size_out = out * sizeof(T), used = out_used * sizeof(T),
                    ahead = lanes > 2 ? 6 : 3;  // pixels
  int64_t left = int64_t(count);
  for (; left >= pixels + ahead; left -= pixels, src += pixels * size_in, dst += pixels * size_out)
    step.convert(src, dst);
  if (left <= 0) return;
  constexpr int64_t most = pixels + ahead;
  run_end<most * size_in, pixels * size_in + vector_bytes> source;
  run_end<most * size_out, pixels * size_out + vector_bytes> results;
  constexpr int64_t pad_in = in == 4 ? sizeof(T) : 0, pad_out = size_out - used;  // not of the run at its end
  char *const dst_end = dst + left * size_out - pad_out;
  source.load(src + left * size_in - pad_in, int64_t(count) * size_in - pad_in);
  results.load(dst_end, int64_t(count) * size_out - pad_out);
  src = source.last(left * size_in - pad_in);
  char *to = results.last(left * size_out - pad_out);
  for (; left > 0; left -= pixels, src += pixels * size_in, to += pixels * size_out) step.convert(src, to);
  results.store(dst_end, int64_t(count) * size_out - pad_out);
}

// Lanes of `size` bytes that follow each other in memory, whose bytes are taken in any order.
template <int64_t size>
class lanes_in_memory {
#if QVIM_LANES == 4
  // Where the bytes lie from which a vector is made, or the words of two vectors.
  template <class Item>
  struct places {
    static constexpr int width = sizeof(Item), in_lane = int(lane_bytes) / width;
    alignas(vector_bytes) Item from[vector_bytes / width];
    constexpr explicit places(const lane_order &order) {
      for (int i = 0; i < int(vector_bytes) / width; ++i) {
        const int at = order.from[i % in_lane * width];
        from[i] = at == 128 ? Item(Item(1) << (8 * width - 1)) : Item((i / in_lane * int(size) + at) / width);
      }
    }
  };
  byte_vector first, second;

  // Not at every use: most loads cross a cache line.
  QVIM_INLINE static byte_vector load_once(const char *src) {
    auto v = load_vector<uint8_t>(src);
    asm("" : "+v"(v));
    return v;
  }

 public:
  QVIM_INLINE explicit lanes_in_memory(const char *src) : first(load_once(src)) {
    if constexpr (size > lane_bytes) second = load_once(src + vector_bytes);
  }
  // Of lanes of more than 16 bytes, words.
  template <auto &order>
  QVIM_INLINE byte_vector ordered() const {
    if constexpr (size <= lane_bytes) {
      static constexpr places<uint8_t> bytes(order);
      return shuffled_anywhere(first, load_vector<uint8_t>(bytes.from));
    } else {
      static constexpr places<uint16_t> words(order);
      return (byte_vector)words_of_two((vec<uint16_t>)first, (vec<uint16_t>)second,
                                       load_vector<uint16_t>(words.from));
    }
  }
  // A bit for each component in memory: is it this one?
  QVIM_INLINE uint64_t equal(uint8_t component) const {
    return _mm512_cmpeq_epi8_mask((__m512i)first, (__m512i)all(component));
  }
  QVIM_INLINE uint64_t equal(uint16_t component) const {
    const auto in = [=](byte_vector v) __attribute__((always_inline)) {
      return uint64_t(_mm512_cmpeq_epi16_mask((__m512i)v, (__m512i)all(component)));
    };
    return in(first) | in(second) << (vector_bytes / 2);
  }
#else
  static constexpr int second_begins = int(size - lane_bytes);  // it ends with the lane
  byte_vector first, second;

 public:
  QVIM_INLINE explicit lanes_in_memory(const char *src) : first(load_lanes<size>(src, size)) {
    if constexpr (size > lane_bytes) second = load_lanes<size>(src + second_begins, size);
  }
  template <auto &order>
  QVIM_INLINE byte_vector ordered() const {
    if constexpr (size <= lane_bytes) {
      return qvim::ordered<order>(first);
    } else {
      static constexpr lane_order low([](int i) { return order.from[i] < lane_bytes ? order.from[i] : 128; }),
          high([](int i) {
            return order.from[i] < lane_bytes || order.from[i] == 128 ? 128 : order.from[i] - second_begins;
          });
      return qvim::ordered<low>(first) | qvim::ordered<high>(second);
    }
  }
#endif
};

// Four pixels of a lane, of `in` components of which three are used: the first two as pairs of words, and
// the third with a 0 (or a pad, whose coefficient is 0).
template <class T, int in>
struct word_pairs {
  static constexpr int64_t lane_in = 4 * in * sizeof(T);
  lanes_in_memory<lane_in> memory;
  vec<int16_t> first_two, third;

  QVIM_INLINE explicit word_pairs(const char *src) : memory(src) {
    constexpr int width = sizeof(T), size = in * width;
    static constexpr auto byte_of = [](int i, int c) {  // of word i, component c of the pixel
      return i % 2 < width ? i / 4 * size + c * width + i % 2 : 128;
    };
    static constexpr lane_order pairs([](int i) { return byte_of(i, i % 4 / 2); }),
        thirds([](int i) { return i % 4 < 2 ? byte_of(i, 2) : 128; });
    // Unsigned words become signed ones by subtracting 2^15.
    constexpr uint16_t sign = sizeof(T) == 1 ? 0 : 0x8000;
    first_two = (vec<int16_t>)((vec<uint16_t>)memory.template ordered<pairs>() ^ sign);
    third = (vec<int16_t>)((vec<uint16_t>)memory.template ordered<thirds>() ^ sign);
  }
  // Sums of pixels with a white component become no less than that. Others that are below 0 may become 0.
  template <int outputs>
  QVIM_INLINE void whiten(T white, vec<int32_t> (&sum)[outputs]) const {
#if QVIM_LANES == 4
    constexpr uint64_t first_components = in == 3 ? 0x2492'4924'9249 : 0x1111'1111'1111'1111;
    const uint64_t equal = memory.equal(white);
    const auto pixels = __mmask16(_pext_u64(equal | equal >> 1 | equal >> 2, first_components));
    for (auto &v : sum)
      v = (vec<int32_t>)_mm512_mask_mov_epi32((__m512i)v, pixels, (__m512i)all<int32_t>(white));
#else
    const auto one = all<int16_t>(int16_t(sizeof(T) == 1 ? white : white ^ 0x8000));
    const vec<int32_t> least = ((vec<int32_t>)((first_two == one) | (third == one)) != 0) & white;
    for (auto &v : sum) v = v > least ? v : least;
#endif
  }
};

// The pads of lanes of whole pixels, of one component each; the rest is 0.
template <class T, int64_t step>
QVIM_INLINE byte_vector pads(const char *from) {
  static constexpr lane_order pads([](int i) { return i / int(sizeof(T)) % 4 == 3 ? 255 : 0; });
  return load_lanes<step>(from, step) & in_all_lanes<uint8_t>(pads.from);
}
// Such lanes to memory; pads stay.
template <class T, int64_t step>
QVIM_INLINE void store_padded(char *to, byte_vector v) {
  store_lanes<step>(to, step, v | pads<T, step>(to));
}

// Pixels of three sums, packed or with a pad.
template <class T, int out>
struct three_sums {
  vec<int32_t> c[3];

  QVIM_INLINE byte_vector bytes(vec<uint8_t> most) const {
    static constexpr lane_order order([](int i) {
      const int p = i / out, component = i % out;
      return p < 4 && component < 3 ? component * 4 + p : 128;
    });
    const byte_vector v = narrowed_unsigned(narrowed(c[0], c[1]), narrowed(c[2], c[2]));
    return ordered<order>(v < most ? v : most);
  }
  // Words to memory; pads stay.
  QVIM_INLINE void store(char *to, vec<uint16_t> most) const {
    vec<uint16_t> a = narrowed_unsigned(c[0], c[1]), b = narrowed_unsigned(c[2], c[2]);
    a = a < most ? a : most;
    b = b < most ? b : most;
#if QVIM_LANES == 4
    constexpr int words = int(vector_bytes) / 2;
    struct places {
      alignas(vector_bytes) uint16_t from[words];
      constexpr explicit places(int first) {
        for (int i = 0; i < words; ++i) {
          const int p = (first + i) / out, component = (first + i) % out;
          const int at = component / 2 * words + p / 4 * 8 + component % 2 * 4 + p % 4;
          from[i] = component == 3 || p >= 16 ? 0x8000 : uint16_t(at);
        }
      }
    };
    static constexpr places low(0), high(words);
    const auto first = (byte_vector)words_of_two(a, b, load_vector<uint16_t>(low.from)),
               second = (byte_vector)words_of_two(a, b, load_vector<uint16_t>(high.from));
    if constexpr (out == 4)
      store_padded<T, lane_bytes>(to, first), store_padded<T, lane_bytes>(to + vector_bytes, second);
    else
      store_vector(to, first), std::memcpy(to + vector_bytes, &second, vector_bytes / 2);
#else
    static constexpr auto place = [](int i, int of) {  // component c of pixel p: in `of` of the two vectors
      const int p = i / 2 / out, component = i / 2 % out;
      if (p > 3 || component > 2 || component / 2 != of) return 128;
      return component % 2 * 8 + p * 2 + i % 2;
    };
    static constexpr lane_order low_a([](int i) { return place(i, 0); }),
        low_b([](int i) { return place(i, 1); }), high_a([](int i) { return place(i + 16, 0); }),
        high_b([](int i) { return place(i + 16, 1); });
    const byte_vector low = ordered<low_a>((byte_vector)a) | ordered<low_b>((byte_vector)b),
                      high = ordered<high_a>((byte_vector)a) | ordered<high_b>((byte_vector)b);
    constexpr int64_t lane_out = 4 * out * sizeof(T);
    if constexpr (out == 4)
      store_padded<T, lane_out>(to, low), store_padded<T, lane_out>(to + lane_bytes, high);
    else
      store_three_halves(to, low, high);
#endif
  }
};

// The coefficients of a conversion, components in the order in which they are stored.
template <class T, int outputs, int shift, results rule>
struct dot_products {
  int16_t m[outputs][3];
  int32_t constants[outputs];
  T largest = T(-1);
  bool fits = true;  // coefficients are words, and the limit is a component

  void set_row(int r, int32_t m0, int32_t m1, int32_t m2, uint32_t added) {
    const int32_t row[3] = {m0, m1, m2};
    uint32_t sum = 0;
    for (int c = 0; c < 3; ++c) {
      m[r][c] = int16_t(row[c]);
      fits = fits && m[r][c] == row[c];
      sum += uint32_t(row[c]);
    }
    constants[r] = int32_t(added + (sizeof(T) == 2 ? sum << 15 : 0));  // components are less by 2^15
  }
  void limit(int32_t smallest, int32_t most) {
    fits = fits && smallest == 0 && most <= T(-1);
    largest = T(most);
  }
  // Strides are those of pixels of three or four components; of the results also of one.
  QVIM_INLINE bool takes(uint64_t srcstride, uint64_t dststride) const {
    const auto is = [](uint64_t stride, int components) {
      return stride == uint64_t(components) * sizeof(T);
    };
    return fits && (is(srcstride, 3) || is(srcstride, 4)) &&
           (is(dststride, outputs) || (outputs == 3 && is(dststride, 4)));
  }
  void operator()(const char *src, char *dst, uint64_t srcstride, uint64_t dststride, uint64_t count) const {
    const bool from_pad = srcstride == 4 * sizeof(T);
#if QVIM_LANES > 1
    if constexpr (outputs == 1 && sizeof(T) == 1)
      if (has_small_weights()) return from_pad ? weigh<4>(src, dst, count) : weigh<3>(src, dst, count);
#endif
    if constexpr (outputs == 1) {
      from_pad ? run<4, 1>(src, dst, count) : run<3, 1>(src, dst, count);
    } else if (dststride == 4 * sizeof(T)) {
      from_pad ? run<4, 4>(src, dst, count) : run<3, 4>(src, dst, count);
    } else if (from_pad) {
      run<4, 3>(src, dst, count);
    } else {
      run<3, 3>(src, dst, count);
    }
  }

 private:
#if QVIM_LANES > 1
  // Weights of a mean: no sum of bytes times them goes beyond 16 bits, nor does that of the first two, with
  // bytes less by 128, beyond 16 bits with a sign.
  bool has_small_weights() const {
    bool small = m[0][0] + m[0][1] <= 255 && m[0][0] + m[0][1] + m[0][2] <= 256 && constants[0] == 0;
    for (int16_t weight : m[0]) small = small && weight >= 0 && weight <= 255;
    return small && largest == 255;
  }
  template <int in>
  [[gnu::noinline]] void weigh(const char *src, char *dst, uint64_t count) const {
    run_steps<T, in, 1, 1, weighing<in>::pixels>(weighing<in>(m[0]), src, dst, count);
  }
  template <int in>
  struct weighing {
    static constexpr int64_t pixels = 16 * lanes;
    byte_vector weights;
    vec<uint16_t> added;

    explicit weighing(const int16_t *m)
        : weights((byte_vector)all<uint32_t>(uint32_t(m[0] | m[1] << 8 | m[2] << 16))),
          added(all<uint16_t>(uint16_t(128 * (m[0] + m[1] + m[2])))) {}
    QVIM_INLINE byte_vector signed_pixels(const char *src) const {
      static constexpr lane_order four([](int i) { return i % 4 == 3 ? 128 : i / 4 * 3 + i % 4; });
      if constexpr (in == 3) return lanes_in_memory<4 * in>(src).template ordered<four>() ^ 0x80;
      return load_vector<uint8_t>(src) ^ 0x80;
    }
    QVIM_INLINE vec<int16_t> sums(const char *src) const {  // of two vectors' pixels
      const auto sums = four_sums(weights, signed_pixels(src), signed_pixels(src + lanes * 4 * in));
      return (vec<int16_t>)(((vec<uint16_t>)sums + added) >> 8);
    }
    QVIM_INLINE void convert(const char *src, char *dst) const {
      store_vector(dst, in_order<uint32_t>(narrowed_unsigned(sums(src), sums(src + 2 * lanes * 4 * in))));
    }
  };
#endif

  template <int in, int out>
  [[gnu::noinline]] void run(const char *src, char *dst, uint64_t count) const {
    run_steps<T, in, out, outputs, step<in, out>::pixels>(step<in, out>(*this), src, dst, count);
  }

  // The same in vectors.
  template <int in, int out>
  struct step {
    static constexpr int64_t size_in = in * sizeof(T), size_out = out * sizeof(T);
    static constexpr int64_t together = sizeof(T) == 1 ? 4
                                        : outputs == 1 ? 2
                                                       : 1,  // vectors of sums
        pixels = together * lanes * 4;
    vec<int16_t> first_two[outputs], third[outputs];
    vec<int32_t> constants[outputs];
    vec<T> most;
    T white;

    QVIM_INLINE explicit step(const dot_products &p) : most(all<T>(p.largest)), white(p.largest) {
      for (int r = 0; r < outputs; ++r) {
        first_two[r] = (vec<int16_t>)all<int32_t>(uint16_t(p.m[r][0]) | p.m[r][1] * 65536);
        third[r] = (vec<int16_t>)all<int32_t>(uint16_t(p.m[r][2]));
        constants[r] = all<int32_t>(p.constants[r]);
      }
    }
    QVIM_INLINE void sums(const word_pairs<T, in> &p, vec<int32_t> (&sum)[outputs]) const {
      for (int r = 0; r < outputs; ++r) {
        sum[r] = pair_sums(pair_sums(constants[r], p.first_two, first_two[r]), p.third, third[r]) >> shift;
        if (rule == results::cut) sum[r] &= T(-1);
      }
      if (rule == results::limited_or_white) p.whiten(white, sum);
    }
    QVIM_INLINE void convert(const char *src, char *dst) const requires(outputs == 3) {
      constexpr int64_t lane_in = 4 * size_in, lane_out = 4 * size_out;
      byte_vector bytes[together];
      each<together>([&](auto i) __attribute__((always_inline)) {
        three_sums<T, out> three;
        sums(word_pairs<T, in>(src + i * lanes * lane_in), three.c);
        char *const to = dst + i * lanes * lane_out;
        if constexpr (sizeof(T) == 1) {
          bytes[i] = three.bytes(most);
          if constexpr (out == 4) store_padded<T, lane_out>(to, bytes[i]);
        } else {
          three.store(to, most);
        }
      });
      if constexpr (sizeof(T) == 1 && out == 3) store_twelves(dst, bytes);
    }
    QVIM_INLINE void convert(const char *src, char *dst) const requires(outputs == 1) {
      vec<int32_t> sum[together][1];
      each<together>([&](auto i) __attribute__((always_inline)) {
        sums(word_pairs<T, in>(src + i * lanes * 4 * size_in), sum[i]);
      });
      vec<T> grey;
      if constexpr (sizeof(T) == 1)
        grey = narrowed_unsigned(narrowed(sum[0][0], sum[1][0]), narrowed(sum[2][0], sum[3][0]));
      else
        grey = narrowed_unsigned(sum[0][0], sum[1][0]);
      using lane_of_sums = std::conditional_t<sizeof(T) == 1, uint32_t, uint64_t>;
      store_vector(dst, in_order<lane_of_sums>((byte_vector)(grey < most ? grey : most)));
    }
  };
};

// One component to three equal ones: what an operation makes of it. So many pixels as a vector has become
// three vectors, or four with pads.
template <class T, int out, class Operation>
struct spread {
  static constexpr int width = sizeof(T);
  static constexpr int64_t pixels = vector_bytes / width;
  Operation operation;

  // Byte i of vector k: which lane of pixels it is from, and which byte of that.
  static constexpr int lane_from(int k, int i) { return (k * int(vector_bytes) + i) / int(lane_bytes) / out; }
  struct places {
    alignas(vector_bytes) uint8_t from[vector_bytes];
    constexpr explicit places(int k) {
      for (int i = 0; i < int(vector_bytes); ++i) {
        const int component = (k * int(vector_bytes) + i) / width, pixel = component / out;
        const int at = (pixel * width + i % width) % int(lanes > 2 ? vector_bytes : lane_bytes);
        from[i] = uint8_t(component % out == 3 ? 128 : at);
      }
    }
  };
  QVIM_INLINE void convert(const char *src, char *dst) const {
    byte_vector v[out];
    each<out>([&](auto k) __attribute__((always_inline)) {
      constexpr int first = lanes > 2 ? 0 : lane_from(k, 0), last = lane_from(k, vector_bytes - 1);
      const char *const from = src + first * lane_bytes;
      v[k] = operation(first == last && lanes < 4 ? in_all_lanes<uint8_t>(from) : load_vector<uint8_t>(from));
    });
    each<out>([&](auto k) __attribute__((always_inline)) {
      static constexpr places order(k);
      v[k] = shuffled_anywhere(v[k], load_vector<uint8_t>(order.from));
      if constexpr (out == 4) v[k] |= pads<T, lane_bytes>(dst + k * vector_bytes);
    });
    each<out>([&](auto k) __attribute__((always_inline)) { store_vector(dst + k * vector_bytes, v[k]); });
  }
};
template <class T, int out, class Operation = unchanged>
[[gnu::noinline]] void run_spread(const char *src, char *dst, uint64_t count,
                                  const Operation &operation = {}) {
  using step = spread<T, out, Operation>;
  run_steps<T, 1, out, 3, step::pixels>(step{operation}, src, dst, count);
}

// One component to three: the product with each gain, less its lowest eight bits, cut to the width. A lane
// of pixels becomes three lanes, or four with pads.
template <class T>
struct gains {
  uint16_t gain[3];
  bool fits = true;

  template <class Any>
  explicit gains(const Any (&any)[3]) {
    for (int c = 0; c < 3; ++c) {
      gain[c] = uint16_t(any[c]);
      fits = fits && gain[c] == any[c];
    }
  }
  QVIM_INLINE bool takes(uint64_t srcstride, uint64_t dststride) const {
    return fits && srcstride == sizeof(T) && (dststride == 3 * sizeof(T) || dststride == 4 * sizeof(T));
  }
  void operator()(const char *src, char *dst, uint64_t, uint64_t dststride, uint64_t count) const {
    constexpr int one = 256;
    const bool to_pad = dststride == 4 * sizeof(T), same = gain[0] == one && gain[1] == one && gain[2] == one;
    if (same)
      to_pad ? run_spread<T, 4>(src, dst, count) : run_spread<T, 3>(src, dst, count);
    else
      to_pad ? run<4>(src, dst, count) : run<3>(src, dst, count);
  }

 private:
  template <int out>
  [[gnu::noinline]] void run(const char *src, char *dst, uint64_t count) const {
    run_steps<T, 1, out, 3, step<out>::pixels>(step<out>(*this), src, dst, count);
  }
  template <int out>
  struct step {
    static constexpr int64_t width = sizeof(T), pixels = vector_bytes / width;
    vec<uint16_t> gain[3];

    explicit step(const gains &g) {
      for (int c = 0; c < 3; ++c) gain[c] = all<uint16_t>(g.gain[c]);
    }
    QVIM_INLINE byte_vector product(vec<uint16_t> in, vec<uint16_t> by) const {
      if constexpr (sizeof(T) == 1)
        return (byte_vector)((in & 0xFF) * by >> 8 | ((in >> 8) * by & 0xFF00));
      else
        return (byte_vector)(high_products(in, by) << 8 | in * by >> 8);
    }
    // Lane k of what a lane of pixels becomes: the bytes of component c.
    template <int k, int c>
    static constexpr lane_order part{[](int i) {
      const int at = k * int(lane_bytes) + i;
      return at / int(width) % out == c ? at / int(width) / out * int(width) + at % int(width) : 128;
    }};
    QVIM_INLINE void convert(const char *src, char *dst) const {
      const auto in = load_vector<uint16_t>(src);
      const byte_vector c[3] = {product(in, gain[0]), product(in, gain[1]), product(in, gain[2])};
      byte_vector results[out];
      each<out>([&](auto k) __attribute__((always_inline)) {
        results[k] = ordered<part<k, 0>>(c[0]) | ordered<part<k, 1>>(c[1]) | ordered<part<k, 2>>(c[2]);
        char *const to = dst + k * lane_bytes;
        if constexpr (out == 4) store_padded<T, out * lane_bytes>(to, results[k]);
      });
      if constexpr (out == 3) store_three(dst, results);
    }
  };
};

#endif

}  // namespace QVIM_LEVEL
}  // namespace qvim
