// qvimage diff: how much the pixels of two files differ.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "command.hpp"
#include "failure.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "pixie_type.hpp"
#include "progress.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

struct difference {
  uint64_t differing = 0;
  double largest = 0, sum = 0, sum_of_squares = 0;

  void add(double d) {
    differing++;
    largest = std::max(largest, d);
    sum += d;
    sum_of_squares += d * d;
  }
  void add(const difference &other) {
    differing += other.differing;
    largest = std::max(largest, other.largest);
    sum += other.sum;
    sum_of_squares += other.sum_of_squares;
  }
};

// Two NaNs are the same, a NaN and a number are infinitely different.
template <class Pixie>
double distance(Pixie a, Pixie b) {
  const double d = static_cast<double>(a > b ? a - b : b - a);
  if (!std::isnan(d)) return d;
  return std::isnan(static_cast<double>(a)) && std::isnan(static_cast<double>(b))
             ? 0
             : std::numeric_limits<double>::infinity();
}

template <class Pixie>
void compare_rows(const Pixie *a, const Pixie *b, int32_t pixels, std::span<difference> components) {
  for (int32_t i = 0; i < pixels; i++) {
    for (difference &component : components) {
      if (*a != *b) {
        const double d = distance(*a, *b);
        if (d != 0) component.add(d);
      }
      a++;
      b++;
    }
  }
}

// What PSNR relates to: the largest value that the type holds, or the width of the nominal range of floats.
double peak(const qvimagedata &data) {
  if (data.pixietype >= QVIM_FLOAT32) return static_cast<double>(data.r_maxvalue) - data.r_minvalue;
  return std::ldexp(1.0, data.i_bitsused) - 1;
}

std::string shape(const qvimagefileinfo &info) {
  return formatted("%u x %u, %d x %s, %s", info.width, info.height, info.data.pixies,
                   describe_type(info.data).c_str(), describe_colour(info.data).c_str());
}

class comparison {
 public:
  comparison(const std::string &a, const std::string &b, unsigned threads)
      : a_({a}, threads), b_({b}, threads) {}

  bool equal() {
    const int64_t pages[2] = {a_.of(0).pages(), b_.of(0).pages()}, common = std::min(pages[0], pages[1]);
    progress progress(common);
    bool same = true;
    for (int64_t page = 0; page < common; page++) {
      progress.next_unit();
      same &= equal_page(page, progress);
    }
    if (pages[0] == pages[1]) return same;
    std::printf("pages: %lld and %lld\n", static_cast<long long>(pages[0]), static_cast<long long>(pages[1]));
    return false;
  }

 private:
  bool equal_page(int64_t number, progress &progress) {
    const std::string where = formatted("page %lld", static_cast<long long>(number + 1));
    const std::string a_shape = shape(a_.of(0).info(number)), b_shape = shape(b_.of(0).info(number));
    pixels a(a_, number, colour_map::applied, {}), b(b_, number, colour_map::applied, {});
    if (!comparable(*a.image(0), *b.image(0))) {
      std::printf("%s: %s and %s\n", where.c_str(), a_shape.c_str(), b_shape.c_str());
      return false;
    }
    const auto components = compare(a, b);
    progress.hide();
    return tell(where, a, components);
  }

  static bool comparable(const qvimage &a, const qvimage &b) {
    const qvimagedata p = a.d, q = b.d;
    return a.imdim.se.x == b.imdim.se.x && a.imdim.se.y == b.imdim.se.y && p.pixietype == q.pixietype &&
           p.pixies == q.pixies && p.pixelhint == q.pixelhint && bits_of(p) == bits_of(q);
  }

  static std::vector<difference> compare(pixels &a, pixels &b) {
    const auto components = static_cast<size_t>(a.data().pixies);
    std::vector<difference> pieces(pieces_of(a.height()) * components);
    with_pixie_type(a.data().pixietype, [&]<class Pixie>(Pixie) {
      in_pieces(a.threads(), a.height(), [&](unsigned thread, size_t piece, int32_t first, int32_t end) {
        a.set_up_rows(thread);
        b.set_up_rows(thread);
        const size_t values = a.row_bytes() / sizeof(Pixie);
        std::vector<Pixie> p(values), q(values);
        for (int32_t y = first; y < end; y++) {
          a.read(thread, y, p.data());
          b.read(thread, y, q.data());
          if (std::memcmp(p.data(), q.data(), a.row_bytes()) != 0)
            compare_rows(p.data(), q.data(), a.width(), std::span(&pieces[piece * components], components));
          progress::step(a.height());
        }
      });
    });
    std::vector<difference> all(components);
    for (size_t i = 0; i < pieces.size(); i++) all[i % components].add(pieces[i]);
    return all;
  }

  static bool tell(const std::string &where, pixels &page, const std::vector<difference> &components) {
    const qvimagedata data = page.data();
    const double pixels = static_cast<double>(page.width()) * page.height();
    bool same = true;
    for (size_t i = 0; i < components.size(); i++) {
      const difference &d = components[i];
      if (d.differing == 0) continue;
      same = false;
      std::printf("%s, %s: %llu of %.0f pixels differ (%.3g %%), largest %.9g, mean %.6g, PSNR %.2f dB\n",
                  where.c_str(), component_name(data, static_cast<int32_t>(i)).c_str(),
                  static_cast<unsigned long long>(d.differing), pixels,
                  100 * static_cast<double>(d.differing) / pixels, d.largest, d.sum / pixels,
                  10 * std::log10(peak(data) * peak(data) * pixels / d.sum_of_squares));
    }
    if (same) std::printf("%s: equal\n", where.c_str());
    return same;
  }

  documents a_, b_;
};

int run(const arguments &arguments) {
  comparison comparison(arguments.operand(0), arguments.operand(1), chosen_threads(arguments));
  return comparison.equal() ? fine : failed;
}

std::vector<option> options() { return {threads_option}; }

}  // namespace

const command diff_command = {
    "diff",
    "A B",
    "how much the pixels of two files differ",
    "Prints for each page and component how many pixels differ, the largest and the mean difference (of all "
    "pixels) and the PSNR: against the largest value of integers, against the nominal range 0 to 1 of "
    "floats. "
    "Pages are counted from 1. Palettes are applied first. Exit status 1 when anything differs, shapes "
    "included.",
    2,
    2,
    options,
    run};

}  // namespace tool
