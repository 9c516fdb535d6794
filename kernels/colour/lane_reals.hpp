// Linear combinations in floating point by lanes: packed pixels are split, computed and joined in registers.
// The operations are those of the generic loops, one by one.
#pragma once

#include "kernels/colour/lane_products.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

#if QVIM_LANES

#if QVIM_LANES < 4
// Pixels of three components: n of them, as many as a lane has numbers, are three lanes in memory. Of these,
// and of the lanes with one component each that they are split into, the same places are chosen, so that
// nothing but the order of the pixels need be mended: it becomes that of the first component, which is left
// alone.
template <class Real>
struct lane_planes {
  static constexpr int n = int(lane_bytes / sizeof(Real)), in_vector = n * int(lanes);
  vec<Real> c[3];

  // Place i of memory's lane k belongs to component (n k + i) mod 3.
  static constexpr int component(int k, int i) { return (n * k + i) % 3; }
  static constexpr int lane_of(int c, int i) { return (n * n * (c + 2 * i)) % 3 * n % 3; }
  // The pixel of place i of component c, before its order is mended.
  static constexpr int pixel_of(int c, int i) { return (n * lane_of(c, i) + i) / 3; }
  template <bool back>
  static constexpr int mended(int c, int i) {
    for (int j = 0; j < n; ++j)
      if (back ? pixel_of(c, i) == pixel_of(0, j) : pixel_of(c, j) == pixel_of(0, i)) return j;
    return 0;
  }

  // Place i of the result is that of a[which(i)].
  template <class Which>
  QVIM_INLINE static vec<Real> chosen(const vec<Real> (&a)[3], Which) {
    const auto choose = [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline)) {
      constexpr Which which{};
      const vec<Real> two = __builtin_shufflevector(a[0], a[1], (which(i % n) == 1 ? in_vector + i : i)...);
      return __builtin_shufflevector(two, a[2], (which(i % n) == 2 ? in_vector + i : i)...);
    };
    return choose(std::make_integer_sequence<int, in_vector>());
  }
  // Each lane's numbers in another order.
  template <class Place>
  QVIM_INLINE static vec<Real> moved(vec<Real> v, Place) {
    const auto move = [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline)) {
      constexpr Place place{};
      return __builtin_shufflevector(v, v, (i / n * n + place(i % n))...);
    };
    return move(std::make_integer_sequence<int, in_vector>());
  }

  QVIM_INLINE static lane_planes load(const char *src) {
    byte_vector bytes[3];
    load_three(src, bytes);
    const vec<Real> memory[3] = {(vec<Real>)bytes[0], (vec<Real>)bytes[1], (vec<Real>)bytes[2]};
    lane_planes planes;
    each<3>([&](auto of) __attribute__((always_inline)) {
      planes.c[of] = chosen(memory, [](int i) { return lane_of(decltype(of)::value, i); });
      if constexpr (of > 0)
        planes.c[of] = moved(planes.c[of], [](int i) { return mended<false>(decltype(of)::value, i); });
    });
    return planes;
  }
  QVIM_INLINE void store(char *dst) const {
    const vec<Real> places[3] = {c[0], moved(c[1], [](int i) { return mended<true>(1, i); }),
                                 moved(c[2], [](int i) { return mended<true>(2, i); })};
    byte_vector memory[3];
    each<3>([&](auto k) __attribute__((always_inline)) {
      memory[k] = (byte_vector)chosen(places, [](int i) { return component(decltype(k)::value, i); });
    });
    store_three(dst, memory);
  }
  // The order of the planes' pixels, of a vector of single components; its own reverse.
  QVIM_INLINE static vec<Real> single(vec<Real> v) {
    return moved(v, [](int i) { return pixel_of(0, i); });
  }
};

// Four numbers in a lane: two of one vector and two of another are a single instruction, and the order need
// not be mended.
template <>
struct lane_planes<float> {
  vec<float> c[3];

