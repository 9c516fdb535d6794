// Memory images: constructors and queries. Runs, mappings and block transfers have files of their own.
#include "core/memory.hpp"

#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "core/kind.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"

namespace qvim::memory {
namespace {

constexpr uint32_t default_chaininfo = 512;
constexpr uint32_t allocated_chaininfo = 1;

template <class Dim>
constexpr const char *name = Dim::axes == 2 ? "QVIMMEM" : "QVIMMEM3";

template <class Dim>
uint32_t aeiou(record<Dim> *im, uint32_t code, int32_t, int32_t, void *) {
  return kind_answer<Dim>(im, code, state_of<state<Dim>>(im).chaininfo + 1);
}

template <class Dim>
struct kind {
  static constexpr auto ioset = memory::ioset<Dim>;
  static constexpr auto bxts = memory::bxts<Dim>;
  static constexpr auto imapset = memory::imapset<Dim>;
};

template <class Dim>
bool all_positive(const int32_t *dims) {
  for (int axis = 0; axis < Dim::axes; axis++)
    if (dims[axis] < 1) return false;
  return true;
}

// Where the pixels lie and how far apart. A stride of 0 is the packed one.
struct layout {
  void *buffer;
  uint64_t size;  // 0: unknown
  const int32_t *imdim;
  uint32_t pitch, planepitch;
  uint32_t chaininfo;
};

// The strides of the axes, packed where none is given; false when one does not fit 32 bits.
template <class Dim>
bool strides_of(const layout &at, const qvimagefacts &facts, uint32_t (&stride)[3]) {
  stride[0] = uint32_t(facts.pixelsize);
  const uint32_t given[] = {0, at.pitch, at.planepitch};
  for (int axis = 1; axis < Dim::axes; axis++) {
    const uint64_t packed = uint64_t(stride[axis - 1]) * uint32_t(at.imdim[axis - 1]);
    if (!given[axis] && packed > 0xFFFFFFFFu) return false;
    stride[axis] = given[axis] ? given[axis] : uint32_t(packed);
  }
  return true;
}

// Does a buffer of that size hold all pixels, and what the strides say of the lines or planes in full? Lines
// and planes may overlap.
template <class Dim>
bool fits(const layout &at, const uint32_t (&stride)[3]) {
  uint64_t end = stride[0];  // of the last pixel; the extents are below 2^31
  for (int axis = 0; axis < Dim::axes; axis++) end += stride[axis] * uint64_t(at.imdim[axis] - 1);
  constexpr int last = Dim::axes - 1;
  return end <= at.size && stride[last] * uint64_t(at.imdim[last]) <= at.size;
}

template <class Dim>
int32_t make(record<Dim> *im, const layout &at, const qvimagedata *data, const qvimagehints *hints) {
  if (!im) return QVERR_USAGE;
  if (!at.buffer || !at.imdim || !data || !all_positive<Dim>(at.imdim) || !is_valid(*data))
    return fail(im, QVERR_USAGE);
  // Through a copy: the arguments may lie in the record.
  record<Dim> built;
  std::memset(static_cast<void *>(&built), 0, sizeof built);
  std::memcpy(&built.imdim.se, at.imdim, Dim::axes * sizeof(int32_t));
  built.d = *data;
  qviminitfacts(&built.f, &built.d);
  if (hints) built.h = *hints;
  set_device_name(&built, name<Dim>);
  qvim::clear_transfers<Dim>(&built);
  auto &s = state_of<state<Dim>>(&built);
  s.base = uint64_t(reinterpret_cast<uintptr_t>(at.buffer));
  s.chaininfo = at.chaininfo ? at.chaininfo : default_chaininfo;
  uint32_t stride[3] = {};
  if (!strides_of<Dim>(at, built.f, stride)) return fail(im, QVERR_MEMORY);
  std::memcpy(s.stride, stride, sizeof stride);
  if (at.size && !fits<Dim>(at, stride)) return fail(im, QVERR_USAGE);
  built.aeiou = aeiou<Dim>;
  built.xwind = kind_xwind<Dim, kind<Dim>>;
  std::memcpy(static_cast<void *>(im), &built, sizeof built);
  im->xwind(im, nullptr, 's');
  return 0;
}

template <class Dim>
int32_t build(record<Dim> *im, const layout &at, const qvimagedata *data, const qvimagehints *hints) {
  return public_call().result(make<Dim>(im, at, data, hints));
}

// The arguments that describe pixels.
struct description {
  int32_t pixietype, bitsused, pixies, pixelhint;

