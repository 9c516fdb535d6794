// Tracing: what a traced place costs while logging is off, beside the same loop without it, and what a line
// costs.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <qvimage/qvimage.h>

namespace {

void *const end = nullptr;

[[gnu::noinline]] int32_t plain(int32_t a) {
  benchmark::DoNotOptimize(a);
  return a + 1;
}

[[gnu::noinline]] int32_t traced(int32_t a) {
  QVIMAGE_TRACE("traced", "entry", "AD", &a, sizeof a, end);
  benchmark::DoNotOptimize(a);
  return a + 1;
}

template <int32_t (*Call)(int32_t)>
void off(benchmark::State &state) {
  if (Call == traced) state.counters["beyond"] = 2;
  for (int32_t a = 0; auto _ : state) a = Call(a);
}
BENCHMARK(off<plain>)->Name("untraced_call/without");
BENCHMARK(off<traced>)->Name("untraced_call/qvimage");

void line(benchmark::State &state) {
  const char *folder = std::getenv("TMPDIR");
  const std::string path = std::string(folder ? folder : "/tmp") + "/qvimage-log-" + std::to_string(getpid());
  setenv("QUORLAN_LOGGING", path.c_str(), 1);
  liblog_setup(LIBLOG_ENABLE, nullptr, nullptr, nullptr, 0);
  for (int32_t a = 0; auto _ : state) a = traced(a);
  liblog_setup(LIBLOG_DISABLE, nullptr, nullptr, nullptr, 0);
  unlink(path.c_str());
}
BENCHMARK(line)->Name("line/qvimage");

}  // namespace
BENCHMARK_MAIN();
