// Adaptive arithmetic coder.
#include "files/codec/arith.hpp"

#include <algorithm>
#include <numeric>

#include <qvimage/arith.h>
#include <qvimage/error.h>

#include "files/codec/codec.hpp"

namespace qvim::arith {

int32_t model::make(uint32_t symbols, int32_t requested, bool with_end) {
  if (symbols == 0 || symbols > most_symbols - with_end) return QVERR_USAGE;
  size_ = symbols + with_end;
  has_end_ = with_end;
  adaptive_ = requested != 0;
  ceiling_ = std::max(2 * size_, uint32_t(std::clamp<int32_t>(requested, 0, highest_total)));
  const uint64_t entries = size_ + 1;
  if (!tables_.allocate_zeroed(4 * entries)) return QVERR_MEMORY;
  frequency_ = tables_.data();
  cumulative_ = frequency_ + entries;
  symbol_at_ = cumulative_ + entries;
  rank_of_ = symbol_at_ + entries;
  reset();
  return 0;
}

void model::reset() {
  transfer.symbol = transfer.bit = 0;
  for (uint32_t rank = 1; rank <= size_; rank++) {
    frequency_[rank] = 1;
    symbol_at_[rank] = uint16_t(rank - 1);
    rank_of_[rank - 1] = uint16_t(rank);
  }
  accumulate();
}

void model::accumulate() {
  cumulative_[size_] = 0;
  for (uint32_t rank = size_; rank > 0; rank--)
    cumulative_[rank - 1] = uint16_t(cumulative_[rank] + frequency_[rank]);
}

void model::set_frequencies(const uint16_t *by_symbol) {
  uint16_t *symbols = symbol_at_ + 1;
  std::iota(symbols, symbols + size_, uint16_t{0});
  std::sort(symbols, symbols + size_, [by_symbol](uint16_t a, uint16_t b) {
    return by_symbol[a] != by_symbol[b] ? by_symbol[a] > by_symbol[b] : a < b;
  });
  for (uint32_t rank = 1; rank <= size_; rank++) {
    frequency_[rank] = by_symbol[symbol_at_[rank]];
    rank_of_[symbol_at_[rank]] = uint16_t(rank);
  }
  accumulate();
}

uint32_t model::first_not_above(const uint16_t *values, uint32_t limit) const {
  // Frequent symbols stand in front: look there first, in growing steps, then halve the last one.
  uint32_t step = 1, last = 0;
  while (last + step < size_ && values[last + step] > limit) {
    last += step;
    step *= 2;
  }
  uint32_t end = std::min(last + step, size_);
  while (end - last > 1) {
    const uint32_t middle = (last + end) / 2;
    (values[middle] > limit ? last : end) = middle;
  }
  return end;
}

void model::update(uint32_t rank) {
  if (!adaptive_) return;
  if (total() >= ceiling_) {
    for (uint32_t i = 1; i <= size_; i++) frequency_[i] = uint16_t((frequency_[i] + 1) / 2);
    accumulate();
  }
  const uint32_t front = first_not_above(frequency_, frequency_[rank]);
  if (front != rank) {
    std::swap(symbol_at_[front], symbol_at_[rank]);
    rank_of_[symbol_at_[front]] = uint16_t(front);
    rank_of_[symbol_at_[rank]] = uint16_t(rank);
  }
  frequency_[front]++;
  for (uint32_t i = 0; i < front; i++) cumulative_[i]++;
}

void coder::narrow(const model &m, uint32_t rank) {
  const uint32_t range = length(), total = m.total();
  high_ = low_ + range * m.cumulative(rank - 1) / total - 1;
  low_ += range * m.cumulative(rank) / total;
}

bool coder::encode(model &m, uint32_t symbol) {
  const uint32_t rank = m.rank(symbol);
  if (m.frequency(rank) == 0 || length() < m.total()) return false;
  narrow(m, rank);
  m.update(rank);
  return true;
}

void coder::finish() {
  if (finish_ == finish_not_asked) finish_ = finish_asked;
}

int32_t coder::step() const {
  if (high_ < half) return 0;
  if (low_ >= half) return half;
  if (low_ >= quarter && high_ < half + quarter) return quarter;
  return -1;
}

bool coder::put_run(codecstream &out) {
  for (; run_ > 0; run_--)
    if (!put_bit(out, run_bit_)) return false;
  return true;
}

bool coder::put_settled(codecstream &out, uint32_t bit) {
  if (!put_bit(out, bit)) return false;
  run_ = pending_;
  run_bit_ = bit ^ 1;
  pending_ = 0;
  return true;
}

bool coder::put_out(codecstream &out) {
  while (put_run(out)) {
    if (finish_ == finish_done) return true;
    const int32_t down = step();
    if (down < 0) {
      if (finish_ != finish_asked) return true;
      if (!put_settled(out, low_ >= quarter)) return false;
      run_ += 13;
      finish_ = finish_done;
      continue;
    }
    if (down == quarter)
      pending_++;
    else if (!put_settled(out, down == half))
      return false;
    low_ = 2 * (low_ - uint32_t(down));
    high_ = 2 * (high_ - uint32_t(down)) + 1;
  }
  return false;
}

bool coder::take_in(codecstream &in, bool padded) {
  for (;;) {
    const int32_t down = missing_ ? 0 : step();
    if (down < 0) return true;
    int32_t bit = get_bit(in);
    if (bit < 0) {
      if (!padded) return false;
      bit = 0;
    }
    value_ = 2 * (value_ - uint32_t(down)) + uint32_t(bit);
    if (missing_) {
      missing_--;
      continue;
    }
    low_ = 2 * (low_ - uint32_t(down));
    high_ = 2 * (high_ - uint32_t(down)) + 1;
  }
}

int32_t coder::decode(model &m) {
  if (missing_ || length() < m.total()) return -1;
  const uint32_t count = ((value_ - low_ + 1) * m.total() - 1) / length();
  const uint32_t rank = m.find(count), symbol = m.symbol(rank);
  narrow(m, rank);
  m.update(rank);
  return int32_t(symbol);
}

namespace {

coder *coder_of(void *state) { return static_cast<coder *>(state); }
model *model_of(void *m) { return static_cast<model *>(m); }

// The symbol's number in the model, where any negative one stands for the end symbol; -1 without such a
// symbol.
int32_t number_of(const model &m, int32_t symbol) {
  if (symbol < 0) return m.has_end() ? int32_t(m.end_symbol()) : -1;
  return uint32_t(symbol) < m.size() - m.has_end() ? symbol : -1;
}

// Scales counts so that their sum stays within the ceiling, and none but 0 becomes 0.
void scale(const model &m, array<uint64_t> &counts, array<uint16_t> &frequencies) {
  const uint64_t largest = *std::max_element(counts.begin(), counts.end());
  // Small enough for the sum of 2^13 counts, times a ceiling of 2^14, to fit 64 bits.
  uint32_t shift = 0;
  while (largest >> shift >> 36) shift++;
  uint64_t total = 0, used = 0;
  for (uint64_t count : counts) {
    total += count >> shift;
    used += count != 0;
  }
  const bool fits = shift == 0 && total <= m.ceiling();
  // Raising small ones to 1 adds at most 1 each: leave room for that.
  const uint64_t room = m.ceiling() - used;
  for (uint64_t i = 0; i < counts.size(); i++) {
    const uint64_t scaled = fits ? counts[i] : (counts[i] >> shift) * room / total;
    frequencies[i] = uint16_t(counts[i] ? std::max<uint64_t>(scaled, 1) : 0);
  }
}

}  // namespace
}  // namespace qvim::arith

