#include "files/tiff/bands.hpp"

#include <utility>

#include <qvimage/error.h>

#include "core/result.hpp"

namespace qvim::tiff {

namespace {

class held {
 public:
  explicit held(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~held() { pthread_mutex_unlock(&mutex_); }
  held(const held &) = delete;
  held &operator=(const held &) = delete;

 private:
  pthread_mutex_t &mutex_;
};

}  // namespace

bands::~bands() {
  while (made_) {
    const owned<coder> last{std::exchange(made_, made_->next_made)};
  }
}

bool bands::make(uint32_t count, uint64_t block) {
  block_ = block;
  return bands_.allocate_zeroed(count);
}

void bands::begin_page() {
  for (band &b : bands_) {
    if (b.coded) give_back(b.coded);
    b = {};
  }
  page_++;
  first_unplaced_ = 0;
}

coder *bands::take() {
  const held lock(mutex_);
  if (!free_) {
    owned<coder> c = make_owned<coder>();
    if (!c) return nullptr;
    // Allocates nothing yet, and nothing at all for a page's only band.
    if (bufio_init(&c->memory, nullptr, nullptr, block_, BUFIO_MEMORY | BUFIO_NOZERO) < 0) return nullptr;
    c->next_made = made_;
    free_ = made_ = c.release();
  }
  return std::exchange(free_, free_->next_free);
}

void bands::give_back(coder *c) {
  bufio_ptr2truncate(&c->memory, 0);
  const held lock(mutex_);
  c->next_free = free_;
  free_ = c;
}

coder *bands::take_coded(band &b) {
  const held lock(mutex_);
  return std::exchange(b.coded, nullptr);
}

int32_t bands::write_out(band &b, const bufio &file, array<uint64_t> &offsets) {
  coder *const c = take_coded(b);
  if (!c) return 0;
  const uint64_t place = b.place;
  const int32_t code = write_out_at(c->memory, file, place);
  for (uint64_t strip = b.first_strip; strip < b.end_strip; strip++) offsets[strip] += place;
  b.complete = code == 0;
  give_back(c);
  return code;
}

int32_t bands::add(uint32_t number, coder *c, bufio &file, array<uint64_t> &offsets) {
  band &added = bands_[number];
  uint32_t first = number, end = number + 1;  // the bands that get a place, and are this call's to write
  coder *former;
  {
    const held lock(mutex_);
    former = std::exchange(added.coded, c);
    added.complete = !c;
    const auto place = [&](band &b) {
      if (b.coded) b.place = extend(file, b.coded->memory.filelen);
    };
    if (number < first_unplaced_) {
      place(added);
    } else {
      const auto is_ready = [](const band &b) { return b.coded || b.complete; };
      for (first = end = first_unplaced_; end < count() && is_ready(bands_[end]); end++) place(bands_[end]);
      first_unplaced_ = end;
    }
  }
  if (former) give_back(former);
  int32_t code = 0;
  for (uint32_t i = first; i < end; i++) code = worst(code, write_out(bands_[i], file, offsets));
  return code;
}

int32_t bands::error() const {
  int32_t code = 0;
  for (coder *c = made_; c; c = c->next_made) code = worst(code, bufio_err(&c->memory));
  return code;
}

}  // namespace qvim::tiff
