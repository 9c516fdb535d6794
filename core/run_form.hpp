// How the selected pixies of stored pixels become those of a caller's buffer, and back. Kinds that keep
// pixels as their description says choose a form at ioset, and move segments of runs by it.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>
#include <qvimage/types.h>

namespace qvim {

// One kernel call on a segment of a run: from image to buffer, from buffer to image, or in place on what an
// earlier step left there.
struct [[gnu::packed]] kernel_step {
  npfbix_fn *kernel;
  uint32_t param;
};

// What moves a segment in one direction. No steps: whole pixels that follow each other, copied as they are.
struct [[gnu::packed]] plan {
  uint8_t steps;
  uint8_t lanes;           // rounds of kernel calls, one a selected pixie; 1 when a call takes all pixies
  uint8_t elements;        // elements of a kernel call per pixel
  uint32_t image_stride;   // bytes between elements in the image
  uint32_t buffer_stride;  // and in the caller's buffer
  kernel_step step[3];     // at most: byte order, bits, byte order
};

struct [[gnu::packed]] run_form {
  uint32_t first;     // byte of the first selected pixie in a pixel
  uint32_t selected;  // bytes of the selected pixies of a pixel
  uint8_t pixie;      // bytes of a pixie
  plan read, write;
};

// The form for a request, with `stride` bytes from a stored pixel to the run's next. 0; -19 or -21 when the
// request is not served, which leaves the form alone.
[[nodiscard]] int32_t choose_form(const qvimagedata &d, const qvimagefacts &f, uint32_t stride,
                                  uint32_t datatype, uint32_t colourmask, run_form *form);

// Steps after the first work in place where the first one wrote.
inline void take_steps(const plan &p, const uint8_t *from, uint8_t *to, int64_t from_stride,
                       int64_t to_stride, uint64_t elements) {
  for (int i = 0; i < p.steps; i++) {
    const kernel_step now = p.step[i];
    now.kernel(i ? to : from, to, i ? to_stride : from_stride, to_stride, elements, now.param, now.param);
  }
}

// Moves pixels from where they are stored to a buffer. The plan for reading has steps.
inline void take_pixels(const run_form &form, const uint8_t *image, uint8_t *buffer, uint32_t pixels) {
  const plan &p = form.read;
  image += form.first;
  for (int lane = 0; lane < p.lanes; lane++, image += form.pixie, buffer += form.pixie)
    take_steps(p, image, buffer, p.image_stride, p.buffer_stride, uint64_t(pixels) * p.elements);
}

// The other way. The plan for writing has steps.
inline void put_pixels(const run_form &form, uint8_t *image, const uint8_t *buffer, uint32_t pixels) {
  const plan &p = form.write;
  image += form.first;
  for (int lane = 0; lane < p.lanes; lane++, image += form.pixie, buffer += form.pixie)
    take_steps(p, buffer, image, p.buffer_stride, p.image_stride, uint64_t(pixels) * p.elements);
}

}  // namespace qvim
