// Chains of views.
#pragma once

namespace qvim {

// Set-ups and queries go down a chain of views by recursion. Chains end at an image without a source, unless
// a caller ties them into a ring: there the recursion stops. A converter may ask its source twice; where all
// of a chain are refused, that doubles with each, and the recursion stops after so many steps in all.
inline constexpr int longest_chain = 1000, most_chain_steps = 100000;
constinit inline thread_local int chain_depth = 0, chain_steps = 0;
class chain_step {
 public:
  chain_step() {
    if (chain_depth++ == 0) chain_steps = 0;
    chain_steps++;
  }
  ~chain_step() { chain_depth--; }
  chain_step(const chain_step &) = delete;
  chain_step &operator=(const chain_step &) = delete;
  bool too_deep() const { return chain_depth > longest_chain || chain_steps > most_chain_steps; }
};

}  // namespace qvim
