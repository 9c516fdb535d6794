// Transfers called from Java, beside the same calls from C. The program starts a virtual machine of its own.
#include <benchmark/benchmark.h>
#include <jni.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

namespace {

class machine {
 public:
  machine() {
    std::string classes = "-Djava.class.path=" QVIM_CLASSES, library = "-Dqvimage.library=" QVIM_LIBRARY;
    JavaVMOption options[2] = {{classes.data(), nullptr}, {library.data(), nullptr}};
    JavaVMInitArgs arguments = {JNI_VERSION_1_8, 2, options, JNI_FALSE};
    JavaVM *started;
    void *env;
    if (JNI_CreateJavaVM(&started, &env, &arguments) != JNI_OK) fail("no virtual machine");
    env_ = static_cast<JNIEnv *>(env);
  }

  template <class... Arguments>
  void call_of(const char *loops, const char *name, const char *type, Arguments... arguments) {
    const jclass found = env_->FindClass(loops);
    check();
    const jmethodID method = env_->GetStaticMethodID(found, name, type);
    check();
    env_->CallStaticVoidMethod(found, method, arguments...);
    check();
    env_->DeleteLocalRef(found);
  }
  template <class... Arguments>
  void call(const char *name, const char *type, Arguments... arguments) {
    call_of("Loops", name, type, arguments...);
  }

 private:
  static void fail(const char *what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
  }
  void check() {
    if (!env_->ExceptionCheck()) return;
    env_->ExceptionDescribe();
    fail("an exception");
  }

  JNIEnv *env_;
};

machine &java() {
  static machine only;
  return only;
}

struct frame {
  std::vector<uint16_t> memory, buffer;
  qvimage im;
  uint32_t pixels;

  frame(int32_t width, int32_t height, int32_t type)
      : memory(size_t(width) * size_t(height), 1), buffer(memory.size()), pixels(uint32_t(width * height)) {
    const int32_t dims[] = {width, height};
    qvimage_memory(&im, memory.data(), dims, 0, type, 0, 1, QVIM_HINT_GREY, 0);
  }
};

constexpr double target_of_frames = 0.8;
constexpr int most_beyond = 150;  // nanoseconds that a native may take more than C's call

template <bool writes, int32_t width, int32_t height, int32_t type>
void from_c(benchmark::State &state) {
  frame f(width, height, type);
  f.im.ioset(&f.im, QVIM_WRAP, uint32_t(type), 1);
  for (auto _ : state) {
    if (writes)
      f.im.iorite(&f.im, 0, f.buffer.data(), f.pixels, 0, 0);
    else
      f.im.ioread(&f.im, 0, f.buffer.data(), f.pixels, 0, 0);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * f.pixels * type);
}

template <bool writes, int32_t width, int32_t height, int32_t type>
void from_java(benchmark::State &state) {
  constexpr bool whole = height > 1;
  const int32_t batch = whole ? 1 : 1000;  // calls of one loop in Java
  const char *loop = type == 1 ? writes ? "writeBytes" : "readBytes" : writes ? "writeShorts" : "readShorts";
  frame f(width, height, type);
  java().call("use", "(JII)V", reinterpret_cast<jlong>(&f.im), jint{type}, jint(f.pixels));
  java().call(loop, "(I)V", jint{whole ? 10 : 100000});  // compiled by now
  while (state.KeepRunningBatch(batch)) java().call(loop, "(I)V", jint{batch});
  state.SetBytesProcessed(int64_t(state.iterations()) * f.pixels * type);
  if (whole)
    state.counters["target"] = target_of_frames;
  else
    state.counters["beyond"] = most_beyond;
}

#define QVIM_ROW(name, ...)                                             \
  BENCHMARK(from_c<false, __VA_ARGS__>)->Name(name "_read/C");          \
  BENCHMARK(from_java<false, __VA_ARGS__>)->Name(name "_read/qvimage"); \
  BENCHMARK(from_c<true, __VA_ARGS__>)->Name(name "_write/C");          \
  BENCHMARK(from_java<true, __VA_ARGS__>)->Name(name "_write/qvimage");
QVIM_ROW("bytes_16", 16, 1, 1)
QVIM_ROW("bytes_512", 512, 1, 1)
QVIM_ROW("bytes_4096", 4096, 1, 1)
QVIM_ROW("shorts_2048", 2048, 1, 2)
QVIM_ROW("frame_4000x3000", 4000, 3000, 2)
#undef QVIM_ROW

// The package org.qvimage, with whole frames.
void layer(benchmark::State &state, const char *loop, int64_t bytes, double target) {
  java().call_of("LayerLoops", loop, "(I)V", jint{10});
  for (auto _ : state) java().call_of("LayerLoops", loop, "(I)V", jint{1});
  state.SetBytesProcessed(int64_t(state.iterations()) * bytes);
  state.counters["target"] = target;
}

void copy_rgb(benchmark::State &state) {
  const std::vector<uint8_t> from(size_t{3} * 4000 * 3000, 1);
  std::vector<uint8_t> to(from.size());
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(from.size()));
}

constexpr int64_t grey_bytes = 2 * 4000 * 3000, rgb_bytes = 3 * 4000 * 3000;
BENCHMARK(from_c<false, 4000, 3000, 2>)->Name("layer_array/C");
BENCHMARK_CAPTURE(layer, array, "readArray", grey_bytes, target_of_frames)->Name("layer_array/qvimage");
BENCHMARK(from_c<false, 4000, 3000, 2>)->Name("layer_buffer/C");
BENCHMARK_CAPTURE(layer, buffer, "readBuffer", grey_bytes, 0.95)->Name("layer_buffer/qvimage");
BENCHMARK(copy_rgb)->Name("to_buffered_image/memcpy");
BENCHMARK_CAPTURE(layer, show, "show", rgb_bytes, 0.5)->Name("to_buffered_image/qvimage");

}  // namespace
BENCHMARK_MAIN();
