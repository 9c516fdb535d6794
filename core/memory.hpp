// The private state of memory images, and their set-ups.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>

#include "core/dimension.hpp"
#include "core/null.hpp"
#include "core/record.hpp"
#include "core/run_form.hpp"

namespace qvim::memory {

// Written by ioset.
template <class Dim>
struct [[gnu::packed]] run_setup {
  typename Dim::length_fn *length;
  uint8_t axis;  // along which runs go
  run_form form;
};

// Written by imapset.
template <class Dim>
struct [[gnu::packed]] map_setup {
  typename Dim::length_fn *length;
  uint32_t step;  // bytes between the pixels of a mapping
};

// Written by bxts.
struct [[gnu::packed]] block_setup {
  uint32_t first;    // byte of the first selected pixie in a pixel
  uint8_t pixies;    // selected
  uint8_t reversed;  // the caller's pixies have reversed byte order
  npfbixn_fn *read_kernel;
  uint32_t read_param;
  npfbixn_fn *write_kernel;
  uint32_t write_param;
};

template <class Dim>
struct [[gnu::packed]] state {
  uint64_t base;
  uint32_t stride[3];  // bytes from a pixel to the next along x, y, z
  uint32_t chaininfo;
  run_setup<Dim> run;
  map_setup<Dim> map;
  block_setup block;
};

// Bytes from the buffer's start to a pixel of the window.
template <class Dim>
uint64_t offset_of(const record<Dim> *im, const point<Dim> &at) {
  const auto &s = state_of<const state<Dim>>(im);
  const auto window = box<Dim>::of(&im->wind);
  uint64_t offset = 0;
  for (int axis = 0; axis < Dim::axes; axis++)
    offset += uint64_t(int64_t(window.nw[axis]) + at[axis]) * s.stride[axis];
  return offset;
}

template <class Dim>
uint8_t *address_of(const record<Dim> *im, const point<Dim> &at) {
  return reinterpret_cast<uint8_t *>(state_of<const state<Dim>>(im).base + offset_of<Dim>(im, at));
}

// Where the pixels of a run lie, for those who would only copy them on: the address of the first, with the
// count cut to what follows it in memory. Null unless this is a memory image set up for whole pixels along x
// as they are stored, whose ioread (or iorite) would move some.
template <class Dim>
uint8_t *plain_run(record<Dim> *im, bool writing, const point<Dim> &at, uint32_t *count);

// The same for a rectangle: the address of the pixel at one of its corners, with the bytes to a pixel's
// neighbours along each axis. Null unless this is a memory image set up for whole pixels as they are stored,
// in any scan order, and its window holds both corners.
template <class Dim>
uint8_t *plain_pixels(record<Dim> *im, bool writing, const point<Dim> &at, const point<Dim> &opposite,
                      int64_t *strides);

// The set-up slots.
template <class Dim>
int32_t ioset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask);
template <class Dim>
int32_t imapset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask);
template <class Dim>
int32_t bxts(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask);

}  // namespace qvim::memory
