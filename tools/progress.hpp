// A bar on the terminal for work that takes longer than half a second.
#pragma once

#include <chrono>
#include <cstdint>

namespace tool {

// Work in `units` (pages) of many steps (rows) each. One at a time, since the library's progress callback
// carries no pointer of its caller's.
class progress {
 public:
  explicit progress(int64_t units);
  ~progress();
  progress(const progress &) = delete;
  progress &operator=(const progress &) = delete;

  void next_unit() { done_++; }
  void step(int64_t step, int64_t steps);
  void hide();  // before printing

  // For the library: shows how far the current unit is, and stops the work when an interrupt was noted.
  static int32_t callback(int64_t step, int64_t steps);

 private:
  void draw(double fraction);
  using clock = std::chrono::steady_clock;
  const int64_t units_;
  int64_t done_ = -1;  // units before the current one
  const bool shown_;
  bool drawn_ = false;
  clock::time_point next_draw_;
};

}  // namespace tool
