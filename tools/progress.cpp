#include "progress.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "failure.hpp"
#include "interrupt.hpp"
#include "parallel.hpp"
#include "terminal.hpp"
#include "text.hpp"

namespace tool {

namespace {

using namespace std::chrono_literals;

progress *current = nullptr;
thread_local int64_t last = 0;
constexpr int32_t stopped_by_user = -4;

void write_all(const std::string &text) {
  [[maybe_unused]] auto n = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

progress::progress(int64_t units)
    : units_(units), shown_(is_terminal(STDERR_FILENO)), next_draw_(clock::now() + 500ms) {
  current = this;
}

progress::~progress() {
  current = nullptr;
  hide();
}

void progress::hide() {
  if (drawn_) write_all("\r\x1b[K");
  drawn_ = false;
}

void progress::next_unit() {
  done_++;
  steps_done_ = 0;
}

void progress::count(int64_t steps) {
  const int64_t done = steps_done_.fetch_add(1, std::memory_order_relaxed) + 1;
  if (!shown_) return;
  const std::unique_lock lock(drawing_, std::try_to_lock);
  if (!lock || clock::now() < next_draw_) return;
  next_draw_ = clock::now() + 100ms;
  const double part =
      std::min(1.0, static_cast<double>(done) / static_cast<double>(std::max<int64_t>(steps, 1)));
  draw((static_cast<double>(std::max<int64_t>(done_, 0)) + part) / static_cast<double>(units_));
}

void progress::step(int64_t steps) {
  if (current != nullptr) current->count(steps);
  if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
  if (others_failed()) throw ended_with_others{};
}

int32_t progress::callback(int64_t step, int64_t steps) {
  last = step;
  const int error_before = errno;  // the caller wants to tell what its own operation met
  if (current != nullptr) current->count(steps);
  errno = error_before;
  return noted_interrupt() != 0 || others_failed() ? stopped_by_user : 0;
}

int64_t progress::last_step() { return last; }

void progress::draw(double fraction) {
  const int cells = std::clamp(terminal_width(STDERR_FILENO) - 9, 1, 60);
  const auto full = static_cast<size_t>(std::clamp(fraction, 0.0, 1.0) * cells);
  write_all("\r[" + std::string(full, '#') + std::string(static_cast<size_t>(cells) - full, ' ') +
            formatted("] %3d %%", static_cast<int>(fraction * 100)));
  drawn_ = true;
}

}  // namespace tool
