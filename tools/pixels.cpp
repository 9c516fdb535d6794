#include "pixels.hpp"

#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "failure.hpp"
#include "parallel.hpp"
#include "progress.hpp"
#include "scratch.hpp"
#include "text.hpp"
#include "window.hpp"

namespace tool {

namespace {

uint32_t all_pixies(int32_t pixies) { return pixies >= 32 ? 0xFFFFFFFF : (uint32_t{1} << pixies) - 1; }

// Less than this is done before another thread has begun.
constexpr int64_t bytes_for_threads = int64_t{1} << 20;

bool worth_threads(const qvimage *image) {
  return int64_t{width_of(image->wind)} * height_of(image->wind) * image->f.pixelsize >= bytes_for_threads;
}

class memory_page : public page {
 public:
  memory_page(std::shared_ptr<const scratch> room, const int32_t size[2], const qvimagedata &data,
              const qvimagehints &hints)
      : room_(std::move(room)) {
    check(qvimage_memdata(&image, room_->data(), 0, size, 0, &data, &hints, 0), "memory", "");
  }

 private:
  const std::shared_ptr<const scratch> room_;
};

}  // namespace

documents::documents(const std::vector<std::string> &words, unsigned threads) : open_(threads) {
  open_[0] = open_documents(words);
}

document &documents::of(unsigned thread) {
  std::unique_ptr<document> &mine = open_[thread];
  if (mine == nullptr) mine = open_[0]->again();
  return *mine;
}

pixels::thread_view::thread_view(std::unique_ptr<tool::page> opened, const pixels &pixels)
    : page(std::move(opened)), chain(&page->image, pixels.file_, pixels.where_) {
  for (const step &step : pixels.steps_) step.take(chain);
}

pixels::pixels(unsigned threads, opener open, std::span<const step> steps, place where)
    : open_(std::move(open)),
      steps_(steps),
      file_(std::move(where.file)),
      where_(std::move(where.page)),
      views_(threads),
      threads_(worth_threads(image(0)) ? threads : 1) {}

pixels::pixels(documents &documents, int64_t number, colour_map colours, std::span<const step> steps)
    : pixels(
          documents.threads(),
          [&documents, number, colours](unsigned thread) {
            return documents.of(thread).open(number, colours);
          },
          steps, documents.of(0).where(number)) {}

pixels::thread_view &pixels::view(unsigned thread) {
  std::unique_ptr<thread_view> &mine = views_[thread];
  if (mine == nullptr) mine = std::make_unique<thread_view>(open_(thread), *this);
  return *mine;
}

size_t pixels::row_bytes() {
  return static_cast<size_t>(width()) * static_cast<size_t>(image(0)->f.pixelsize);
}

void pixels::set_up_rows(unsigned thread) {
  qvimage *image = this->image(thread);
  const auto type = static_cast<uint32_t>(image->d.pixietype) | QVIM_LSB;
  check(image->ioset(image, 0, type, all_pixies(image->d.pixies)), file_, where_);
}

void pixels::read(unsigned thread, int32_t y, void *place) {
  qvimage *image = this->image(thread);
  const auto width = static_cast<uint32_t>(width_of(image->wind));
  errno = 0;
  const bool whole = image->ioread(image, 0, place, width, 0, y) == width;
  image->iowait(image, 0, place);
  if (whole) return;
  blame(thread, y);
  throw failure(file_, QVERR_IO, where_ + formatted(", row %d: it cannot be read", y + 1));
}

void pixels::blame(unsigned thread, int64_t row) {
  qvimage *image = this->image(thread);
  const auto code = static_cast<int32_t>(image->aeiou(image, 'e', 1, 1, nullptr));
  if (code >= 0) return;
  throw failure(
      file_, code,
      reason(code, where_ + formatted(", row %lld: it cannot be read", static_cast<long long>(row + 1))));
}

std::unique_ptr<pixels> kept_in_scratch(pixels &from, const std::string &beside, std::span<const step> steps,
                                        place where) {
  const qvimagedata data = from.data();
  const qvimagehints hints = from.image(0)->h;
  const int32_t size[2] = {from.width(), from.height()};
  const size_t row = from.row_bytes();
  const auto room = std::make_shared<const scratch>(row * static_cast<size_t>(size[1]), beside);
  in_shares(from.threads(), size[1], [&](unsigned thread, int64_t first, int64_t last) {
    from.set_up_rows(thread);
    for (int64_t y = first; y < last; y++) {
      from.read(thread, static_cast<int32_t>(y), room->data() + static_cast<size_t>(y) * row);
      progress::step(size[1]);
    }
  });
  return std::make_unique<pixels>(
      from.threads(),
      [room, width = size[0], height = size[1], data, hints](unsigned) {
        const int32_t both[2] = {width, height};
        return std::make_unique<memory_page>(room, both, data, hints);
      },
      steps, std::move(where));
}

std::unique_ptr<pixels> read_ahead(pixels &page, const std::string &beside) {
  if (page.threads() == 1 || page.row_bytes() * static_cast<size_t>(page.height()) > most_memory)
    return nullptr;
  return kept_in_scratch(page, beside, {}, {beside, "the page"});
}

}  // namespace tool
