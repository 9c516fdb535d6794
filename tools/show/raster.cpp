#include "raster.hpp"

#include <algorithm>
#include <memory>
#include <type_traits>

#include "../pixie_type.hpp"

namespace tool::show {

raster::raster(const stored_cover &cover, int channels_a_pixel)
    : columns(static_cast<int64_t>(cover.columns.size())),
      rows(static_cast<int64_t>(cover.rows.size())),
      channels(channels_a_pixel),
      values(static_cast<size_t>(columns * rows * channels)),
      states(cover.rows.size(), missing) {}

bool raster::complete() const {
  return std::ranges::all_of(states, [](row_state state) { return state == exact || state == broken; });
}

bool raster::has_broken() const { return std::ranges::find(states, broken) != states.end(); }

namespace {

span middle_of(span cell) {
  const int64_t at = cell.first + (cell.end - cell.first) / 2;
  return {at, at + 1};
}

// Reads the rows of one cell after another and adds up what lies in each column's cell.
template <class Pixie>
class cell_reader {
 public:
  cell_reader(shown_page &page, const stored_cover &cover, bool whole_cells, raster &to)
      : page_(page), whole_(whole_cells), to_(to), columns_(cover.columns) {
    if (!whole_cells) std::ranges::transform(columns_, columns_.begin(), middle_of);
    first_ = columns_.front().first;
    row_.reset(new Pixie[static_cast<size_t>((columns_.back().end - first_) * to.channels)]);
    sums_.resize(static_cast<size_t>(to.columns * to.channels));
  }

  std::string read(const std::vector<span> &rows, const between_rows &go_on) {
    std::string why;
    for (int64_t y = 0; y < to_.rows; y++) {
      const span cell = whole_ ? rows[static_cast<size_t>(y)] : middle_of(rows[static_cast<size_t>(y)]);
      auto &state = to_.states[static_cast<size_t>(y)];
      if (y > 0 && cell == last_) {  // enlarged: several rows show the same
        state = to_.states[static_cast<size_t>(y) - 1];
        std::copy_n(to_.row(y - 1), to_.columns * to_.channels, to_.row(y));
        continue;
      }
      last_ = cell;
      if (state == raster::exact) continue;
      std::ranges::fill(sums_, 0);
      std::string trouble;
      for (int64_t row = cell.first; row < cell.end && trouble.empty(); row++) {
        trouble = page_.read(row, first_, columns_.back().end - first_, row_.get());
        if (!go_on()) return why;
        if (trouble.empty()) add();
      }
      state = !trouble.empty() ? raster::broken : whole_ ? raster::exact : raster::rough;
      if (why.empty()) why = trouble;
      if (trouble.empty()) finish(cell.end - cell.first, to_.row(y));
    }
    return why;
  }

 private:
  // Sums of integers are exact.
  using sum = std::conditional_t<std::is_integral_v<Pixie> && sizeof(Pixie) < 8, uint64_t, double>;

  void add() {
    if (to_.channels == 1)
      add_channels<1>();
    else
      add_channels<3>();
  }

  template <int Channels>
  void add_channels() {
    sum *into = sums_.data();
    for (const span &cell : columns_) {
      const Pixie *from = row_.get() + (cell.first - first_) * Channels;
      sum sums[Channels] = {};
      for (int64_t i = 0; i < cell.end - cell.first; i++) {
        for (int c = 0; c < Channels; c++) sums[c] += static_cast<sum>(from[i * Channels + c]);
      }
      for (int c = 0; c < Channels; c++) *into++ += sums[c];
    }
  }

  void finish(int64_t rows, double *to) const {
    const sum *from = sums_.data();
    for (const span &cell : columns_) {
      const auto pixels = static_cast<double>(rows * (cell.end - cell.first));
      for (int c = 0; c < to_.channels; c++) *to++ = static_cast<double>(*from++) / pixels;
    }
  }

  shown_page &page_;
  const bool whole_;
  raster &to_;
  std::vector<span> columns_;
  int64_t first_;
  span last_ = {-1, -1};
  std::unique_ptr<Pixie[]> row_;
  std::vector<sum> sums_;
};

}  // namespace

std::string read_raster(shown_page &page, const stored_cover &cover, bool whole_cells, raster &to,
                        const between_rows &go_on) {
  if (to.rows == 0 || to.columns == 0) return {};
  return with_pixie_type(page.data().pixietype, [&]<class Pixie>(Pixie) {
    return cell_reader<Pixie>(page, cover, whole_cells, to).read(cover.rows, go_on);
  });
}

}  // namespace tool::show
