// Raw values behind a colour filter array, regrouped: each pixel has the four values of its 2 x 2 cell.
//
// Pixel (X, Y) of the view shows the cell at (X & ~1, Y & ~1), counted from the view's image, not from its
// window. Cells that stick out of the source's window take the nearest column or row of the same parity,
// which has the same filters.
#include <qvimage/colour.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

template <class Dim>
struct bayer : view<Dim, bayer<Dim>> {
  using base = view<Dim, bayer<Dim>>;
  using base::in_pieces, base::in_source, base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr char device[] = "Bayer*4";
  static constexpr view_traits traits{2, 1, chain_flag::selects, true};

  struct [[gnu::packed]] state : view_state<Dim> {
    uint8_t phase;  // where the first component lies in a cell: bit 0 its column, bit 1 its row
    uint8_t pixie;  // bytes of a value
    npfbix_fn *copy_value, *copy_pixel;
  };

  static int32_t build(image *im, const source_image *source, uint32_t phase) {
    if (const int32_t code = base::check_narrow(source->d); code < 0) return code;
    state_in(im).phase = phase & 3;
    im->d.pixies = 4;
    im->d.pixelhint = QVIM_HINT_BAYER4;
    qviminitfacts(&im->f, &im->d);
    return 0;
  }

  // The source is read line by line; a run along z takes a line of one cell at each step.
  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    scan s;
    const bool along_z = scan_of_mode<Dim>(mode, &s) && s == scan::z;
    source_image *source = source_of(im);
    const uint32_t lines = base::source_mode(along_z ? mode & ~uint32_t{QVIM_ZSCAN} : mode, true);
    const int32_t code = source->ioset(source, lines, datatype, 1);
    if (code < 0) return code;
    if (colourmask != all_pixies(4)) return QVERR_COLOUR;
    if (!base::set_scan(im, mode, datatype, colourmask)) return QVERR_USAGE;
    state &st = state_in(im);
    st.by_lines = true;
    st.pixie = uint8_t(qvimdatasize(datatype));
    st.copy_value = qvimdatapackf16(st.pixie);
    st.copy_pixel = qvimdatapackf16(4 * uint32_t(st.pixie));
    base::template install_reads<read>(im);
    return 1;
  }

  // Pixels of one line of cells, and where these cells begin in the source.
  struct line_of_cells {
    position place;
    uint32_t n, cells;
    int along, across;
    bool lower;  // the pixels lie in the cells' second line
  };

  // The first pixel alone when it lies in the second half of its cell; none outside the source's window.
  static line_of_cells cells_of(image *im, uint32_t n, const position &from) {
    const auto own = box<Dim>::of(&im->wind), there = box<Dim>::of(&source_of(im)->wind);
    const scan s = state_in(im).run_scan;
    line_of_cells line{in_source(im, from), n, 0, s == scan::y ? 1 : 0, s == scan::y ? 0 : 1, false};
    if (!there.holds(line.place)) n = 0;
    const auto second = [&](int axis) { return moved(own.nw[axis], from[axis]) & 1; };
    if (second(line.along) || s == scan::z) n = std::min(n, 1u);
    line.n = std::min(n, there.extent(line.along) - uint32_t(line.place[line.along]));
    line.cells = (line.n + 1) / 2;
    line.place[line.along] -= second(line.along);
    line.lower = second(line.across);
    return line;
  }
  static position line_of(image *im, const line_of_cells &cells, int j) {
    position place = cells.place;
    place[cells.across] = nearest(int64_t{place[cells.across]} - cells.lower + j,
                                  box<Dim>::of(&source_of(im)->wind).extent(cells.across));
    return place;
  }

  // Where the cells of a whole run are not to be had, the first one may be.
  static uint32_t served(image *im, uint32_t n, const position &at) {
    const line_of_cells line = cells_of(im, n, at);
    for (int j = 0; j < 2 && line.n; j++)
      if (!for_line(source_of(im), line_of(im, line, j), line.along, 2 * line.cells,
                    [&](const position &from, uint32_t, uint32_t count) {
                      return call_length(source_of(im), count, from);
                    }))
        return n > 1 ? served(im, 1, at) : 0;
    return line.n;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    const state &st = state_in(im);
    return in_pieces(im, count, at, staging_bytes / st.pixie,
                     [&](const position &from, uint32_t done, uint32_t n) {
                       auto *out = static_cast<uint8_t *>(buffer) + uint64_t(done) * 4 * st.pixie;
                       const uint32_t moved = read_cells(im, mode, out, n, from);
                       return moved || n == 1 ? moved : read_cells(im, mode, out, 1, from);
                     });
  }

  static uint32_t read_cells(image *im, uint32_t mode, uint8_t *out, uint32_t count, const position &from) {
    alignas(64) uint8_t values[2][staging_bytes];
    const state &st = state_in(im);
    const line_of_cells line = cells_of(im, count, from);
    const uint32_t n = line.n, cells = line.cells, size = st.pixie;
    if (n == 0) return 0;
    for (int j = 0; j < 2; j++)
      if (!read_line(im, mode, values[j], line_of(im, line, j), line.along, 2 * cells)) return 0;
    for (int j = 0; j < 2; j++)
      for (int i = 0; i < 2; i++) {
        const int component = st.phase ^ (i << line.along | j << line.across);
        st.copy_value(values[j] + uint32_t(i) * size, out + uint32_t(component) * size, 2 * size, 8 * size,
                      cells, size, 0);
      }
    st.copy_pixel(out, out + 4 * size, 8 * size, 8 * size, n / 2, 4 * size, 0);
    return n;
  }

  // The coordinate itself, or the nearest inside of the same parity: at most one too far, on either side.
  static int32_t nearest(int64_t at, int64_t extent) {
    if (at < 0) at += 2;
    if (at >= extent) at -= 2;
    return int32_t(std::clamp<int64_t>(at, 0, extent - 1));
  }

  static bool read_line(image *im, uint32_t mode, uint8_t *values, const position &place, int axis,
                        uint32_t count) {
    return for_line(source_of(im), place, axis, count, [&](const position &at, uint32_t first, uint32_t n) {
      return call_read(source_of(im), base::read_mode(mode), values + first * uint64_t(state_in(im).pixie), n,
                       at);
    });
  }

  // `count` values from a position on, of which the first and the last may lie outside. move(position, values
  // before, values) says how many it moved; false when it moves none.
  template <class Move>
  static bool for_line(const source_image *source, const position &place, int axis, uint32_t count,
                       Move move) {
    const int64_t extent = box<Dim>::of(&source->wind).extent(axis), begin = place[axis], end = begin + count;
    const auto part = [&](int64_t from, int64_t to) {
      position at = place;
      while (from < to) {
        at[axis] = int32_t(from);
        const uint32_t moved = move(at, uint32_t(from - begin), uint32_t(to - from));
        if (moved == 0) return false;
        from += moved;
      }
      return true;
    };
    const auto replace = [&](int64_t outside) {
      position at = place;
      at[axis] = nearest(outside, extent);
      return move(at, uint32_t(outside - begin), 1) == 1;
    };
    return part(std::max<int64_t>(begin, 0), std::min(end, extent)) && (begin >= 0 || replace(begin)) &&
           (end <= extent || replace(end - 1));
  }
};

}  // namespace

extern "C" {

int32_t qvimage_Beyer4_filter(qvimage *view, qvimage *source, uint8_t mode, uint32_t phase) {
  return bayer<two_d>::make(view, source, mode, phase);
}
int32_t qvimage3_Beyer4_filter(qvimage3 *view, qvimage3 *source, uint8_t mode, uint32_t phase) {
  return bayer<three_d>::make(view, source, mode, phase);
}

}  // extern "C"
