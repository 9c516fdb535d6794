// Generic block transfer: scattered pixels of any kind of image, through the image's own mapping or runs.
#include <algorithm>
#include <cstring>

#include <qvimage/block.h>
#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/pixel.hpp"
#include "core/pixie_ops.hpp"
#include "core/saved_setup.hpp"
#include "core/selectors.hpp"

namespace {

using namespace qvim;

constexpr uint32_t stage_bytes = 2048;
constexpr int32_t direct = capability::maps | capability::of_memory | capability::spans_lines;

template <class Dim>
uint32_t run_mode(uint32_t mode) {
  return QVIM_TRUST | (Dim::axes == 2 ? mode & passing::through_blocks : 0);
}

// Pixies travel as numbers in the image's own bits; the state's kernels and a swap do the rest.
uint32_t image_datatype(const qvimagedata &d, uint32_t datatype) {
  return type_word(datatype).without(justification | (is_integer(d.pixietype) ? QVIM_SWAPPED : 0)).bits;
}

template <class Dim>
int32_t set_up(qvimbxtstate *state, record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  state->rdkernel = state->wrkernel = nullptr;
  const qvimagedata d = im->d;
  const int32_t size = qvimdatasize(uint32_t(d.pixietype));
  if (uint32_t(d.pixietype) != type_word(datatype).type() || d.pixietype == QVIM_UINT64)
    return QVERR_DATATYPE;
  if (colourmask > all_pixies(d.pixies) || colourmask > 0xFF) return QVERR_COLOUR;
  const int colours = __builtin_popcount(colourmask);
  state->datatype = uint16_t(datatype);
  state->colourmask = uint8_t(colourmask);
  state->colours = uint8_t(colours);
  if (colours != 1 && (colours == 0 || colours != d.pixies)) return QVERR_COLOUR;
  const int32_t code = keeping_setups(
      im, [&] { return im->ioset(im, run_mode<Dim>(mode), image_datatype(d, datatype), colourmask); });
  if (code < 0) return code;
  const adaptation read = adapt_pixies(d, false, datatype), write = adapt_pixies(d, true, datatype);
  state->rdparam = read.param;
  state->rdkernel = adapting_kernel_in_place(size, read.change);
  state->wrparam = write.param;
  state->wrkernel = adapting_kernel_in_place(size, write.change);
  return code;
}

// The bits that sums and differences of an integer image keep.
uint32_t value_mask(const qvimagedata &d) {
  if (!is_integer(d.pixietype)) return 0;
  const uint32_t significant = d.i_bitsused >= 32 ? 0xFFFFFFFFu : (1u << (d.i_bitsused & 31)) - 1;
  const uint32_t unused = 8 * uint32_t(qvimdatasize(uint32_t(d.pixietype))) - uint32_t(d.i_bitsused);
  return d.i_bitsxsb == QVIM_LSB ? significant : significant << (unused & 31);
}

// One block transfer under way.
template <class Dim>
class transfer {
 public:
  // The state is copied: it may lie in the record, in bytes that a set-up of the image uses.
  transfer(const qvimbxtstate &state, record<Dim> *im) : state_(state), im_(im), d_(im->d) {
    pixiesize_ = uint32_t(qvimdatasize(uint32_t(d_.pixietype)));
    pixel_ = pixiesize_ * state_.colours;
    mask_ = value_mask(d_);
  }

  uint32_t run(uint32_t mode, uint8_t *buffer, const qvxyzcoord *list, uint32_t count, uint32_t op) {
    const uint32_t datatype = image_datatype(d_, state_.datatype);
    qvimagemap map{};
    const bool mapped = map_window(datatype, &map);
    if (!mapped && im_->ioset(im_, run_mode<Dim>(mode), datatype, state_.colourmask) < 0) return 0;
    with_pixie_operation(op, [&](auto operation) {
      with_pixie_type(d_.pixietype, [&](auto pixie) {
        using T = decltype(pixie);
        if (mapped)
          for_spans(buffer, list, count, operation, [&](const qvxyzcoord &entry, uint8_t *values) {
            apply_to_pixel<T>(operation, address_in(map, entry), values, state_.colours, T(mask_));
            return true;
          });
        else
          for_spans(buffer, list, count, operation, [&](const qvxyzcoord &entry, uint8_t *values) {
            return apply_by_runs<T>(operation, position_of<Dim>(entry), values);
          });
      });
    });
    if (mapped) im_->imapr(im_, &map);
    return count;
  }

 private:
  // A mapping holds whole pixels.
  bool map_window(uint32_t datatype, qvimagemap *map) {
    if (state_.colours != d_.pixies) return false;
    const int32_t can = im_->imapset(im_, QVIM_TRUST | QVIM_STEP | QVIM_WRAP, datatype, state_.colourmask);
    return can >= 0 && (can & direct) == direct && call_map(im_, map, point<Dim>{}) == 1;
  }

