// The arithmetic coder as one would write it for a blackboard: sums are added up each time, bits are a list.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

struct slow_model {
  std::vector<int> order, frequency;  // by rank, from 0
  int limit;

  slow_model(int symbols, int limit_) : frequency(size_t(symbols), 1), limit(limit_) {
    for (int s = 0; s < symbols; s++) order.push_back(s);
  }
  int total() const { return behind(-1); }
  // Sum of the frequencies of all ranks behind this one.
  int behind(int rank) const {
    int sum = 0;
    for (size_t r = size_t(rank + 1); r < frequency.size(); r++) sum += frequency[r];
    return sum;
  }
  int rank_of(int symbol) const { return int(std::find(order.begin(), order.end(), symbol) - order.begin()); }
  void count(int symbol) {
    if (limit == 0) return;
    if (total() >= limit)
      for (int &f : frequency) f = (f + 1) / 2;
    const int rank = rank_of(symbol);
    int front = rank;
    while (front > 0 && frequency[size_t(front - 1)] == frequency[size_t(rank)]) front--;
    std::swap(order[size_t(front)], order[size_t(rank)]);
    frequency[size_t(front)]++;
  }
};

class slow_coder {
 public:
  void encode(slow_model &m, int symbol) {
    const int64_t rank = m.rank_of(symbol), range = high_ - low_ + 1, total = m.total();
    high_ = low_ + range * m.behind(int(rank) - 1) / total - 1;
    low_ = low_ + range * m.behind(int(rank)) / total;
    m.count(symbol);
    for (;; low_ = 2 * low_, high_ = 2 * high_ + 1) {
      if (high_ < 32768) {
        put(0, owed_);
      } else if (low_ >= 32768) {
        put(1, owed_);
        low_ -= 32768;
        high_ -= 32768;
      } else if (low_ >= 16384 && high_ < 49152) {
        owed_++;
        low_ -= 16384;
        high_ -= 16384;
      } else {
        break;
      }
    }
  }
  // The code's bytes, the last one filled up with zero bits.
  std::vector<uint8_t> finish() {
    put(low_ >= 16384, owed_ + 13);
    std::vector<uint8_t> code((bits_.size() + 7) / 8);
    for (size_t i = 0; i < bits_.size(); i++) code[i / 8] |= uint8_t(bits_[i] << i % 8);
    return code;
  }

 private:
  void put(bool bit, int opposite) {
    bits_.push_back(bit);
    bits_.insert(bits_.end(), size_t(opposite), !bit);
    owed_ = 0;
  }
  int64_t low_ = 0, high_ = 65535;
  int owed_ = 0;
  std::vector<bool> bits_;
};
