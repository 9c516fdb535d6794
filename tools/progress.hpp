// A bar on the terminal for work that takes longer than half a second.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

namespace tool {

// Work in `units` (pages) of many steps (rows) each, which several threads may do. One at a time, since the
// library's progress callback carries no pointer of its caller's.
class progress {
 public:
  explicit progress(int64_t units);
  ~progress();
  progress(const progress &) = delete;
  progress &operator=(const progress &) = delete;

  void next_unit();
  void hide();  // before printing

  // A step of so many is done. Throws when an interrupt was noted or another thread has failed.
  static void step(int64_t steps);

  // For the library, which gives the step's number: the same, and stops the work instead of throwing.
  static int32_t callback(int64_t step, int64_t steps);
  static int64_t last_step();  // the last one that the library told of in this thread

 private:
  void count(int64_t steps);
  void draw(double fraction);
  using clock = std::chrono::steady_clock;
  const int64_t units_;
  int64_t done_ = -1;                    // units before the current one
  std::atomic<int64_t> steps_done_ = 0;  // of the current one
  const bool shown_;
  std::mutex drawing_;
  bool drawn_ = false;
  clock::time_point next_draw_;
};

}  // namespace tool
