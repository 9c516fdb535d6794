// A histogram drawn with characters.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tool {

// Counts of values between `least` and `most` in equal parts.
class histogram {
 public:
  histogram(double least, double most, size_t parts)
      : least_(least),
        scale_(most > least ? static_cast<double>(parts) / (most - least) : 0),
        counts_(parts) {}

  void add(double value) {
    const auto part = static_cast<size_t>((value - least_) * scale_);
    counts_[part < counts_.size() ? part : counts_.size() - 1]++;
  }
  void add(const histogram &other) {  // of the same parts
    for (size_t i = 0; i < counts_.size(); i++) counts_[i] += other.counts_[i];
  }
  std::span<const uint64_t> counts() const { return counts_; }

 private:
  double least_, scale_;
  std::vector<uint64_t> counts_;
};

// `lines` lines, top first, a column for each count; a count that is not 0 always shows. No line ends in
// blanks.
std::vector<std::string> drawn(std::span<const uint64_t> counts, int lines, bool unicode);

}  // namespace tool