  template <int i0, int i1, int i2, int i3>
  QVIM_INLINE static vec<float> two_and_two(vec<float> a, vec<float> b) {
    constexpr int n = 4, in_vector = n * int(lanes), place[n] = {i0, i1, in_vector + i2, in_vector + i3};
    const auto choose = [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline)) {
      return __builtin_shufflevector(a, b, (i / n * n + place[i % n])...);
    };
    return choose(std::make_integer_sequence<int, in_vector>());
  }
  QVIM_INLINE static lane_planes load(const char *src) {
    byte_vector bytes[3];
    load_three(src, bytes);
    const auto first = (vec<float>)bytes[0], second = (vec<float>)bytes[1], third = (vec<float>)bytes[2];
    const auto late = two_and_two<2, 3, 1, 2>(second, third), early = two_and_two<1, 2, 0, 1>(first, second);
    return {{two_and_two<0, 3, 0, 2>(first, late), two_and_two<0, 2, 1, 3>(early, late),
             two_and_two<1, 3, 0, 3>(early, third)}};
  }
  QVIM_INLINE void store(char *dst) const {
    const auto a = two_and_two<0, 2, 0, 2>(c[0], c[1]), b = two_and_two<1, 3, 1, 3>(c[1], c[2]),
               d = two_and_two<0, 2, 1, 3>(c[2], c[0]);
    const byte_vector memory[3] = {(byte_vector)two_and_two<0, 2, 0, 2>(a, d),
                                   (byte_vector)two_and_two<0, 2, 1, 3>(b, a),
                                   (byte_vector)two_and_two<1, 3, 1, 3>(d, b)};
    store_three(dst, memory);
  }
  QVIM_INLINE static vec<float> single(vec<float> v) { return v; }
};
#else
// Where numbers go to any place of a vector, from two others, they are split and joined at once.
template <class Real>
struct lane_planes {
  static constexpr int n = int(vector_bytes / sizeof(Real));
  vec<Real> c[3];

  // Place i of the result is place from(i) of three vectors, counted through. Vectors that are there early
  // take two instructions one after the other; computed ones two that do not wait for each other, and a
  // choice of their results.
  template <bool early, class From>
  QVIM_INLINE static vec<Real> picked(const vec<Real> (&v)[3], From) {
    const auto pick = [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline)) {
      constexpr From from{};
      const vec<Real> two = __builtin_shufflevector(v[0], v[1], (from(i) % (2 * n))...);
      if constexpr (early) return __builtin_shufflevector(two, v[2], (from(i) < 2 * n ? i : from(i) - n)...);
      const vec<Real> last = __builtin_shufflevector(v[2], v[2], (from(i) % n)...);
      return __builtin_shufflevector(two, last, (from(i) < 2 * n ? i : n + i)...);
    };
    return pick(std::make_integer_sequence<int, n>());
  }
  QVIM_INLINE static lane_planes load(const char *src) {
    vec<Real> memory[3];
    for (int k = 0; k < 3; ++k) {
      memory[k] = load_vector<Real>(src + k * vector_bytes);
      asm("" : "+v"(memory[k]));  // loaded once, not at every use: most loads cross a cache line
    }
    lane_planes planes;
    each<3>([&](auto k) __attribute__((always_inline)) {
      planes.c[k] = picked<true>(memory, [](int i) { return 3 * i + decltype(k)::value; });
    });
    return planes;
  }
  QVIM_INLINE void store(char *dst) const {
    each<3>([&](auto k) __attribute__((always_inline)) {
      const auto from = [](int i) {
        return (decltype(k)::value * n + i) % 3 * n + (decltype(k)::value * n + i) / 3;
      };
      store_vector(dst + k * vector_bytes, picked<false>(c, from));
    });
  }
  QVIM_INLINE static vec<Real> single(vec<Real> v) { return v; }
};
#endif

