// Quotients by multiplication against the processor's division.
#include "kernels/divide.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/kernels/operands.hpp"

namespace {

using qvim::test::interesting;

TEST(Divide, DivisionByMultiplicationIsExact) {
  std::mt19937 random(3);
  for (int turn = 0; turn < 20000; ++turn) {
    const uint32_t d = std::max(interesting(random), 1u);
    const qvim::divisor by(d);
    for (int i = 0; i < 100; ++i) {
      const uint32_t multiple = uint32_t(random() / d) * d;
      for (uint32_t v : {multiple, multiple - 1, multiple + 1, uint32_t(random()), ~0u - uint32_t(i)})
        ASSERT_EQ(by.divide(v), v / d) << v << " / " << d;
    }
  }
}

template <class T>
void expect_exact_ratios(int turns, std::mt19937 &random) {
  constexpr uint64_t most_value = T(~T(0)), step = sizeof(T) == 4 ? 4000037 : 1;
  for (int turn = 0; turn < turns; ++turn) {
    const uint32_t n = interesting(random), d = std::max(interesting(random), 1u);
    const T most = random() % 2 ? T(most_value) : T(interesting(random));
    const qvim::ratio<T> scaled(n, d, most);
    for (uint64_t v = 0; v <= most_value; v += step)
      ASSERT_EQ(scaled(T(v)), std::min<uint64_t>(most, v * n / d)) << v << " * " << n << " / " << d;
    for (int i = 0; n && i < 50; ++i) {  // about the places where the quotient grows
      const uint64_t quotient = random() % (most_value * n / d + 1), first = (quotient * d + n - 1) / n;
      for (uint64_t v : {first - 1, first})
        if (v <= most_value) {
          ASSERT_EQ(scaled(T(v)), std::min<uint64_t>(most, v * n / d)) << v << " * " << n << " / " << d;
        }
    }
  }
}

TEST(Divide, RatiosAreExact) {
  std::mt19937 random(4);
  expect_exact_ratios<uint8_t>(30000, random);
  expect_exact_ratios<uint16_t>(400, random);
  expect_exact_ratios<uint32_t>(3000, random);
}

}  // namespace
