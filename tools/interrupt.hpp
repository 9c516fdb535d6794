// Interrupts that wait until everything half done was undone.
#pragma once

#include <csignal>

namespace tool {

// While it lives, SIGINT, SIGTERM and SIGHUP are only noted, and writing beyond the file size limit is an
// error instead of the program's end.
class interrupts_noted {
 public:
  interrupts_noted();
  ~interrupts_noted();
  interrupts_noted(const interrupts_noted &) = delete;
  interrupts_noted &operator=(const interrupts_noted &) = delete;

 private:
  struct sigaction before_[4];
};

// The signal noted since, or 0.
int noted_interrupt();

// Ends the program the way the signal would have, so that a shell sees what happened.
[[noreturn]] void end_by_signal(int signal);

}  // namespace tool