// Components as they are stored and as they are computed with: 32-bit integers fill two vectors of doubles,
// one with those of even places, one with the others.
template <class T>
struct stored {
  using real = T;
  static constexpr int parts = 1;
  template <int>
  QVIM_INLINE static vec<T> part(vec<T> v) {
    return v;
  }
  QVIM_INLINE static vec<T> whole(const vec<T> (&v)[parts]) { return v[0]; }
};
template <>
struct stored<uint32_t> {
  using real = double;
  static constexpr int parts = 2;
  template <int odd>
  QVIM_INLINE static vec<double> part(vec<float> v) {
    const auto pairs = (vec<uint64_t>)v;
    return as_doubles(odd ? pairs >> 32 : pairs & UINT32_MAX);
  }
  QVIM_INLINE static vec<float> whole(const vec<double> (&v)[parts]) {
    return (vec<float>)(as_numbers(v[0]) | as_numbers(v[1]) << 32);
  }
};

// Rows of coefficients: rows in the order in which their results are stored, coefficients in the order of
// the sum, to which `from` refers.
template <class T, int inputs, int outputs, bool with_constant, bool with_limits, order from>
struct lane_real_products {
  using real = typename stored<T>::real;
  real m[outputs][4] = {}, smallest = 0, largest;  // read from here: of a constant 0 gcc makes masks
  [[gnu::noinline]] void operator()(const char *src, char *dst, uint64_t count) const {
    if constexpr (inputs == 1 && std::is_floating_point_v<T>)
      if (!std::memcmp(m[0], m[1], sizeof m[0]) && !std::memcmp(m[0], m[2], sizeof m[0]))
        return run_spread<T, 3>(src, dst, count, product{m[0][0]});
    run_steps<T, inputs, outputs, outputs, step::pixels>(step(*this), src, dst, count);
  }

 private:
  struct product {
    real gain;
    QVIM_INLINE byte_vector operator()(byte_vector v) const { return (byte_vector)(gain * (vec<real>)v); }
  };
  // The same in vectors.
  struct step {
    static constexpr int64_t pixels = lanes * int64_t(lane_bytes / sizeof(T));
    using moved = std::conditional_t<std::is_integral_v<T>, float, T>;
    using planes = lane_planes<moved>;
    vec<real> m[outputs][4], smallest, largest;

    QVIM_INLINE explicit step(const lane_real_products &p)
        : smallest(all<real>(p.smallest)), largest(all<real>(p.largest)) {
      for (int r = 0; r < outputs; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = all<real>(p.m[r][c]);
    }
    QVIM_INLINE vec<real> result(vec<real> sum) const {
      if constexpr (std::is_integral_v<T>) {  // NaN becomes 0
        sum = sum > smallest ? sum : smallest;
        sum = sum < largest ? sum : largest;
      } else if constexpr (with_limits) {  // NaN stays
        sum = sum < smallest ? smallest : sum;
        sum = sum > largest ? largest : sum;
      }
      return sum;
    }
    QVIM_INLINE vec<real> row(int r, const vec<real> (&in)[inputs]) const {
      vec<real> sum = with_constant ? fused(m[r][0], in[0], m[r][3]) : m[r][0] * in[0];
      for (int c = 1; c < inputs; ++c) sum = fused(m[r][c], in[c], sum);
      return result(sum);
    }
    QVIM_INLINE void convert(const char *src, char *dst) const {
      planes in, out;
      if constexpr (inputs == 3)
        in = planes::load(src);
      else
        in.c[0] = planes::single(load_vector<moved>(src));
      vec<real> results[outputs][stored<T>::parts];
      each<stored<T>::parts>([&](auto i) __attribute__((always_inline)) {
        vec<real> part[inputs];
        for (int c = 0; c < inputs; ++c)
          part[c] = stored<T>::template part<i>(in.c[inputs == 3 ? place<from>(c) : 0]);
        for (int r = 0; r < outputs; ++r) results[r][i] = row(r, part);
      });
      for (int r = 0; r < outputs; ++r) out.c[r] = stored<T>::whole(results[r]);
      if constexpr (outputs == 3)
        out.store(dst);
      else
        store_vector(dst, planes::single(out.c[0]));
    }
  };
};

#endif

}  // namespace QVIM_LEVEL
}  // namespace qvim