  uint8_t *address_in(const qvimagemap &map, const qvxyzcoord &entry) const {
    const auto all = box<Dim>::of(&im_->imdim);
    const auto at = position_of<Dim>(entry);
    int64_t pixels = at[Dim::axes - 1];
    for (int axis = Dim::axes - 2; axis >= 0; axis--) pixels = pixels * all.extent(axis) + at[axis];
    return reinterpret_cast<uint8_t *>(map.address + uint64_t(pixels) * map.step);
  }

  // False when the image did not give its pixel: nothing is written then.
  template <class T, class Op>
  bool apply_by_runs(Op op, const point<Dim> &at, uint8_t *values) {
    uint8_t pixel[stage_bytes];          // holds one pixel of any kind
    std::memcpy(pixel, values, pixel_);  // components without a meaning are none that reads deliver
    if (Op::reads_image && call_read(im_, 0, pixel, 1, at) != 1) return false;
    apply_to_pixel<T>(op, pixel, values, state_.colours, T(mask_));
    if (Op::changes_image) call_write(im_, 0, pixel, 1, at);
    return true;
  }

  // Cuts the list into spans of entries inside the window, none longer than the stage; the others, and
  // entries whose pixel cannot be had, keep their part of the buffer.
  template <class Op, class Each>
  void for_spans(uint8_t *buffer, const qvxyzcoord *list, uint32_t count, Op op, Each each) {
    const auto window = box<Dim>::of(&im_->wind);
    const uint32_t longest = stage_bytes / pixel_;
    for (uint32_t i = 0; i < count;) {
      uint32_t end = i;
      while (end < count && end - i < longest && window.holds(position_of<Dim>(list[end]))) end++;
      const uint32_t done = serve(buffer + uint64_t(i) * pixel_, list + i, end - i, op, each);
      i += done;
      if (done == 0) i++;
    }
  }

  // Serves entries through one stage; returns how many before one was not to be had.
  template <class Op, class Each>
  uint32_t serve(uint8_t *buffer, const qvxyzcoord *list, uint32_t count, Op op, Each each) {
    uint8_t stage[stage_bytes];
    take_values(stage, buffer, count);
    uint32_t done = 0;
    while (done < count && each(list[done], stage + uint64_t(done) * pixel_)) done++;
    if (op.changes_value) give_values(buffer, stage, done);
    return done;
  }

  // From the caller's form of the values to numbers in the bits where the image has them, and back.
  void take_values(uint8_t *stage, const uint8_t *buffer, uint32_t count) const {
    const uint64_t pixies = uint64_t(count) * state_.colours;
    std::memcpy(stage, buffer, pixies * pixiesize_);
    if (is_reversed(d_, state_.datatype)) swap_in_place(stage, int32_t(pixiesize_), pixies);
    state_.wrkernel(stage, pixiesize_, pixies, state_.wrparam);
  }
  void give_values(uint8_t *buffer, uint8_t *stage, uint32_t count) const {
    const uint64_t pixies = uint64_t(count) * state_.colours;
    state_.rdkernel(stage, pixiesize_, pixies, state_.rdparam);
    if (is_reversed(d_, state_.datatype)) swap_in_place(stage, int32_t(pixiesize_), pixies);
    std::memcpy(buffer, stage, pixies * pixiesize_);
  }

  qvimbxtstate state_;
  record<Dim> *im_;
  qvimagedata d_;
  uint32_t pixiesize_, pixel_, mask_;
};

template <class Dim>
uint32_t act(const qvimbxtstate *state, record<Dim> *im, uint32_t mode, void *buffer, const qvxyzcoord *list,
             uint32_t count, uint32_t op) {
  if (!state->rdkernel || uint32_t(im->d.pixietype) != type_word(state->datatype).type()) return 0;
  transfer<Dim> t(*state, im);
  return keeping_setups(im, [&] { return t.run(mode, static_cast<uint8_t *>(buffer), list, count, op); });
}

}  // namespace

extern "C" {

#define QVIM_BLOCK_TRANSFER(Dim, twin, Record)                                                           \
  int32_t twin##bxts(qvimbxtstate *state, Record *image, uint32_t mode, uint32_t datatype,               \
                     uint32_t colourmask) {                                                              \
    return set_up<Dim>(state, image, mode, datatype, colourmask);                                        \
  }                                                                                                      \
  uint32_t twin##bxta(qvimbxtstate *state, Record *image, uint32_t mode, void *buffer, qvxyzcoord *list, \
                      uint32_t count, uint32_t op) {                                                     \
    return act<Dim>(state, image, mode, buffer, list, count, op);                                        \
  }                                                                                                      \
  uint32_t twin##bxtp(qvimbxtstate *, Record *, uint32_t, void *, qvxyzcoord *, uint32_t, uint32_t) {    \
    return 0;                                                                                            \
  }                                                                                                      \
  int32_t twin##bxtw(qvimbxtstate *, Record *, uint32_t, void *, qvxyzcoord *, uint32_t, uint32_t) {     \
    return 1;                                                                                            \
  }
QVIM_BLOCK_TRANSFER(two_d, qvim, qvimage)
QVIM_BLOCK_TRANSFER(three_d, qvim3, qvimage3)

}  // extern "C"
