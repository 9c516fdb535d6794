// Processes that die in the middle of their work.
#pragma once

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

enum class ended { killed, by_itself, not_traceable };

// Runs an operation in a process of its own that dies instead of making its n-th system call.
template <class Operation>
ended run_and_kill(Operation operation, int n) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(77);
    raise(SIGSTOP);
    operation();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return ended::not_traceable;
  for (int stops = 0;; stops++) {  // a stop at the entry and one at the exit of each call
    if (stops == 2 * n + 1) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return ended::killed;
    }
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) return ended::by_itself;
    if (WIFSIGNALED(status)) return ended::killed;
  }
}

// Calls `check` after the work was killed before its first, second, ... system call, until it comes to its
// end; it is told whether it did.
inline void kill_everywhere(const std::function<void()> &prepare, const std::function<void()> &work,
                            const std::function<void(bool whole)> &check) {
  ended how = ended::killed;
  for (int n = 0; how == ended::killed && n < 2000; n++) {
    SCOPED_TRACE(testing::Message() << "killed before call " << n);
    prepare();
    how = run_and_kill(work, n);
    if (how == ended::not_traceable) GTEST_SKIP() << "this system does not let processes be traced";
    check(how == ended::by_itself);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(how, ended::by_itself);
}
