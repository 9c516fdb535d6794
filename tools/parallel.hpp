// Work on all cores. What comes of it never depends on their number: work is cut by what it is, and the cut
// pieces are dealt out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "command.hpp"

namespace tool {

constexpr option threads_option = {"--threads", "N", "on so many threads; else one for each processor"};

// What --threads asks for, or the machine's processors. Throws usage_error.
unsigned chosen_threads(const arguments &arguments);

// Calls work(thread, first, last) for shares of `items`, each on a thread of its own, the first share on the
// caller's. Shares are runs of neighbours, so that each thread goes through its part of a file in order. When
// one throws, the others are told by others_failed, and the first to fail is thrown on.
void in_shares(unsigned threads, int64_t items,
               const std::function<void(unsigned thread, int64_t first, int64_t last)> &work);

// Calls work(thread, item) for each of `items`, in turn: a thread that is done with one takes the next.
void in_turn(unsigned threads, int64_t items, const std::function<void(unsigned thread, int64_t item)> &work);

// The rows of a page in pieces that are the same for any number of threads, so that sums over the pieces are,
// too. Calls work(thread, piece, first, end) with the rows first to end.
constexpr int32_t rows_of_piece = 64;
inline size_t pieces_of(int32_t rows) {
  return (static_cast<size_t>(rows) + rows_of_piece - 1) / rows_of_piece;
}
void in_pieces(unsigned threads, int32_t rows,
               const std::function<void(unsigned thread, size_t piece, int32_t first, int32_t end)> &work);

// Asked between rows: another share of the same work has failed, so that this one can end.
bool others_failed();

struct ended_with_others {};

}  // namespace tool
