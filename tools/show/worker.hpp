// Reads on a thread of its own, so that keys are answered meanwhile. Only the latest wish counts.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "gallery.hpp"

namespace tool::show {

class worker {
 public:
  // `wake` is called on the worker's thread whenever there is news.
  worker(std::vector<std::string> paths, std::function<void()> wake);
  ~worker();
  worker(const worker &) = delete;
  worker &operator=(const worker &) = delete;

  void want(const wish &wish);
  void want_value(const wish &wish, position stored);

  // News since it was last asked.
  struct report {
    std::optional<tool::show::picture> picture;
    std::optional<std::string> trouble;  // instead of a picture
    std::optional<pixel_value> value;
    std::optional<position> value_place;
  };
  report take();

 private:
  struct lookup {
    tool::show::wish wish;
    position place;
  };
  void work();
  void paint(const wish &wish);
  void answer(const lookup &question);
  void answer_between_rows(const wish &painted);
  void tell(const std::function<void(report &)> &change);

  gallery gallery_;
  const std::function<void()> wake_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<wish> wish_;
  std::optional<lookup> question_;
  report news_;
  std::atomic<bool> superseded_ = false, asked_ = false, ended_ = false;
  std::thread thread_;
};

}  // namespace tool::show
