// Conversion kernels against memcpy of the same number of bytes read and written: bytes are those of the
// memory that the runs span, gaps included.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <qvimage/npfbix.h>

#include "bench/kernel_rows.hpp"

namespace {

using kernel_rows::in_cache, kernel_rows::in_memory;

// Strides are in bytes, fractions for bit streams.
void add(const std::string &name, double srcstride, double dststride, kernel_rows::goal target,
         const kernel_rows::call &kernel, const std::vector<uint64_t> &sizes = {in_cache},
         bool aligned = false) {
  kernel_rows::add(
      {name, std::max(srcstride, dststride), srcstride + dststride, target, kernel, sizes, aligned});
}

void add_kernel(const std::string &name, npfbix_fn *f, int64_t srcstride, int64_t dststride,
                kernel_rows::goal target, std::vector<uint64_t> sizes = {in_cache}, bool aligned = false,
                uint32_t mask = 1023) {
  add(
      name, double(std::abs(srcstride)), double(std::abs(dststride)), target,
      [=](const void *src, void *dst, uint64_t count) { f(src, dst, srcstride, dststride, count, 4, mask); },
      sizes, aligned);
}

// Every member on adjacent values.
void add_dense_members() {
#define QVIM_INTEGER(name, S, D, from, to, operation)                                    \
  {                                                                                      \
    [[maybe_unused]] const int64_t srcstride = sizeof(S), dststride = sizeof(D);         \
    add_kernel(#name, name, from, to, from == sizeof(S) && to == sizeof(D) ? 0.9 : 0.5); \
  }
#define QVIM_TO_REAL(name, S, D, ...) \
  add_kernel(#name, name, sizeof(S), sizeof(D), {0.9, sizeof(S) == 2 && sizeof(D) == 4 ? 0.75 : 0});
#define QVIM_FROM_REAL(name, S, D, ...)                                        \
  add_kernel(#name, name, sizeof(S), sizeof(D), {0.5, 0.6}, {in_cache}, false, \
             sizeof(D) == 1 ? 15 : 1023); /* shifted, too, the results fit */
#define QVIM_REAL(name, S, D) add_kernel(#name, name, sizeof(S), sizeof(D), 0.9);
#include <qvimage/members/npfbix.inc>
}

struct strided_case {
  const char *name;
  npfbix_fn *function;
  int64_t source_size, destination_size;
};

// Components of interleaved pixels, and pixels of other widths.
void add_strided_members() {
  const strided_case cases[] = {
      {"npfbix_1to1_n", npfbix_1to1_n, 1, 1},     {"npfbix_2to2_n", npfbix_2to2_n, 2, 2},
      {"npfbix_4to4_n", npfbix_4to4_n, 4, 4},     {"npfbix_dtod_n", npfbix_dtod_n, 8, 8},
      {"npfbix_2to1_rn", npfbix_2to1_rn, 2, 1},   {"npfbix_1to2_ln", npfbix_1to2_ln, 1, 2},
      {"npfbix_1to4_n", npfbix_1to4_n, 1, 4},     {"npfbix_2to2_mrn", npfbix_2to2_mrn, 2, 2},
      {"npfbix_2to2_sbn", npfbix_2to2_sbn, 2, 2}, {"npfbix_1tof_kn", npfbix_1tof_kn, 1, 4},
      {"npfbix_2tof_kn", npfbix_2tof_kn, 2, 4},   {"npfbix_fto1_akn", npfbix_fto1_akn, 4, 1},
      {"npfbix_fto2_akn", npfbix_fto2_akn, 4, 2}, {"npfbix_2tod_n", npfbix_2tod_n, 2, 8}};
  for (const strided_case &c : cases)
    for (int n : {3, 4}) {
      add_kernel(c.name + std::string(" gather ") + std::to_string(n), c.function, n * c.source_size,
                 c.destination_size, 0.5);
      add_kernel(c.name + std::string(" scatter ") + std::to_string(n), c.function, c.source_size,
                 n * c.destination_size, 0.5);
    }
  for (uint32_t size : {1, 2, 3, 4, 5, 6, 7, 8, 10, 12}) {
    const std::string name = "npfbix_z" + std::to_string(size) + "toz" + std::to_string(size) + "_n";
    npfbix_fn *f = npfbix_ztoz_n_func(size);
    const int64_t pixel = size % 3 == 0 ? size / 3 * 4 : 2 * size;  // RGB in RGBx, or every other item
    add_kernel(name + " dense", f, size, size, 0.9);
    add_kernel(name + " from pixels", f, pixel, size, 0.5);
    add_kernel(name + " to pixels", f, size, pixel, 0.5);
  }
}

template <class Form>
void add_packer(const char *name, Form *f, uint32_t width) {
  for (uint32_t bits = 1; bits < width; ++bits)
    for (uint32_t mode : {2, 3}) {
      const std::string what =
          std::string(name) + "/" + std::to_string(bits) + (mode == 3 ? " high first" : " low first");
      const double pixie = width / 8.0, value = bits / 8.0;
      if constexpr (std::is_same_v<Form, npfbitstuff_fn>)
        add(what, pixie, value, {0.25, 0.25},
            [=](const void *s, void *d, uint64_t n) { f(s, d, n, bits, mode); });
      else
        add(what, value, pixie, {0.25, 0.25},
            [=](const void *s, void *d, uint64_t n) { f(d, s, n, bits, mode); });
    }
}

void add_in_place(const char *name, npfbixn_fn *f, int64_t size) {
  add(name, double(size), double(size), 0.9, [=](const void *, void *d, uint64_t n) { f(d, size, n, 4); });
}

// What a plain loop of vector loads and stores reaches.
void copy_loop(const void *src, void *dst, int64_t, int64_t, uint64_t count, uint32_t, uint32_t) {
  npfbix_4to4_mi(src, dst, 4, 4, count, 0, ~0u);
}

void add_large_and_aligned() {
  const struct {
    strided_case c;
    int64_t srcstride, dststride;
    kernel_rows::goal target;
  } cases[] = {{{"copy loop", copy_loop, 4, 4}, 4, 4, 0},
               {{"npfbix_2to1_r8i", npfbix_2to1_r8i, 2, 1}, 2, 1, 0.9},
               {{"npfbix_1to2_ln", npfbix_1to2_ln, 1, 2}, 1, 2, 0.9},
               {{"npfbix_2to2_mrn", npfbix_2to2_mrn, 2, 2}, 2, 2, 0.9},
               {{"npfbix_2to2_sbi", npfbix_2to2_sbi, 2, 2}, 2, 2, 0.9},
               {{"npfbix_4to4_sbi", npfbix_4to4_sbi, 4, 4}, 4, 4, 0.9},
               {{"npfbix_2tof_kn", npfbix_2tof_kn, 2, 4}, 2, 4, 0.9},
               {{"npfbix_4tod_n", npfbix_4tod_n, 4, 8}, 4, 8, 0.9},
               {{"npfbix_fto2_akn", npfbix_fto2_akn, 4, 2}, 4, 2, 0.5},
               {{"npfbix_dto1_an", npfbix_dto1_an, 8, 1}, 8, 1, 0.5},
               {{"npfbix_1to1_n gather 3", npfbix_1to1_n, 1, 1}, 3, 1, 0.5},
               {{"npfbix_1to1_n scatter 3", npfbix_1to1_n, 1, 1}, 1, 3, 0.5},
               {{"npfbix_2to2_n gather 4", npfbix_2to2_n, 2, 2}, 8, 2, 0.5},
               {{"npfbix_2to2_n scatter 3", npfbix_2to2_n, 2, 2}, 2, 6, 0.5},
               {{"npfbix_z3toz3_n from pixels", npfbix_z3toz3_n, 3, 3}, 4, 3, 0.5},
               {{"npfbix_z3toz3_n to pixels", npfbix_z3toz3_n, 3, 3}, 3, 4, 0.5},
               {{"npfbix_z6toz6_n to pixels", npfbix_z6toz6_n, 6, 6}, 6, 8, 0.5}};
  for (const auto &c : cases) {
    add_kernel(c.c.name, c.c.function, c.srcstride, c.dststride, c.target, {in_memory});
    add_kernel(c.c.name, c.c.function, c.srcstride, c.dststride, c.target, {in_cache}, true);
  }
  add("npfbit16_stuff/12 low first", 2, 1.5, 0.25,
      [](const void *s, void *d, uint64_t n) { npfbit16_stuff(s, d, n, 12, 2); }, {in_memory});
  add("npfbit16_unstuff/12 low first", 1.5, 2, 0.25,
      [](const void *s, void *d, uint64_t n) { npfbit16_unstuff(d, s, n, 12, 2); }, {in_memory});
}

}  // namespace

int main(int argc, char **argv) {
  add_dense_members();
  add_strided_members();
#define QVIM_IN_PLACE(name, T, ...) add_in_place(#name, name, sizeof(T));
#define QVIM_STUFF(name, T) add_packer(#name, name, 8 * sizeof(T));
#define QVIM_UNSTUFF(name, T) add_packer(#name, name, 8 * sizeof(T));
#include <qvimage/members/npfbix.inc>
  add_large_and_aligned();
  return kernel_rows::main(argc, argv);
}
