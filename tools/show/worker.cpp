#include "worker.hpp"

#include <qvimage/error.h>

#include "../failure.hpp"

namespace tool::show {

worker::worker(std::vector<std::string> paths, std::function<void()> wake)
    : gallery_(std::move(paths)), wake_(std::move(wake)), thread_([this] { work(); }) {}

worker::~worker() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = superseded_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void worker::want(const wish &wish) {
  {
    const std::lock_guard lock(mutex_);
    wish_ = wish;
    superseded_ = true;
  }
  changed_.notify_one();
}

void worker::want_value(const wish &wish, position stored) {
  {
    const std::lock_guard lock(mutex_);
    question_ = {wish, stored};
    asked_ = true;
  }
  changed_.notify_one();
}

worker::report worker::take() {
  const std::lock_guard lock(mutex_);
  report taken = std::move(news_);
  news_ = {};
  return taken;
}

void worker::tell(const std::function<void(report &)> &change) {
  {
    const std::lock_guard lock(mutex_);
    change(news_);
  }
  wake_();
}

void worker::work() {
  for (;;) {
    std::optional<wish> wish;
    std::optional<lookup> question;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return ended_ || wish_ || question_; });
      if (ended_) return;
      if (wish_)
        wish.swap(wish_);
      else
        question.swap(question_);
      if (wish)
        superseded_ = false;
      else
        asked_ = false;
    }
    if (wish)
      paint(*wish);
    else
      answer(*question);
  }
}

void worker::paint(const wish &wish) {
  try {
    gallery_.paint(
        wish,
        [&] {
          if (asked_) answer_between_rows(wish);
          return superseded_.load();
        },
        [this](const picture &picture) {
          tell([&](report &news) {
            news.picture = picture;
            news.trouble.reset();
          });
        });
  } catch (const failure &failure) {
    tell([&](report &news) {
      news.trouble = failure.file + ": " + qverrnomesg(failure.code) + ": " + failure.detail;
    });
  } catch (const std::exception &error) {
    tell([&](report &news) { news.trouble = error.what(); });
  }
}

// Only of the page that is being read: another one would take its place.
void worker::answer_between_rows(const wish &painted) {
  std::optional<lookup> question;
  {
    const std::lock_guard lock(mutex_);
    asked_ = false;
    if (question_ && !superseded_ && question_->wish.file == painted.file &&
        question_->wish.page == painted.page && question_->wish.component == painted.component &&
        question_->wish.as == painted.as && question_->wish.reloads == painted.reloads)
      question.swap(question_);
  }
  if (question) answer(*question);
}

void worker::answer(const lookup &question) {
  pixel_value value;
  try {
    value = gallery_.value_at(question.wish, question.place);
  } catch (const std::exception &error) {
    value = {error.what(), "null"};
  }
  tell([&](report &news) {
    news.value = value;
    news.value_place = question.place;
  });
}

}  // namespace tool::show
