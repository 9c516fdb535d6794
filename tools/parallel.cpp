#include "parallel.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

constexpr int64_t most_threads = 256;
std::atomic<bool> failing = false;

class first_failure {
 public:
  void note() {
    const std::lock_guard lock(mutex_);
    if (!error_) error_ = std::current_exception();
    failing = true;
  }
  void rethrow() {
    failing = false;
    if (error_) std::rethrow_exception(error_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr error_;
};

}  // namespace

unsigned chosen_threads(const arguments &arguments) {
  const auto text = arguments.value(threads_option.name);
  if (!text) return std::clamp(std::thread::hardware_concurrency(), 1U, unsigned{most_threads});
  const auto found = numbers<int64_t>(*text, ',', 1, most_threads);
  if (!found || found->size() != 1)
    throw usage_error(formatted("--threads takes a number from 1 to %lld, not %s",
                                static_cast<long long>(most_threads), printable(*text).c_str()));
  return static_cast<unsigned>(found->front());
}

void in_shares(unsigned threads, int64_t items,
               const std::function<void(unsigned thread, int64_t first, int64_t last)> &work) {
  const auto shares = std::max<int64_t>(std::min<int64_t>(threads, items), 1);
  first_failure failure;
  const auto share = [&](int64_t i) noexcept {
    try {
      work(static_cast<unsigned>(i), i * items / shares, (i + 1) * items / shares);
    } catch (...) {
      failure.note();
    }
  };
  {
    std::vector<std::jthread> others;
    for (int64_t i = 1; i < shares; i++) others.emplace_back(share, i);
    share(0);
  }
  failure.rethrow();
}

void in_turn(unsigned threads, int64_t items,
             const std::function<void(unsigned thread, int64_t item)> &work) {
  std::atomic<int64_t> next = 0;
  in_shares(threads, std::min<int64_t>(threads, items), [&](unsigned thread, int64_t, int64_t) {
    for (int64_t item; (item = next++) < items;) work(thread, item);
  });
}

void in_pieces(unsigned threads, int32_t rows,
               const std::function<void(unsigned thread, size_t piece, int32_t first, int32_t end)> &work) {
  const auto deal = [&](unsigned thread, int64_t first, int64_t last) {
    for (int64_t i = first; i < last; i++) {
      const int64_t row = i * rows_of_piece;
      work(thread, static_cast<size_t>(i), static_cast<int32_t>(row),
           static_cast<int32_t>(std::min<int64_t>(row + rows_of_piece, rows)));
    }
  };
  in_shares(threads, static_cast<int64_t>(pieces_of(rows)), deal);
}

bool others_failed() { return failing; }

}  // namespace tool
