// Runs a fuzz target over files, or over every file of a folder, without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static int run(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
  // A copy of exactly the input's size: reads past its end are seen by the sanitizer.
  const std::vector<uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return 1;
}

int main(int argc, char **argv) {
  int count = 0;
  for (int i = 1; i < argc; i++) {
    if (std::filesystem::is_directory(argv[i]))
      for (const auto &entry : std::filesystem::directory_iterator(argv[i])) count += run(entry.path());
    else
      count += run(argv[i]);
  }
  std::printf("%d inputs\n", count);
  return count ? 0 : 1;
}
