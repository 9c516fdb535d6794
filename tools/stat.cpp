// qvimage stat: how the values of a file's components are distributed.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "command.hpp"
#include "failure.hpp"
#include "histogram.hpp"
#include "pages.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "pixie_type.hpp"
#include "progress.hpp"
#include "terminal.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// Moments of finite values, gathered a row at a time: a row's own mean and squares first, then merged into
// those of the rows before it, which loses nothing however many values there are.
struct moments {
  double count = 0, mean = 0, squares = 0;
  double least = std::numeric_limits<double>::infinity(), most = -least;
  uint64_t not_finite = 0;

  template <class Pixie>
  void add_row(const Pixie *pixies, size_t pixels, size_t stride) {
    moments row;
    double sum = 0;
    for (size_t i = 0; i < pixels; i++) row.take(static_cast<double>(pixies[i * stride]), sum);
    row.mean = row.count > 0 ? sum / row.count : 0;
    for (size_t i = 0; i < pixels; i++) {
      const double d = static_cast<double>(pixies[i * stride]) - row.mean;
      if (std::isfinite(d)) row.squares += d * d;
    }
    merge(row);
  }

  double deviation() const { return std::sqrt(squares / count); }

  // Chan, Golub, LeVeque: Updating formulae and a pairwise algorithm for computing sample variances (1979).
  void merge(const moments &other) {
    not_finite += other.not_finite;
    if (other.count == 0) return;
    const double total = count + other.count, apart = other.mean - mean;
    mean += apart * other.count / total;
    squares += other.squares + apart * apart * count * other.count / total;
    count = total;
    least = std::min(least, other.least);
    most = std::max(most, other.most);
  }

 private:
  void take(double value, double &sum) {
    if (!std::isfinite(value)) {
      not_finite++;
      return;
    }
    count++;
    sum += value;
    least = std::min(least, value);
    most = std::max(most, value);
  }
};

// Calls action(thread, piece, row) with each row's first pixie of the page's own type, on several threads.
template <class Action>
void for_each_row(pixels &page, Action action) {
  with_pixie_type(page.data().pixietype, [&]<class Pixie>(Pixie) {
    in_pieces(page.threads(), page.height(), [&](unsigned thread, size_t piece, int32_t first, int32_t end) {
      page.set_up_rows(thread);
      std::vector<Pixie> row(page.row_bytes() / sizeof(Pixie));
      for (int32_t y = first; y < end; y++) {
        page.read(thread, y, row.data());
        action(thread, piece, static_cast<const Pixie *>(row.data()));
        progress::step(page.height());
      }
    });
  });
}

constexpr int margin = 2, histogram_lines = 5;

// As many columns as the terminal has room for, but for integers not more than values.
size_t columns(const moments &moments, const qvimagedata &data) {
  const double room = std::max(terminal_width(STDOUT_FILENO) - margin - 1, 10);
  if (moments.most <= moments.least) return 1;
  if (data.pixietype >= QVIM_FLOAT32) return static_cast<size_t>(room);
  return static_cast<size_t>(std::min(room, moments.most - moments.least + 1));
}

// Integers from least to most fill [least, most + 1): each value has a part of the same width.
histogram make_histogram(const moments &moments, const qvimagedata &data) {
  const double end = data.pixietype >= QVIM_FLOAT32 ? moments.most : moments.most + 1;
  return histogram(moments.least, end, columns(moments, data));
}

void tell_moments(const std::string &name, const moments &moments) {
  std::printf("%s: minimum %.9g, maximum %.9g, mean %.9g, standard deviation %.9g\n", name.c_str(),
              moments.least, moments.most, moments.mean, moments.deviation());
  if (moments.not_finite != 0)
    std::printf("%*s%llu values that are no finite numbers are left out\n", margin, "",
                static_cast<unsigned long long>(moments.not_finite));
}

void draw(const moments &moments, const histogram &histogram) {
  for (const std::string &line : drawn(histogram.counts(), histogram_lines, shows_unicode()))
    std::printf("%*s%s\n", margin, "", line.c_str());
  const std::string left = formatted("%.9g", moments.least), right = formatted("%.9g", moments.most);
  const int gap = static_cast<int>(histogram.counts().size()) - static_cast<int>(left.size() + right.size());
  if (moments.least == moments.most) {
    std::printf("%*s%s\n", margin, "", left.c_str());
  } else {
    std::printf("%*s%s%*s%s\n", margin, "", left.c_str(), std::max(gap, 1), "", right.c_str());
  }
}

std::vector<moments> moments_of(pixels &page) {
  const auto width = static_cast<size_t>(page.width()), components = static_cast<size_t>(page.data().pixies);
  std::vector<moments> pieces(pieces_of(page.height()) * components), all(components);
  for_each_row(page, [&](unsigned, size_t piece, const auto *row) {
    for (size_t c = 0; c < components; c++)
      pieces[piece * components + c].add_row(row + c, width, components);
  });
  for (size_t i = 0; i < pieces.size(); i++) all[i % components].merge(pieces[i]);
  return all;
}

std::vector<histogram> histograms_of(pixels &page, const std::vector<moments> &found) {
  const size_t components = found.size(), values = static_cast<size_t>(page.width()) * components;
  std::vector<histogram> empty;
  for (const moments &moments : found) empty.push_back(make_histogram(moments, page.data()));
  std::vector<std::vector<histogram>> by_thread(page.threads(), empty);
  for_each_row(page, [&](unsigned thread, size_t, const auto *row) {
    for (size_t i = 0; i < values; i++) {
      const auto value = static_cast<double>(row[i]);
      if (std::isfinite(value)) by_thread[thread][i % components].add(value);
    }
  });
  for (size_t thread = 1; thread < by_thread.size(); thread++) {
    for (size_t c = 0; c < components; c++) by_thread[0][c].add(by_thread[thread][c]);
  }
  return by_thread[0];
}

void tell_page(pixels &page, progress &progress) {
  const std::vector<moments> found = moments_of(page);
  const std::vector<histogram> histograms = histograms_of(page, found);
  progress.hide();
  for (size_t c = 0; c < found.size(); c++) {
    const std::string name = component_name(page.data(), static_cast<int32_t>(c));
    if (found[c].count == 0) {
      std::printf("%s: no finite numbers\n", name.c_str());
      continue;
    }
    tell_moments(name, found[c]);
    draw(found[c], histograms[c]);
  }
}

int run(const arguments &arguments) {
  const std::string &file = arguments.operand(0);
  documents documents({file}, chosen_threads(arguments));
  const page_range pages = chosen_pages(arguments, file, documents.of(0).pages());
  progress progress(pages.count());
  for (int64_t number = pages.first; number <= pages.last; number++) {
    pixels page(documents, number, colour_map::applied, {});
    progress.next_unit();
    std::printf("%s, page %lld: %d x %d, %s, %s\n", printable(file).c_str(),
                static_cast<long long>(number + 1), page.width(), page.height(),
                describe_type(page.data()).c_str(), describe_colour(page.data()).c_str());
    tell_page(page, progress);
  }
  return fine;
}

std::vector<option> options() { return {pages_option, threads_option}; }

}  // namespace

const command stat_command = {
    "stat",
    "FILE",
    "minimum, maximum, mean, deviation and histogram",
    "Prints for each page and component the smallest, largest and mean value, the standard deviation (of all "
    "pixels, not of a sample) and a histogram between the smallest and the largest value. Pages are counted "
    "from "
    "1. Palettes are applied first; values of floats that are no finite numbers are counted apart.",
    1,
    1,
    options,
    run};

}  // namespace tool
