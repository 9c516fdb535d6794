// How stored pixies become those of a request: the choice of the kernels.
#include "core/run_form.hpp"

#include <initializer_list>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/pixel.hpp"
#include "core/selectors.hpp"

namespace qvim {

namespace {

// The kernels for one direction. Pixies are numbers: their bits move while they are in the host's byte order.
plan plan_of(const qvimagedata &d, int32_t pixiesize, bool writing, uint32_t datatype) {
  const adaptation bits = adapt_pixies(d, writing, datatype);
  const bool from_reversed = writing ? is_reversed(d, datatype) : is_reversed(d);
  const bool to_reversed = writing ? is_reversed(d) : is_reversed(d, datatype);
  const kernel_step swap{swapping_kernel(pixiesize), 0};
  plan p{};
  if (bits.change == adapt::none) {
    if (from_reversed != to_reversed) p.step[p.steps++] = swap;
    return p;
  }
  if (from_reversed) p.step[p.steps++] = swap;
  p.step[p.steps++] = {adapting_kernel(pixiesize, bits.change), bits.param};
  if (to_reversed) p.step[p.steps++] = swap;
  return p;
}

// How the kernels of a plan step over image and buffer.
void lay_out(plan &p, uint32_t pixie, uint32_t pixel, uint32_t selected, uint32_t stride) {
  const bool whole_neighbours = selected == pixel && stride == pixel;
  p.lanes = p.elements = 1;
  p.image_stride = stride;
  p.buffer_stride = selected;
  if (p.steps == 0) {
    // A pixel's selected pixies are one item to be packed.
    if (!whole_neighbours) p.step[p.steps++] = {qvimdatapackf16(selected), selected};
  } else if (whole_neighbours) {
    p.elements = uint8_t(pixel / pixie);
    p.image_stride = p.buffer_stride = pixie;
  } else {
    p.lanes = uint8_t(selected / pixie);
  }
}

// 8-byte pixies pass as they are, but for their byte order: no kernel moves their bits.
bool serves(const qvimagedata &d, uint32_t datatype) {
  return d.pixietype != QVIM_UINT64 || (adapt_pixies(d, false, datatype).change == adapt::none &&
                                        adapt_pixies(d, true, datatype).change == adapt::none);
}

}  // namespace

int32_t choose_form(const qvimagedata &d, const qvimagefacts &f, uint32_t stride, uint32_t datatype,
                    uint32_t colourmask, run_form *form) {
  if (uint32_t(d.pixietype) != type_word(datatype).type()) return QVERR_DATATYPE;
  int32_t first;
  const int32_t pixies = qvimcolormap(d.pixies, colourmask, &first);
  if (pixies == 0) return QVERR_COLOUR;
  if (!serves(d, datatype)) return QVERR_DATATYPE;
  const int32_t pixie = f.pixiesize;
  form->first = uint32_t(first * pixie);
  form->selected = uint32_t(pixies * pixie);
  form->pixie = uint8_t(pixie);
  form->read = plan_of(d, pixie, false, datatype);
  form->write = plan_of(d, pixie, true, datatype);
  for (plan *p : {&form->read, &form->write})
    lay_out(*p, uint32_t(pixie), uint32_t(f.pixelsize), form->selected, stride);
  return 0;
}

}  // namespace qvim
