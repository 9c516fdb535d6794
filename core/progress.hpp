// Whom a long call tells how far it has come.
#pragma once

#include <qvimage/progress.h>

namespace qvim {

class progress {
 public:
  // Tells nobody.
  progress() = default;
  // Tells the callback that a caller gave, or, where there is none, the thread's.
  explicit progress(qvimagecallback given);

  // 0: go on. Anything else stops the work and is its result.
  int32_t operator()(int64_t step, int64_t steps) const {
    return given_ ? given_(step, steps) : callback_ ? callback_(user_, step, steps) : 0;
  }

 private:
  qvimagecallback given_ = nullptr;
  qvimageprogress callback_ = nullptr;
  void *user_ = nullptr;
};

}  // namespace qvim
