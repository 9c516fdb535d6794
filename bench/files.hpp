// What benchmarks of file formats have in common: a folder, registration, and the plain calls that any reader
// or writer must do at least.
#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "bench/frames.hpp"

// Files of the benchmark; gone when it ends.
struct folder {
  std::filesystem::path path;
  folder() {
    const char *base = std::getenv("TMPDIR");
    std::string name = std::string(base ? base : "/tmp") + "/qvimage-bench-XXXXXX";
    path = mkdtemp(name.data());
  }
  ~folder() { std::filesystem::remove_all(path); }
  std::string operator/(const std::string &name) const { return (path / name).string(); }
};
inline folder &files() {
  static folder f;
  return f;
}

inline void must(bool good, const char *what) {
  if (good) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// The frame through a block of 64 KiB: what any buffered writer or reader must do at least.
inline void write_plain(const frames::frame &f, const std::string &path) {
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666);
  static uint8_t *const block = static_cast<uint8_t *>(std::aligned_alloc(4096, 65536));
  for (size_t at = 0; at < f.bytes.size(); at += 65536) {
    const size_t n = std::min<size_t>(65536, f.bytes.size() - at);
    std::memcpy(block, f.bytes.data() + at, n);
    must(pwrite(fd, block, n, off_t(at)) == ssize_t(n), "pwrite");
  }
  close(fd);
}
inline void read_plain(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  const int fd = open(path.c_str(), O_RDONLY);
  static uint8_t *const block = static_cast<uint8_t *>(std::aligned_alloc(4096, 65536));
  for (size_t at = 0; at < f.bytes.size(); at += 65536) {
    const size_t n = std::min<size_t>(65536, f.bytes.size() - at);
    must(pread(fd, block, n, off_t(at)) == ssize_t(n), "pread");
    std::memcpy(pixels + at, block, n);
  }
  close(fd);
}

template <class Operation>
benchmark::internal::Benchmark *time_it(const std::string &name, double bytes, double target,
                                        Operation operation) {
  return benchmark::RegisterBenchmark(name.c_str(),
                                      [=](benchmark::State &state) {
                                        for (auto _ : state) operation();
                                        if (bytes > 0)
                                          state.SetBytesProcessed(int64_t(bytes) * state.iterations());
                                        if (target > 0) state.counters["target"] = target;
                                      })
      ->Unit(benchmark::kMillisecond);
}