using namespace qvim;
using namespace qvim::arith;

extern "C" {

int32_t parth_stateinit(void **state) {
  if (!state || *state) return QVERR_USAGE;
  *state = make_owned<coder>().release();
  return *state ? 0 : QVERR_MEMORY;
}

int32_t parth_statereset(void *state) {
  if (!state) return QVERR_USAGE;
  *coder_of(state) = coder();
  return 0;
}

void parth_statedone(void **state) {
  if (!state) return;
  const owned<coder> freed(coder_of(*state));
  *state = nullptr;
}

int32_t parth_modelinit(void **m, uint32_t symbols, int32_t maxfreq, int32_t withend) {
  if (!m || *m) return QVERR_USAGE;
  owned<model> made = make_owned<model>();
  if (!made) return QVERR_MEMORY;
  const int32_t code = made->make(symbols, maxfreq, withend != 0);
  if (code == 0) *m = made.release();
  return code;
}

int32_t parth_modelreset(void *m) {
  if (!m) return QVERR_USAGE;
  model_of(m)->reset();
  return 0;
}

void parth_modeldone(void **m) {
  if (!m) return;
  const owned<model> freed(model_of(*m));
  *m = nullptr;
}

int32_t parth_encode(void *state, void *m, int32_t symbol) {
  if (!state || !m) return QVERR_USAGE;
  const int32_t number = number_of(*model_of(m), symbol);
  if (number < 0 || !coder_of(state)->encode(*model_of(m), uint32_t(number))) return QVERR_USAGE;
  if (symbol < 0) coder_of(state)->finish();
  return 0;
}

int32_t parth_encodeout(void *state, codecstream *out) {
  if (!state || !out) return QVERR_USAGE;
  return coder_of(state)->put_out(*out);
}

int32_t parth_decodein(void *state, codecstream *in) {
  if (!state || !in) return QVERR_USAGE;
  return coder_of(state)->take_in(*in, false);
}

int32_t parth_decode(void *state, void *m) {
  if (!state || !m) return QVERR_USAGE;
  const model &frequencies = *model_of(m);
  const int32_t symbol = coder_of(state)->decode(*model_of(m));
  if (symbol >= 0 && !(frequencies.has_end() && uint32_t(symbol) == frequencies.end_symbol())) return symbol;
  coder_of(state)->finish();
  return -1;
}

int32_t parth_symbolcost(void *m, int32_t symbol, uint32_t *freq_out, uint32_t *total_out) {
  if (!m) return QVERR_USAGE;
  const int32_t number = number_of(*model_of(m), symbol);
  if (number < 0) return QVERR_USAGE;
  if (freq_out) *freq_out = model_of(m)->frequency(model_of(m)->rank(uint32_t(number)));
  if (total_out) *total_out = model_of(m)->total();
  return 0;
}

int32_t parth_modelskew(void *m, const uint64_t *counts, const uint32_t *counts32) {
  if (!m) return QVERR_USAGE;
  model &frequencies = *model_of(m);
  array<uint64_t> wanted;
  array<uint16_t> scaled;
  if (!wanted.allocate_zeroed(frequencies.size()) || !scaled.allocate_zeroed(frequencies.size()))
    return QVERR_MEMORY;
  const uint32_t given = frequencies.size() - frequencies.has_end();
  uint64_t any = 0;
  for (uint32_t i = 0; i < given; i++) any |= wanted[i] = counts ? counts[i] : counts32 ? counts32[i] : 1;
  if (!any) return QVERR_USAGE;
  if (frequencies.has_end()) wanted[given] = 1;
  scale(frequencies, wanted, scaled);
  frequencies.set_frequencies(scaled.data());
  return 0;
}

int32_t parth_freqout(void *m, codecstream *out, int32_t restart) {
  if (!m || !out) return QVERR_USAGE;
  model &frequencies = *model_of(m);
  auto &place = frequencies.transfer;
  if (restart) place.symbol = place.bit = 0;
  for (; place.symbol < frequencies.size(); place.symbol++, place.bit = 0) {
    const uint32_t value = frequencies.frequency(frequencies.rank(place.symbol));
    for (; place.bit < 14; place.bit++)
      if (!put_bit(*out, value >> place.bit & 1)) return 0;
  }
  return 1;
}

int32_t parth_freqin(void *m, codecstream *in, int32_t restart) {
  if (!m || !in) return QVERR_USAGE;
  model &frequencies = *model_of(m);
  auto &place = frequencies.transfer;
  if (restart) place.symbol = place.bit = 0;
  auto &received = place.frequencies;
  if (received.size() == 0 && !received.allocate_zeroed(frequencies.size())) return QVERR_MEMORY;
  if (place.symbol == 0 && place.bit == 0) std::fill(received.begin(), received.end(), uint16_t{0});
  for (; place.symbol < frequencies.size(); place.symbol++, place.bit = 0)
    for (; place.bit < 14; place.bit++) {
      const int32_t bit = get_bit(*in);
      if (bit < 0) return in->more > 0 ? 0 : QVERR_FORMAT;
      received[place.symbol] |= uint16_t(bit << place.bit);
    }
  const uint32_t total = std::accumulate(received.begin(), received.end(), uint32_t{0});
  if (total == 0 || total > frequencies.ceiling()) return QVERR_FORMAT;
  frequencies.set_frequencies(received.data());
  return 1;
}

}  // extern "C"