  qvimagedata data() const {
    qvimagedata d;
    qviminitdata(&d, pixietype, bitsused, pixies,
                 pixelhint);  // all zero, which build refuses, if they are wrong
    return d;
  }
};

struct pixel_size {
  uint8_t units, depthunits;
  float width, height, depth;

  qvimagehints hints() const {
    qvimagehints h;
    qviminithints(&h, units, units, depthunits, width, height, depth);
    return h;
  }
};

template <class Dim>
int32_t build(record<Dim> *im, const layout &at, const description &pixels, const pixel_size &size = {}) {
  const qvimagedata data = pixels.data();
  const qvimagehints hints = size.hints();
  return build<Dim>(im, at, &data, &hints);
}

// Bytes of the packed pixels; 0 when there are none or too many.
template <class Dim>
uint64_t packed_size(const int32_t *dims, const description &pixels) {
  const qvimagedata data = pixels.data();
  qvimagefacts facts{};
  qviminitfacts(&facts, &data);
  uint64_t size = uint32_t(facts.pixelsize);
  for (int axis = 0; axis < Dim::axes; axis++)
    if (__builtin_mul_overflow(size, uint64_t(uint32_t(dims[axis])), &size)) return 0;
  return size;
}

template <class Dim>
int32_t allocate_and_make(record<Dim> *im, void *bufferpointer, const int32_t *imdim,
                          const description &pixels) {
  if (!im) return QVERR_USAGE;
  if (!bufferpointer || load_value<void *>(bufferpointer) || !imdim || !all_positive<Dim>(imdim))
    return fail(im, QVERR_USAGE);
  const uint64_t size = packed_size<Dim>(imdim, pixels);
  void *buffer = qvmallocf16(size);
  if (!buffer) return fail(im, QVERR_MEMORY);
  const int32_t code = build<Dim>(im, {buffer, size, imdim, 0, 0, allocated_chaininfo}, pixels);
  if (code < 0)
    qvfreef16(buffer);
  else
    store_value(bufferpointer, buffer);
  return code;
}

template <class Dim>
int32_t allocate(record<Dim> *im, void *bufferpointer, const int32_t *imdim, const description &pixels) {
  return public_call().result(allocate_and_make<Dim>(im, bufferpointer, imdim, pixels));
}

inline void make_null(qvimage *im) { qvimage_defnull(im); }
inline void make_null(qvimage3 *im) { qvimage3_defnull(im); }

template <class Dim>
int32_t release(record<Dim> *im, void *bufferpointer) {
  qvfreef16p(bufferpointer);
  make_null(im);
  return 0;
}

// A new record; the pixels too unless a buffer for them is given.
template <class Dim>
record<Dim> *create(void *buffer, const int32_t *imdim, const description &pixels, const pixel_size &pixel) {
  const public_call call;
  const uint64_t size = all_positive<Dim>(imdim) ? packed_size<Dim>(imdim, pixels) : 0;
  if (size == 0) return call.result(QVERR_USAGE), nullptr;
  auto *im = static_cast<record<Dim> *>(qvmalloc(sizeof(record<Dim>)));
  void *pixel_buffer = buffer ? buffer : im ? qvmallocf16(size) : nullptr;
  const int32_t code =
      im && pixel_buffer ? build<Dim>(im, {pixel_buffer, 0, imdim, 0, 0, allocated_chaininfo}, pixels, pixel)
                         : QVERR_MEMORY;
  if (call.result(code) == 0) return im;
  if (!buffer) qvfreef16(pixel_buffer);
  qvfree(im);
  return nullptr;
}

template <class Dim>
int32_t destroy(record<Dim> *im, bool keep_buffer) {
  if (!im) return 0;
  if (!has_device_name(im, name<Dim>)) return QVERR_USAGE;
  if (!keep_buffer) qvfreef16(reinterpret_cast<void *>(state_of<state<Dim>>(im).base));
  make_null(im);
  qvfree(im);
  return 0;
}

}  // namespace
}  // namespace qvim::memory

using namespace qvim;
using namespace qvim::memory;

