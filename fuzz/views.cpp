// Random chains of views under random set-ups, judged by the models of the tests.
#include "tests/views/chain_checks.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input from(data, size);
  model::check_chain(from);
  return 0;
}
