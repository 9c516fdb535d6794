#include "levels.hpp"

#include <algorithm>
#include <cmath>

namespace tool::show {

namespace {

levels apart(levels found) {
  if (!(found.white > found.black)) found.white = found.black + 1;
  return found;
}

}  // namespace

levels full_range(const qvimagedata &data) {
  if (data.pixietype >= QVIM_FLOAT32) return {0, 1};
  return {0, std::ldexp(1.0, data.i_bitsused) - 1};
}

census::census(const qvimagedata &data) {
  if (data.pixietype == QVIM_UINT8 || data.pixietype == QVIM_UINT16)
    counts_.resize(size_t{1} << (data.pixietype == QVIM_UINT8 ? 8 : 16));
}

void census::add(double value) {
  if (!std::isfinite(value)) return;
  least_ = std::min(least_, value);
  most_ = std::max(most_, value);
  count_++;
  if (!counts_.empty()) {
    counts_[static_cast<size_t>(value)]++;
    return;
  }
  if (count_ % step_ != 0) return;
  sample_.push_back(value);
  if (sample_.size() < most_samples) return;
  // Full: every second one is as good a sample.
  for (size_t i = 0; i < most_samples / 2; i++) sample_[i] = sample_[2 * i + 1];
  sample_.resize(most_samples / 2);
  step_ *= 2;
}

levels census::range() const { return empty() ? levels{0, 1} : apart({least_, most_}); }

double census::at(double fraction) const {
  if (counts_.empty()) {
    const auto place = static_cast<size_t>(fraction * static_cast<double>(sample_.size() - 1));
    std::ranges::nth_element(sample_, sample_.begin() + static_cast<ptrdiff_t>(place));
    return sample_[place];
  }
  const auto place = static_cast<uint64_t>(fraction * static_cast<double>(count_ - 1));
  uint64_t passed = 0;
  for (size_t value = 0;; value++) {
    passed += counts_[value];
    if (passed > place) return static_cast<double>(value);
  }
}

levels census::between(double fraction) const {
  if (empty() || (counts_.empty() && sample_.empty())) return range();
  return apart({at(fraction), at(1 - fraction)});
}

}  // namespace tool::show
