// Memory images: block transfers.
#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "core/pixie_ops.hpp"
#include "core/selectors.hpp"

namespace qvim::memory {
namespace {

// A list entry rewritten by bxtp holds the byte offset of the first selected pixie in its first 64 bits, or
// this for a position outside the window.
constexpr uint64_t outside = ~uint64_t{0};

template <class Dim>
uint32_t bxtp(record<Dim> *im, uint32_t mode, void *, qvxyzcoord *list, uint32_t count, uint32_t) {
  if (!(mode & QVIM_LIST)) return mode;
  const auto window = box<Dim>::of(&im->wind);
  const uint32_t first = state_of<state<Dim>>(im).block.first;
  for (uint32_t i = 0; i < count; i++) {
    const auto at = position_of<Dim>(list[i]);
    store_value(list + i, window.holds(at) ? offset_of<Dim>(im, at) + first : outside);
  }
  return mode;
}

uint64_t offset_in(const qvxyzcoord *entry) { return load_value<uint64_t>(entry); }

// From the caller's form of the values to numbers in the bits where the image has them, and back.
void take_values(const block_setup &s, int32_t pixiesize, uint8_t *values, uint64_t count) {
  if (s.reversed) swap_in_place(values, pixiesize, count);
  s.write_kernel(values, pixiesize, count, s.write_param);
}
void give_values(const block_setup &s, int32_t pixiesize, uint8_t *values, uint64_t count) {
  s.read_kernel(values, pixiesize, count, s.read_param);
  if (s.reversed) swap_in_place(values, pixiesize, count);
}

// One operation on entries that are all inside.
template <class T, class Op>
void apply(Op op, const block_setup &s, bool reversed, uint8_t *base, uint8_t *values, const qvxyzcoord *list,
           uint32_t count) {
  const int pixies = s.pixies;
  const T all = T(~uint64_t{0});
  const auto each = [&](auto one) {
    for (uint32_t i = 0; i < count; i++, values += pixies * sizeof(T))
      one(base + offset_in(list + i), values);
  };
  if (reversed)
    each([&](uint8_t *pixel, uint8_t *v) { apply_to_pixel<T, true>(op, pixel, v, pixies, all); });
  else if (pixies == 1)
    each([&](uint8_t *pixel, uint8_t *v) { apply_to_pixel<T>(op, pixel, v, 1, all); });
  else
    each([&](uint8_t *pixel, uint8_t *v) { apply_to_pixel<T>(op, pixel, v, pixies, all); });
}

// Entries outside the window split the list; their part of the buffer is left alone.
template <class Dim, class T>
uint32_t bxta(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op) {
  bxtp<Dim>(im, mode, buffer, list, count, op);
  const auto &memory = state_of<state<Dim>>(im);
  const block_setup s = memory.block;
  auto *base = reinterpret_cast<uint8_t *>(memory.base);
  const bool reversed = is_reversed(im->d);
  with_pixie_operation(op, [&](auto operation) {
    for (uint32_t i = 0, end; i < count; i = end) {
      for (end = i; end < count && offset_in(list + end) != outside; end++) {
      }
      uint8_t *values = static_cast<uint8_t *>(buffer) + uint64_t(i) * s.pixies * sizeof(T);
      const uint64_t pixies = uint64_t(end - i) * s.pixies;
      if (operation.uses_value) take_values(s, sizeof(T), values, pixies);
      apply<T>(operation, s, reversed, base, values, list + i, end - i);
      if (operation.changes_value)
        give_values(s, sizeof(T), values, pixies);
      else if (reversed && s.reversed)
        swap_in_place(values, sizeof(T), pixies);  // no swap was asked for: values have their order again
      while (end < count && offset_in(list + end) == outside) end++;
    }
  });
  return count;
}

}  // namespace

template <class Dim>
int32_t bxts(record<Dim> *im, uint32_t, uint32_t datatype, uint32_t colourmask) {
  clear_blocks<Dim>(im);
  const qvimagedata d = im->d;
  if (uint32_t(d.pixietype) != type_word(datatype).type()) return QVERR_DATATYPE;
  int32_t first;
  const int32_t pixies = qvimcolormap(d.pixies, colourmask, &first);
  if (pixies == 0) return QVERR_COLOUR;
  const bool served =
      with_pixie_type(d.pixietype, [&](auto pixie) { im->bxta = bxta<Dim, decltype(pixie)>; });
  if (!served) return QVERR_DATATYPE;
  im->bxtp = bxtp<Dim>;

  const int32_t size = im->f.pixiesize;
  const adaptation read = adapt_pixies(d, false, datatype), write = adapt_pixies(d, true, datatype);
  state_of<state<Dim>>(im).block = {uint32_t(first * size),
                                    uint8_t(pixies),
                                    is_reversed(d, datatype),
                                    adapting_kernel_in_place(size, read.change),
                                    read.param,
                                    adapting_kernel_in_place(size, write.change),
                                    write.param};
  return 1;
}

template int32_t bxts<two_d>(qvimage *, uint32_t, uint32_t, uint32_t);
template int32_t bxts<three_d>(qvimage3 *, uint32_t, uint32_t, uint32_t);

}  // namespace qvim::memory
