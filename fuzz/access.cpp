// Memory images under random set-ups, runs, mappings and block transfers, against the slow model of the
// tests.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/core/access_model.hpp"

namespace {

// Decisions from the input's bytes; when they have run out, always the first possibility.
class input_choices : public access_model::choices {
 public:
  input_choices(const uint8_t *data, size_t size) : data_(data), end_(data + size) {}
  uint32_t below(uint32_t n) override {
    uint32_t value = 0;
    for (uint32_t range = n; range > 1 && data_ < end_; range >>= 8) value = value << 8 | *data_++;
    return n ? value % n : 0;
  }

 private:
  const uint8_t *data_, *end_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  input_choices from(data, size);
  try {
    if (from.one_in(2))
      access_model::scenario<qvimage>(from).run();
    else
      access_model::scenario<qvimage3>(from).run();
  } catch (const std::string &difference) {
    std::fprintf(stderr, "%s\n", difference.c_str());
    std::abort();
  }
  return 0;
}
