// Which kernel, shift and mask turn pixies of one type and justification into another's.
#include <algorithm>
#include <cstdint>

#include <qvimage/data.h>
#include <qvimage/npfbix.h>
#include <qvimage/types.h>

#include "kernels/words.hpp"

namespace {

using qvim::justification, qvim::type_word;

// --- kernels by what they do ---------------------------------------------------------------------

enum moving { stay, right, left };  // the order of the columns of all tables

constexpr int class_of_size(int32_t bytes) { return bytes == 2 ? 1 : bytes == 4 ? 2 : 0; }

struct integer_kernels {
  npfbix_fn *adjacent[2][3], *strided[2][3];  // [masked][moving]
};
// Kernels with mask and shift take strides in every case.
#define QVIM_INTEGER(st)                                            \
  {                                                                 \
    {{npfbix_##st##_i, npfbix_##st##_ri, npfbix_##st##_li},         \
     {npfbix_##st##_mi, npfbix_##st##_mrn, npfbix_##st##_mln}},     \
        {{npfbix_##st##_n, npfbix_##st##_rn, npfbix_##st##_ln},     \
         {npfbix_##st##_mn, npfbix_##st##_mrn, npfbix_##st##_mln}}, \
  }
constexpr integer_kernels integer_to_integer[3][3] = {
    // [source size class][destination size class]
    {QVIM_INTEGER(1to1), QVIM_INTEGER(1to2), QVIM_INTEGER(1to4)},
    {QVIM_INTEGER(2to1), QVIM_INTEGER(2to2), QVIM_INTEGER(2to4)},
    {QVIM_INTEGER(4to1), QVIM_INTEGER(4to2), QVIM_INTEGER(4to4)},
};

// Shifts by the difference of two container widths have kernels of their own.
struct fixed_shift {
  int32_t source, destination;
  moving way;
  uint32_t shift;
  npfbix_fn *adjacent, *strided;
};
constexpr fixed_shift fixed_shifts[] = {
    {2, 1, right, 8, npfbix_2to1_r8i, npfbix_2to1_r8n},
    {4, 1, right, 24, npfbix_4to1_r24i, npfbix_4to1_r24n},
    {4, 2, right, 16, npfbix_4to2_r16i, npfbix_4to2_r16n},
    {1, 2, left, 8, npfbix_1to2_l8i, npfbix_1to2_l8n},
    {1, 4, left, 24, npfbix_1to4_l24i, npfbix_1to4_l24n},
    {2, 4, left, 16, npfbix_2to4_l16i, npfbix_2to4_l16n},
};

struct to_real_kernels {
  npfbix_fn *plain[2][3], *normalised[2][3];  // [masked][moving]
};
#define QVIM_TO_REAL(st)                                               \
  {                                                                    \
    {{npfbix_##st##_n, npfbix_##st##_rn, npfbix_##st##_ln},            \
     {npfbix_##st##_mn, npfbix_##st##_mrn, npfbix_##st##_mln}},        \
        {{npfbix_##st##_kn, npfbix_##st##_rkn, npfbix_##st##_lkn},     \
         {npfbix_##st##_mkn, npfbix_##st##_mrkn, npfbix_##st##_mlkn}}, \
  }
constexpr to_real_kernels integer_to_real[3][2] = {
    // [source size class][double]
    {QVIM_TO_REAL(1tof), QVIM_TO_REAL(1tod)},
    {QVIM_TO_REAL(2tof), QVIM_TO_REAL(2tod)},
    {QVIM_TO_REAL(4tof), QVIM_TO_REAL(4tod)},
};

struct from_real_kernels {
  npfbix_fn *plain[3], *normalised[3];  // [moving]
};
#define QVIM_FROM_REAL(st)                                      \
  {                                                             \
    {npfbix_##st##_an, npfbix_##st##_arn, npfbix_##st##_aln}, { \
      npfbix_##st##_akn, npfbix_##st##_arkn, npfbix_##st##_alkn \
    }                                                           \
  }
constexpr from_real_kernels real_to_integer[2][3] = {
    // [double][destination size class]
    {QVIM_FROM_REAL(fto1), QVIM_FROM_REAL(fto2), QVIM_FROM_REAL(fto4)},
    {QVIM_FROM_REAL(dto1), QVIM_FROM_REAL(dto2), QVIM_FROM_REAL(dto4)},
};

// --- the selection -------------------------------------------------------------------------------

constexpr uint64_t low_bits(uint32_t n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

struct side {
  type_word word;
  uint32_t bits;
  int32_t size;

  bool integer() const { return word.integer(); }
  bool is_double() const { return word.type() == QVIM_FLOAT64; }
  uint32_t width() const { return 8 * uint32_t(size); }
  // The end of the significant bits, counted from the container's least significant end.
  uint32_t top() const { return word.has(QVIM_LSB) ? std::min(bits, width()) : width(); }
  uint64_t significant() const {
    const uint32_t n = std::min(bits, width());
    return n ? low_bits(n) << (top() - n) : 0;
  }
};

struct selection {
  npfbix_fn *kernel = nullptr;
  uint32_t shift = 0, mask = 0;
};

constexpr uint64_t shifted(uint64_t value, moving way, uint32_t by) {
  if (by >= 64) return 0;
  return way == left ? value << by : way == right ? value >> by : value;
}

npfbix_fn *real_to_real(const side &from, const side &to) {
  const uint32_t source = from.word.type(), destination = to.word.type();
  if (source == QVIM_FLOAT32)
    return destination == QVIM_FLOAT32   ? npfbix_ftof_n
           : destination == QVIM_FLOAT64 ? npfbix_ftod_n
                                         : nullptr;
  if (source == QVIM_FLOAT64)
    return destination == QVIM_FLOAT32   ? npfbix_dtof_n
           : destination == QVIM_FLOAT64 ? npfbix_dtod_n
                                         : nullptr;
  return nullptr;
}

// Must a mask keep the other bits of the source out? Not when they do not reach the destination anyway.
bool needs_mask(const side &from, const side &to, moving way, uint32_t shift, uint64_t significant) {
  if (!from.word.has(QVIM_DIRTY) || (to.integer() && to.word.has(QVIM_DIRTY))) return false;
  const uint64_t others = low_bits(from.width()) & ~significant;
  const uint64_t reached = low_bits(to.integer() ? to.width() : 32);
  return shifted(others, way, shift) & reached;
}

npfbix_fn *integer_kernel(const side &from, const side &to, bool masked, moving way, uint32_t shift,
                          bool strided) {
  if (!masked)
    for (const fixed_shift &f : fixed_shifts)
      if (f.source == from.size && f.destination == to.size && f.way == way && f.shift == shift)
        return strided ? f.strided : f.adjacent;
  const integer_kernels &k = integer_to_integer[class_of_size(from.size)][class_of_size(to.size)];
  return strided ? k.strided[masked][way] : k.adjacent[masked][way];
}

selection select(const side &from, const side &to, bool strided, bool writing, bool normalised) {
  if (!from.integer() && !to.integer()) return {real_to_real(from, to), 0, 0};

  // Significant bits keep their distance from the top: bit E - 1 of the source becomes bit F - 1. A caller
  // that names no justification gets and gives values as they are stored.
  const uint32_t e = from.integer() ? from.top() : normalised ? to.bits : from.bits;
  const uint32_t f = to.integer() ? to.top() : normalised ? from.bits : to.bits;
  const side &caller = writing ? from : to;
  const bool as_stored = caller.integer() && !caller.word.has(justification);
  const moving way = as_stored || e == f ? stay : f > e ? left : right;
  selection s;
  s.shift = way == left ? f - e : way == right ? e - f : 0;

  if (!from.integer()) {
    const from_real_kernels &k = real_to_integer[from.is_double()][class_of_size(to.size)];
    s.kernel = normalised ? k.normalised[way] : k.plain[way];
    s.mask = uint32_t(low_bits(writing && !normalised ? to.bits : to.width()));
    return s;
  }
  const bool masked = needs_mask(from, to, way, s.shift, from.significant());
  if (masked) s.mask = uint32_t(from.significant());
  if (to.integer()) {
    s.kernel = integer_kernel(from, to, masked, way, s.shift, strided);
    return s;
  }
  const to_real_kernels &k = integer_to_real[class_of_size(from.size)][to.is_double()];
  s.kernel = normalised ? k.normalised[masked][way] : k.plain[masked][way];
  if (normalised) s.mask = uint32_t(low_bits(from.width()));
  return s;
}

// Bits of `direction`, values of `mode`.
constexpr uint32_t writes = 1, normalises = 1;

}  // namespace

extern "C" int32_t qvimselectpfbixfunc(int64_t srcstride, int64_t dststride, uint32_t srctype,
                                       uint32_t dsttype, uint32_t direction, uint32_t srcbits,
                                       uint32_t dstbits, uint32_t mode, npfbix_fn **kernel, uint32_t *shift,
                                       uint32_t *mask) {
  const side from{srctype, srcbits, qvimdatasize(srctype)}, to{dsttype, dstbits, qvimdatasize(dsttype)};
  const bool strided = srcstride != from.size || dststride != to.size;
  const selection s = select(from, to, strided, direction & writes, mode == normalises);
  if (s.kernel && kernel) *kernel = s.kernel;
  if (shift) *shift = s.shift;
  if (mask) *mask = s.mask;
  return 0;
}
