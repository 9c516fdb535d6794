// Chains of views.
#pragma once

namespace qvim {

// Set-ups and queries go down a chain of views by recursion. Chains end at an image without a source, unless
// a caller ties them into a ring: there the recursion stops.
inline constexpr int longest_chain = 1000;
constinit inline thread_local int chain_depth = 0;
class chain_step {
 public:
  chain_step() { chain_depth++; }
  ~chain_step() { chain_depth--; }
  chain_step(const chain_step &) = delete;
  chain_step &operator=(const chain_step &) = delete;
  bool too_deep() const { return chain_depth > longest_chain; }
};

}  // namespace qvim
