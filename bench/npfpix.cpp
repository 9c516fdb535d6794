// Pixel operation kernels against memcpy of the same number of bytes read and written.
#include <cstring>
#include <string>
#include <vector>

#include <qvimage/npfpix.h>

#include "bench/kernel_rows.hpp"

namespace {

using kernel_rows::in_cache, kernel_rows::in_memory;

// Bytes a pixie: of the wider run, read and written.
void add(const std::string &name, double widest, double read, double written, kernel_rows::goal target,
         const kernel_rows::call &kernel, const std::vector<uint64_t> &sizes = {in_cache, in_memory}) {
  kernel_rows::add({name, widest, read + written, target, kernel, sizes});
}

// Operand blocks that keep the kernel from taking a shorter way.
std::vector<uint32_t> block_for(const std::string &operation, uint32_t most) {
  if (operation == "mul" || operation == "mull") return {1250, 1000, most};
  if (operation == "contrast") return {most / 10, most / 10 * 9, most};
  if (operation == "gamma") return {2200, most};
  if (operation == "rotl" || operation == "rotr") return {3, most == 255 ? 8u : most == 65535 ? 16u : 32u};
  if (operation == "reverse") return {most == 255 ? 7u : 12u};
  if (operation.starts_with("threshold")) return {most / 10, most / 2, most / 4, 0};
  if (operation == "contrastpivot") {
    const double d[] = {0, double(most), double(most / 2), 1.3};
    std::vector<uint32_t> words(8);
    std::memcpy(words.data(), d, sizeof d);
    return words;
  }
  return {5, most / 2, 0, 0};
}

double target_of(const std::string &operation) {
  if (operation == "mul" || operation == "mull" || operation == "contrast") return 0.5;
  if (operation == "gamma" || operation == "contrastpivot" || operation == "set") return 0;
  return 0.9;
}

void add_in_place(const std::string &name, npfpix_fn *f, uint32_t size) {
  const std::string operation = name.substr(std::strlen("npfpix1_"));
  const auto w = block_for(operation, 0xFFFFFFFF >> (32 - 8 * size));
  const bool writes_only = operation == "set", slow = !writes_only && target_of(operation) == 0;
  add(
      name, size, writes_only ? 0 : size, size, target_of(operation),
      [=](void *, void *dst, uint64_t count) { f(dst, count, 0, 0, w.data()); },
      slow ? std::vector{in_cache} : std::vector{in_cache, in_memory});
}

void add_two_runs(const std::string &name, npfpix2_fn *f, uint32_t size) {
  if (!name.ends_with("_i")) return;
  const std::string operation =
      name.substr(std::strlen("npfpix1_2"), name.rfind('_') - std::strlen("npfpix1_2"));
  const auto w = block_for(operation, 0xFFFFFFFF >> (32 - 8 * size));
  add(name, size, size, size, 0.9,
      [=](void *src, void *dst, uint64_t count) { f(src, dst, 0, 0, count, w.data()); });
}

// Tables: bytes are pixies, target 1.5 GB/s of them.
template <class T>
void add_table(const std::string &name, npfpix_fn *f) {
  std::vector<T> table(sizeof(T) == 4 ? 1024 : size_t(1) << 8 * sizeof(T));
  for (size_t i = 0; i < table.size(); ++i) table[i] = T(i * 11);
  const double most = sizeof(T) == 1 ? 1 / 1.5 : 0;
  kernel_rows::add_alone(name, in_cache / sizeof(T), sizeof(T), most,
                         [=](void *, void *dst, uint64_t count) { f(dst, count, 10, 0, table.data()); });
}

}  // namespace

int main(int argc, char **argv) {
#define QVIM_PIX(name, T, operation) add_in_place(#name, name, sizeof(T));
#define QVIM_PIX_TWO(name, T, ...) add_two_runs(#name, name, sizeof(T));
#define QVIM_PIX_MIRROR(name, size) \
  add(#name, size, size, size, {0.5, 0.5}, [](void *, void *dst, uint64_t count) { name(dst, count); });
#define QVIM_PIX_MIRROR_TWO(name, size)    \
  add(#name, size, size, size, {0.5, 0.5}, \
      [](void *src, void *dst, uint64_t count) { name(src, dst, count); });
#define QVIM_PIX_ADD(name, T)          \
  add(#name, 4, sizeof(T) + 4, 4, 0.7, \
      [](void *src, void *dst, uint64_t count) { name(src, static_cast<uint32_t *>(dst), count); });
#define QVIM_PIX_FINISH(name, T, operation)                                 \
  add(#name, 4, 4, sizeof(T), 0, [](void *src, void *dst, uint64_t count) { \
    const uint32_t w[] = {7, 200};                                          \
    name(static_cast<const uint32_t *>(src), 0, dst, count, w);             \
  });
#include <qvimage/members/npfpix.inc>
  for (uint32_t k : {6, 8, 12})
    add("npfpix1_transposek_i/" + std::to_string(k), k, k, k, 0.5,
        [k](void *, void *dst, uint64_t count) { npfpix1_transposek_i(dst, count, k); });
  add_table<uint8_t>("npfpix1_xlat", npfpix1_xlat);
  add_table<uint16_t>("npfpix2_xlat", npfpix2_xlat);
  add_table<uint32_t>("npfpix4_xlats", npfpix4_xlats);
  return kernel_rows::main(argc, argv);
}
