// Adaptive arithmetic coder: the coder and its models, for callers that code a symbol a sample.
//
// The classic integer coder with 16-bit code values (Witten, Neal, Cleary, "Arithmetic coding for data
// compression", CACM 30(6), 1987). After renormalisation the interval is longer than a quarter of 65536, so
// totals below 2^14 give every counted symbol a share of it, and all products fit 32 bits.
#pragma once

#include <cstdint>

#include <qvimage/codec.h>

#include "core/owned.hpp"

namespace qvim::arith {

inline constexpr uint32_t half = 0x8000, quarter = 0x4000, highest = 0xFFFF;
inline constexpr uint32_t highest_total = 0x3FFF;
inline constexpr uint32_t most_symbols = highest_total / 2;

// Frequencies of symbols, kept in ranks from 1 of non-increasing frequency: the search for a frequent symbol
// is short.
class model {
 public:
  // -2 when memory is short, -1 for a number of symbols that the coder cannot serve. requested 0: a static
  // model.
  [[nodiscard]] int32_t make(uint32_t symbols, int32_t requested, bool with_end);
  // Every symbol once, ranks in the order of symbols.
  void reset();
  // The frequencies of all symbols, the end symbol last; their sum is from 1 to ceiling().
  void set_frequencies(const uint16_t *by_symbol);

  uint32_t size() const { return size_; }  // with the end symbol
  uint32_t ceiling() const { return ceiling_; }
  bool has_end() const { return has_end_; }
  uint32_t end_symbol() const { return size_ - 1; }
  uint32_t total() const { return cumulative_[0]; }
  uint32_t rank(uint32_t symbol) const { return rank_of_[symbol]; }
  uint32_t symbol(uint32_t rank) const { return symbol_at_[rank]; }
  uint32_t frequency(uint32_t rank) const { return frequency_[rank]; }
  // Sum of the frequencies of all ranks behind this one.
  uint32_t cumulative(uint32_t rank) const { return cumulative_[rank]; }

  // The rank whose share of the total holds this count, below total().
  uint32_t find(uint32_t count) const { return first_not_above(cumulative_, count); }

  // Counts the symbol at this rank once more.
  void update(uint32_t rank);

  // Where a transmission of the frequencies stands.
  struct {
    uint32_t symbol = 0, bit = 0;
    array<uint16_t> frequencies;  // as received so far
  } transfer;

 private:
  // The first rank, from 1, whose value is not above the limit; values never increase, and there is such a
  // one.
  uint32_t first_not_above(const uint16_t *values, uint32_t limit) const;
  void accumulate();

  uint32_t size_ = 0, ceiling_ = 0;
  bool adaptive_ = false, has_end_ = false;
  array<uint16_t> tables_;
  // In tables_, indices 0 to size_ each; rank 0 is nobody's.
  uint16_t *frequency_ = nullptr, *cumulative_ = nullptr, *symbol_at_ = nullptr, *rank_of_ = nullptr;
};

// One end of a code stream.
class coder {
 public:
  // Narrows the interval to the symbol's share. False when it has none, or when output is still due.
  [[nodiscard]] bool encode(model &m, uint32_t symbol);
  // Asks for the bits that close the code.
  void finish();
  // Puts out what is settled: false when the room ran out.
  [[nodiscard]] bool put_out(codecstream &out);
  bool finished() const { return finish_ == finish_done; }

  // Takes in what the next symbol needs: false when the input ran out. padded: zero bits follow the input.
  [[nodiscard]] bool take_in(codecstream &in, bool padded);
  // The next symbol; -1 when the interval is too short for that model: take_in was not called.
  [[nodiscard]] int32_t decode(model &m);

 private:
  enum : uint32_t { finish_not_asked, finish_asked, finish_done };

  uint32_t length() const { return high_ - low_ + 1; }
  void narrow(const model &m, uint32_t rank);
  // By how much interval and value go down before they double; -1 when the first bit is open.
  int32_t step() const;
  bool put_run(codecstream &out);
  bool put_settled(codecstream &out, uint32_t bit);

  uint32_t low_ = 0, high_ = highest;
  uint32_t pending_ = 0;            // opposite bits owed after the next settled one
  uint32_t run_ = 0, run_bit_ = 0;  // bits still to put out, and their value
  uint32_t finish_ = finish_not_asked;
  uint32_t value_ = 0;     // decoder: the 16 bits of the code under examination
  uint32_t missing_ = 16;  // of which so many are to be read
};
static_assert(sizeof(coder) == 32);

}  // namespace qvim::arith
