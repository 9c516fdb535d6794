// A stream that several threads use, one at a time.
#pragma once

#include <qvimage/bufio.h>

namespace qvim {

// While it lives, the stream is this thread's, if it asks for that.
class critical {
 public:
  explicit critical(bufio &stream) : stream_(stream) { bufio_EnterCritical(&stream_); }
  ~critical() { bufio_LeaveCritical(&stream_); }
  critical(const critical &) = delete;
  critical &operator=(const critical &) = delete;

 private:
  bufio &stream_;
};

}  // namespace qvim
