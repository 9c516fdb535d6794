#include "core/progress.hpp"

namespace {

struct {
  qvimageprogress callback;
  void *user;
} thread_local of_thread{};

}  // namespace

qvim::progress::progress(qvimagecallback given)
    : given_(given), callback_(of_thread.callback), user_(of_thread.user) {}

extern "C" qvimageprogress qvimage_progress(qvimageprogress callback, void *user) {
  const qvimageprogress former = of_thread.callback;
  if (callback != QVIM_PROGRESS_ASK)
    of_thread = {callback, user};
  else if (user)
    *static_cast<void **>(user) = of_thread.user;
  return former;
}
