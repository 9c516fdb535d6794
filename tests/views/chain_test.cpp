// Chains of views, as seeds have them, judged by their models.
#include <gtest/gtest.h>

#include <exception>
#include <random>

#include "tests/views/chain_checks.hpp"

namespace {

TEST(Chain, DoesWhatItsModelsSay) {
  for (uint32_t seed = 1; seed <= 12000; seed++) {
    std::mt19937 g(seed);
    std::vector<uint8_t> decisions(30 + g() % 170);
    for (uint8_t &byte : decisions) byte = uint8_t(g() >> 8);
    fuzz_input from(decisions.data(), decisions.size());
    try {
      model::check_chain(from);
    } catch (const std::exception &wrong) {
      FAIL() << wrong.what() << "; seed " << seed;
    }
  }
}

}  // namespace
