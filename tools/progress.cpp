#include "progress.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "interrupt.hpp"
#include "terminal.hpp"
#include "text.hpp"

namespace tool {

namespace {

using namespace std::chrono_literals;

progress *current = nullptr;
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

void progress::step(int64_t step, int64_t steps) {
  if (!shown_ || clock::now() < next_draw_) return;
  next_draw_ = clock::now() + 100ms;
  const double part = steps > 0 ? std::min(1.0, static_cast<double>(step) / static_cast<double>(steps)) : 0.0;
  draw((static_cast<double>(std::max<int64_t>(done_, 0)) + part) / static_cast<double>(units_));
}

int32_t progress::callback(int64_t step, int64_t steps) {
  const int error_before = errno;  // the caller wants to tell what its own operation met
  if (current != nullptr) current->step(step, steps);
  errno = error_before;
  return noted_interrupt() != 0 ? stopped_by_user : 0;
}

void progress::draw(double fraction) {
  const int cells = std::clamp(terminal_width(STDERR_FILENO) - 9, 1, 60);
  const auto full = static_cast<size_t>(std::clamp(fraction, 0.0, 1.0) * cells);
  write_all("\r[" + std::string(full, '#') + std::string(static_cast<size_t>(cells) - full, ' ') +
            formatted("] %3d %%", static_cast<int>(fraction * 100)));
  drawn_ = true;
}

}  // namespace tool
