// Sequential writing and reading in rows against the system calls with a copy of the same bytes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <qvimage/bufio.h>

namespace {

constexpr size_t row = 8000, rows = 3000, block = 65536, size = row * rows;

const std::vector<uint8_t> &frame() {
  static const std::vector<uint8_t> bytes = [] {
    std::vector<uint8_t> b(size);
    for (size_t i = 0; i < size; i++) b[i] = uint8_t(i * 2654435761u >> 24);
    return b;
  }();
  return bytes;
}

std::string path() {
  const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  return folder + "/qvimage-bench-bufio-" + std::to_string(getpid());
}

void check(bool fine) {
  if (!fine) std::abort();
}

void report(benchmark::State &state) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
  unlink(path().c_str());
}

void write_rows() {
  bufio b;
  check(bufio_init(&b, path().c_str(), "w+b", block, BUFIO_NOZERO) == 0);
  for (size_t y = 0; y < rows; y++) bufio_io(&b, const_cast<uint8_t *>(frame().data() + y * row), row, 'w');
  bufio_done(&b);
  check(bufio_err(&b) == 0);
}

uint8_t *page_aligned_block() {
  static auto *p = static_cast<uint8_t *>(std::aligned_alloc(4096, block));
  return p;
}

void pwrite_blocks() {
  const int fd = open(path().c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
  for (size_t at = 0; at < size; at += block) {
    const size_t n = std::min(block, size - at);
    std::memcpy(page_aligned_block(), frame().data() + at, n);
    check(pwrite(fd, page_aligned_block(), n, off_t(at)) == ssize_t(n));
  }
  close(fd);
}

void read_rows(std::vector<uint8_t> &to) {
  bufio b;
  check(bufio_init(&b, path().c_str(), "rb", 16, 0) == 0);
  for (size_t y = 0; y < rows; y++) bufio_io(&b, to.data() + y * row, row, 'r');
  check(bufio_err(&b) == 0);
  bufio_done(&b);
}

void pread_blocks(std::vector<uint8_t> &to) {
  const int fd = open(path().c_str(), O_RDONLY);
  for (size_t at = 0; at < size; at += block) {
    const size_t n = std::min(block, size - at);
    check(pread(fd, page_aligned_block(), n, off_t(at)) == ssize_t(n));
    std::memcpy(to.data() + at, page_aligned_block(), n);
  }
  close(fd);
}

void bench_write(benchmark::State &state, void (*write)(), double target) {
  for (auto _ : state) write();
  if (target > 0) state.counters["target"] = target;
  report(state);
}

void bench_read(benchmark::State &state, void (*read)(std::vector<uint8_t> &), double target) {
  write_rows();
  std::vector<uint8_t> to(size);
  for (auto _ : state) read(to);
  check(to == frame());
  if (target > 0) state.counters["target"] = target;
  report(state);
}

// Bytes one by one, as header readers take them.
void bench_getc(benchmark::State &state) {
  write_rows();
  bufio b;
  check(bufio_init(&b, path().c_str(), "rb", 16, 0) == 0);
  for (auto _ : state) {
    if (b.pos == size) b.pos = 0;
    benchmark::DoNotOptimize(bufio_getc(&b));
  }
  bufio_done(&b);
  unlink(path().c_str());
}

}  // namespace

BENCHMARK_CAPTURE(bench_write, , write_rows, 0.9)->Name("bufio_write/qvimage");
BENCHMARK_CAPTURE(bench_write, , pwrite_blocks, 0)->Name("bufio_write/pwrite");
BENCHMARK_CAPTURE(bench_read, , read_rows, 0.9)->Name("bufio_read/qvimage");
BENCHMARK_CAPTURE(bench_read, , pread_blocks, 0)->Name("bufio_read/pread");
BENCHMARK(bench_getc)->Name("bufio_getc/qvimage");

BENCHMARK_MAIN();
