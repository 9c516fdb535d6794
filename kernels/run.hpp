// The loop of every kernel: reads a run of values, applies an operation to each, writes a run of values.
#pragma once

#include <cstdint>
#include <cstring>

#include <qvimage/npfbix.h>

#include "kernels/level.hpp"

extern "C" npfbix_fn QVIM_KERNEL(npfbix_z1toz1_n), QVIM_KERNEL(npfbix_z2toz2_n), QVIM_KERNEL(npfbix_z4toz4_n),
    QVIM_KERNEL(npfbix_z8toz8_n);

namespace qvim {
inline namespace QVIM_LEVEL {

// Values may start at any byte.
template <class T>
QVIM_INLINE T load(const char *from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class T>
QVIM_INLINE void store(char *to, T value) {
  std::memcpy(to, &value, sizeof value);
}

// An operation may have a member word() that does it to the several values in one word, of 16 or 32 bits.
template <class Operation>
concept wordwise = Operation::is_wordwise;

template <class Operation, class Word>
Word word_type(Word (Operation::*)(Word) const);

// Or a member vectors() that does it to most values of a run and returns to how many.
//
// Adjacent values. Runs do not overlap, or are the same run: each value is read before its place is written,
// so there is nothing that would hinder the compiler from taking many at a time.
template <class S, class D, class Operation>
QVIM_INLINE void run_dense(const char *src, char *dst, uint64_t count, const Operation &operation) {
  if constexpr (wordwise<Operation>) {
    static_assert(sizeof(S) == sizeof(D));
    using word = decltype(word_type(&Operation::word));
    constexpr uint64_t bytes = sizeof(word), per_word = bytes / sizeof(S);
    const uint64_t words = count / per_word;
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < words; ++i) store(dst + bytes * i, operation.word(load<word>(src + bytes * i)));
    for (uint64_t i = words * per_word; i < count; ++i) {
      store<D>(dst + i * sizeof(D), operation(load<S>(src + i * sizeof(S))));
      asm volatile("");  // less than a word: no vector code
    }
  } else if constexpr (requires { operation.vectors(src, dst, count); }) {
    for (uint64_t i = operation.vectors(src, dst, count); i < count; ++i) {
      store<D>(dst + i * sizeof(D), operation(load<S>(src + i * sizeof(S))));
      asm volatile("");  // less than a vector
    }
  } else {
    QVIM_INDEPENDENT
    for (uint64_t i = 0; i < count; ++i)
      store<D>(dst + i * sizeof(D), operation(load<S>(src + i * sizeof(S))));
  }
}

template <class S, class D, class Operation>
QVIM_INLINE void run_strided(const char *src, char *dst, int64_t srcstride, int64_t dststride, uint64_t count,
                             const Operation &operation) {
  for (int64_t i = 0; i < int64_t(count); ++i) {
    store<D>(dst + i * dststride, operation(load<S>(src + i * srcstride)));
    asm volatile("");  // few values: vector code would only take space
  }
}

// The copy kernels gather and scatter for all others.
template <uint64_t size>
QVIM_INLINE void move_items(const char *src, char *dst, int64_t srcstride, int64_t dststride,
                            uint64_t count) {
  if constexpr (size == 1) QVIM_KERNEL(npfbix_z1toz1_n)(src, dst, srcstride, dststride, count, 0, 0);
  if constexpr (size == 2) QVIM_KERNEL(npfbix_z2toz2_n)(src, dst, srcstride, dststride, count, 0, 0);
  if constexpr (size == 4) QVIM_KERNEL(npfbix_z4toz4_n)(src, dst, srcstride, dststride, count, 0, 0);
  if constexpr (size == 8) QVIM_KERNEL(npfbix_z8toz8_n)(src, dst, srcstride, dststride, count, 0, 0);
}

// Any strides. Adjacent values are done in one go; longer strided runs pass in blocks through buffers in
// which they are adjacent, so that the operation itself works at full speed and exists once.
template <class S, class D, class Operation>
QVIM_INLINE void run(const void *source, void *destination, int64_t srcstride, int64_t dststride,
                     uint64_t count, const Operation &operation) {
  constexpr uint64_t block = 512, few = 16;
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  const bool src_dense = srcstride == sizeof(S), dst_dense = dststride == sizeof(D);
  const bool dense = src_dense && dst_dense;
  if (!dense && count < few) return run_strided<S, D>(src, dst, srcstride, dststride, count, operation);
  alignas(64) char gathered[block * sizeof(S)];
  alignas(64) char results[block * sizeof(D)];
  while (count) {
    const uint64_t part = dense || count < block ? count : block;
    if (!src_dense) move_items<sizeof(S)>(src, gathered, srcstride, sizeof(S), part);
    run_dense<S, D>(src_dense ? src : gathered, dst_dense ? dst : results, part, operation);
    if (!dst_dense) move_items<sizeof(D)>(results, dst, sizeof(D), dststride, part);
    count -= part;
    if (!count) return;
    src += int64_t(part) * srcstride;
    dst += int64_t(part) * dststride;
  }
}

}  // namespace QVIM_LEVEL
}  // namespace qvim
