// Memory images: what a transfer costs beside the memcpy of its bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include <qvimage/qvimage.h>

namespace {

constexpr int32_t width = 1920, height = 16;

template <class T>
struct frame {
  std::vector<T> pixels = std::vector<T>(width * height * 3, 1), buffer = std::vector<T>(width * height * 3);
  qvimage im;

  explicit frame(int32_t pixies, int32_t bits = 0) {
    const int32_t dims[] = {width, height};
    qvimage_memory(&im, pixels.data(), dims, 0, sizeof(T), bits, pixies, QVIM_HINT_UNKNOWN, 0);
  }
};

void row_memcpy(benchmark::State &state) {
  frame<uint16_t> f(1);
  for (int32_t y = 0; auto _ : state) {
    std::memcpy(f.buffer.data(), f.pixels.data() + y * width, width * 2);
    benchmark::ClobberMemory();
    y = (y + 1) % height;
  }
}
BENCHMARK(row_memcpy)->Name("row_1920/memcpy");

template <uint32_t Datatype, uint32_t Mask>
void row(benchmark::State &state) {
  if (Datatype == 0 && Mask == 1) state.counters["beyond"] = 30;
  constexpr int pixies = Mask == 1 ? 1 : 3;
  frame<uint16_t> f(pixies, 12);
  if (f.im.ioset(&f.im, QVIM_XSCAN, QVIM_UINT16 | Datatype, Mask) < 0) state.SkipWithError("ioset");
  for (int32_t y = 0; auto _ : state) {
    f.im.ioread(&f.im, 0, f.buffer.data(), width, 0, y);
    benchmark::ClobberMemory();
    y = (y + 1) % height;
  }
}
BENCHMARK(row<0, 1>)->Name("row_1920/qvimage");
BENCHMARK(row<QVIM_MSB, 1>)->Name("row_shifted/qvimage");
BENCHMARK(row<QVIM_SWAPPED, 1>)->Name("row_swapped/qvimage");
BENCHMARK(row<QVIM_MSB | QVIM_SWAPPED, 1>)->Name("row_shifted_and_swapped/qvimage");
BENCHMARK(row<0, 2>)->Name("row_of_one_component/qvimage");

void column(benchmark::State &state) {
  frame<uint16_t> f(1);
  f.im.ioset(&f.im, QVIM_YSCAN | QVIM_WRAP, QVIM_UINT16, 1);
  for (int32_t x = 0; auto _ : state) {
    f.im.ioread(&f.im, 0, f.buffer.data(), height, x, 0);
    benchmark::ClobberMemory();
    x = (x + 1) % width;
  }
}
BENCHMARK(column)->Name("column/qvimage");

void one_pixel(benchmark::State &state) {
  state.counters["most"] = 25;
  frame<uint16_t> f(1);
  f.im.ioset(&f.im, QVIM_XSCAN, QVIM_UINT16, 1);
  for (int32_t x = 0; auto _ : state) {
    f.im.ioread(&f.im, 0, f.buffer.data(), 1, x, 3);
    benchmark::ClobberMemory();
    x = (x + 1) % width;
  }
}
BENCHMARK(one_pixel)->Name("one_pixel/qvimage");

std::vector<qvxyzcoord> scattered(int32_t count) {
  std::mt19937 engine(1);
  std::vector<qvxyzcoord> list(count);
  for (qvxyzcoord &entry : list) entry = {int32_t(engine() % width), int32_t(engine() % height), 0};
  return list;
}

// The list is filled anew for each call: the memory image rewrites it into offsets.
template <uint32_t Datatype, uint32_t Mask, uint32_t Op>
void block(benchmark::State &state) {
  if (Op == QVIM_OP_READ && Mask == 1) state.counters["most"] = 6000;
  frame<uint16_t> f(Mask == 1 ? 1 : 3, 12);
  const auto list = scattered(1000);
  auto used = list;
  if (f.im.bxts(&f.im, 0, QVIM_UINT16 | Datatype, Mask) < 0) state.SkipWithError("bxts");
  for (auto _ : state) {
    used = list;
    f.im.bxta(&f.im, QVIM_LIST, f.buffer.data(), used.data(), 1000, Op);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(block<0, 1, QVIM_OP_READ>)->Name("block_read_1000/qvimage");
BENCHMARK(block<0, 7, QVIM_OP_READ>)->Name("block_read_1000_of_3_pixies/qvimage");
BENCHMARK(block<QVIM_MSB, 1, QVIM_OP_READ>)->Name("block_read_1000_shifted/qvimage");
BENCHMARK(block<0, 1, QVIM_OP_ADD>)->Name("block_add_1000/qvimage");

void generic_block(benchmark::State &state) {
  frame<uint16_t> f(1, 12);
  auto list = scattered(1000);
  qvimbxtstate block{};
  qvimbxts(&block, &f.im, 0, QVIM_UINT16, 1);
  for (auto _ : state) {
    qvimbxta(&block, &f.im, QVIM_LIST, f.buffer.data(), list.data(), 1000, QVIM_OP_READ);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(generic_block)->Name("generic_block_read_1000/qvimage");

}  // namespace

BENCHMARK_MAIN();
