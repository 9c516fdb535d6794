#include "interrupt.hpp"

#include <cstdlib>

namespace tool {

namespace {

volatile std::sig_atomic_t noted = 0;
constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGXFSZ};

void note(int signal) { noted = signal; }

}  // namespace

interrupts_noted::interrupts_noted() {
  noted = 0;
  for (int i = 0; i < 4; i++) {
    struct sigaction action = {};
    action.sa_handler = signals[i] == SIGXFSZ ? SIG_IGN : note;
    action.sa_flags = SA_RESTART;
    sigaction(signals[i], nullptr, &before_[i]);
    // What the caller of the program ignores (nohup, a background job) stays ignored.
    if (before_[i].sa_handler != SIG_IGN) sigaction(signals[i], &action, nullptr);
  }
}

interrupts_noted::~interrupts_noted() {
  for (int i = 0; i < 4; i++) sigaction(signals[i], &before_[i], nullptr);
}

int noted_interrupt() { return noted; }

void end_by_signal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);
}

}  // namespace tool