extern "C" {

int32_t qvimage_memdata(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch,
                        const qvimagedata *data, const qvimagehints *hints, uint32_t chaininfo) {
  return build<two_d>(image, {buffer, size, imdim, pitch, 0, chaininfo}, data, hints);
}
int32_t qvimage_memory(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch,
                       int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                       uint32_t chaininfo) {
  return build<two_d>(image, {buffer, 0, imdim, pitch, 0, chaininfo},
                      {pixietype, bitsused, pixies, pixelhint});
}
int32_t qvimage_memory2(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo, uint8_t units, float pixelwidth, float pixelheight) {
  return build<two_d>(image, {buffer, 0, imdim, pitch, 0, chaininfo},
                      {pixietype, bitsused, pixies, pixelhint}, {units, 0, pixelwidth, pixelheight, 0});
}
int32_t qvimage_memory3(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo, uint8_t units, float pixelwidth, float pixelheight) {
  return build<two_d>(image, {buffer, size, imdim, pitch, 0, chaininfo},
                      {pixietype, bitsused, pixies, pixelhint}, {units, 0, pixelwidth, pixelheight, 0});
}
int32_t qvimage_memmalloc(qvimage *image, void *bufferpointer, const int32_t imdim[2], int32_t pixietype,
                          int32_t bitsused, int32_t pixies, int32_t pixelhint) {
  return allocate<two_d>(image, bufferpointer, imdim, {pixietype, bitsused, pixies, pixelhint});
}
int32_t qvimage_memfree(qvimage *image, void *bufferpointer) { return release<two_d>(image, bufferpointer); }
qvimage *qvimage_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies,
                            int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, float pixelwidth,
                            float pixelheight) {
  const int32_t imdim[] = {xdim, ydim};
  return create<two_d>(buffer, imdim, {pixietype, bitsused, pixies, pixelhint},
                       {units, 0, pixelwidth, pixelheight, 0});
}
int32_t qvimage_memfree2(qvimage *image, int32_t keepbuffer) { return destroy<two_d>(image, keepbuffer); }

int32_t qvimage3_memdata(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch,
                         uint32_t planepitch, const qvimagedata *data, const qvimagehints *hints,
                         uint32_t chaininfo) {
  return build<three_d>(image, {buffer, size, imdim, pitch, planepitch, chaininfo}, data, hints);
}
int32_t qvimage3_memory(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo) {
  return build<three_d>(image, {buffer, 0, imdim, pitch, 0, chaininfo},
                        {pixietype, bitsused, pixies, pixelhint});
}
int32_t qvimage3_memory2(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch,
                         int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                         uint32_t chaininfo, uint8_t units, uint8_t depthunits, float pixelwidth,
                         float pixelheight, float pixeldepth) {
  return build<three_d>(image, {buffer, 0, imdim, pitch, 0, chaininfo},
                        {pixietype, bitsused, pixies, pixelhint},
                        {units, depthunits, pixelwidth, pixelheight, pixeldepth});
}
int32_t qvimage3_memory3(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch,
                         int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                         uint32_t chaininfo, uint8_t units, uint8_t depthunits, float pixelwidth,
                         float pixelheight, float pixeldepth) {
  return build<three_d>(image, {buffer, size, imdim, pitch, 0, chaininfo},
                        {pixietype, bitsused, pixies, pixelhint},
                        {units, depthunits, pixelwidth, pixelheight, pixeldepth});
}
int32_t qvimage3_memmalloc(qvimage3 *image, void *bufferpointer, const int32_t imdim[3], int32_t pixietype,
                           int32_t bitsused, int32_t pixies, int32_t pixelhint) {
  return allocate<three_d>(image, bufferpointer, imdim, {pixietype, bitsused, pixies, pixelhint});
}
int32_t qvimage3_memfree(qvimage3 *image, void *bufferpointer) {
  return release<three_d>(image, bufferpointer);
}
qvimage3 *qvimage3_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies,
                              int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, int32_t zdim,
                              uint8_t depthunits, float pixelwidth, float pixelheight, float pixeldepth) {
  const int32_t imdim[] = {xdim, ydim, zdim};
  return create<three_d>(buffer, imdim, {pixietype, bitsused, pixies, pixelhint},
                         {units, depthunits, pixelwidth, pixelheight, pixeldepth});
}
int32_t qvimage3_memfree2(qvimage3 *image, int32_t keepbuffer) { return destroy<three_d>(image, keepbuffer); }

}  // extern "C"
