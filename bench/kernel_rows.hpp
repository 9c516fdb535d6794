// Rows of benchmarks that hold a kernel against memcpy of the same number of bytes read and written, over
// runs that stay in the second-level cache and runs in memory.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "kernels/processor.hpp"

namespace kernel_rows {

inline constexpr uint64_t in_cache = 64 << 10, in_memory = 256 << 20, page = 4096;

struct buffers {
  char *source, *destination;
};

// Buffers are malloc's, as they are in applications; aligned ones start at a page, where memcpy may have a
// microcoded way of its own.
inline const buffers &memory(uint64_t size, bool aligned = false) {
  static buffers kept[2][2];
  buffers &b = kept[size == in_memory][aligned];
  if (!b.source)
    for (char **p : {&b.source, &b.destination}) {
      const uint64_t room = size + size / 4;  // sums are read and written: memcpy of more than their size
      *p = static_cast<char *>(aligned ? std::aligned_alloc(page, room) : std::malloc(room));
      if (!*p) std::abort();
      // Floats and doubles in 0 .. 1 as well as integers, none of them special.
      for (uint64_t i = 0; i < room; ++i) (*p)[i] = char(i % 4 == 3 ? 0x3E : i * 7);
    }
  return b;
}

using call = std::function<void(void *source, void *destination, uint64_t count)>;

// The ratio to memcpy that is asked for, by what the processor has; 0: none.
struct goal {
  double avx512, avx2;
  goal(double with_avx512, double with_avx2 = 0) : avx512(with_avx512), avx2(with_avx2) {}
  double here() const {
    const std::string level = qvim::level_names[qvim::level_in_use()];
    return level == "avx2" ? avx2 : level.starts_with("avx512") ? avx512 : 0;
  }
};

struct row {
  std::string name;
  double span;   // bytes between items of the longer run, which spans the size in the benchmark's name
  double bytes;  // read and written of an item, gaps included; fractions for bit streams
  goal target;
  call kernel;
  std::vector<uint64_t> sizes = {in_cache};
  bool aligned = false;
};

inline std::string size_name(uint64_t size) { return size == in_cache ? "/64KiB" : "/256MiB"; }

template <class Work>
benchmark::internal::Benchmark *add_one(const std::string &name, uint64_t bytes, double target, Work work) {
  return benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    work();  // the first one fills the buffers
    for (auto _ : state) {
      work();
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * bytes));
    if (target > 0) state.counters["target"] = target;
  });
}

// One benchmark for the kernel and one for memcpy.
inline void add(const row &r) {
  for (uint64_t size : r.sizes) {
    const auto count = uint64_t(double(size) / r.span), bytes = uint64_t(double(count) * r.bytes);
    const std::string what = r.name + size_name(size) + (r.aligned ? "-aligned" : "");
    const double seconds = size == in_cache ? 0.01 : 0.1;
    const auto run = [=, kernel = r.kernel, aligned = r.aligned] {
      const buffers &b = memory(size, aligned);
      kernel(b.source, b.destination, count);
    };
    const auto copy = [=, aligned = r.aligned] {
      const buffers &b = memory(size, aligned);
      std::memcpy(b.destination, b.source, bytes / 2);
    };
    add_one(what + "/qvimage", bytes, r.target.here(), run)->MinTime(seconds);
    add_one(what + "/memcpy", bytes, 0, copy)->MinTime(seconds);
  }
}

// A kernel in the cache by itself: of `count` items it may take `most` nanoseconds each; 0: no limit.
inline void add_alone(const std::string &name, uint64_t count, uint64_t bytes, double most,
                      const call &kernel) {
  benchmark::RegisterBenchmark((name + size_name(in_cache) + "/qvimage").c_str(),
                               [=](benchmark::State &state) {
                                 const buffers &b = memory(in_cache);
                                 for (auto _ : state) {
                                   kernel(b.source, b.destination, count);
                                   benchmark::ClobberMemory();
                                 }
                                 state.SetBytesProcessed(int64_t(state.iterations() * count * bytes));
                                 if (most > 0) state.counters["most"] = double(count) * most;
                               })
      ->MinTime(0.01);
}

inline int main(int argc, char **argv) {
  benchmark::AddCustomContext("qvimage_level", qvim::level_names[qvim::level_in_use()]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace kernel_rows
