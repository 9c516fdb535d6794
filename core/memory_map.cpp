// Memory images: direct access to the stored pixels.
#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"

namespace qvim::memory {
namespace {

constexpr int32_t mapped = capability::maps | capability::of_memory | capability::memory_image;
constexpr int32_t mapped_across_lines = mapped | capability::spans_lines;

// Do the window's lines follow each other in memory without a gap, from its first pixel to its last?
template <class Dim>
bool is_gapless(const record<Dim> *im) {
  const auto window = box<Dim>::of(&im->wind), all = box<Dim>::of(&im->imdim);
  const auto &stride = state_of<const state<Dim>>(im).stride;
  if (window.extent(0) != all.extent(0) || stride[1] != uint64_t(stride[0]) * all.extent(0)) return false;
  if constexpr (Dim::axes == 3)
    return stride[2] == uint64_t(stride[1]) * all.extent(1) &&
           (window.extent(1) == all.extent(1) || window.extent(2) == 1);
  return true;
}

template <class Dim>
int32_t imap(record<Dim> *im, qvimagemap *map, const point<Dim> &at) {
  const map_setup<Dim> s = state_of<state<Dim>>(im).map;
  const uint64_t length = call_length_fn(s.length, &im->wind, at);
  if (length == 0 || !map) return nops<Dim>::imapr(im, map);
  *map = {1, uint64_t(reinterpret_cast<uintptr_t>(address_of<Dim>(im, at))), s.step, length};
  return 1;
}

}  // namespace

template <class Dim>
int32_t imapset(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_mapping<Dim>(im);
  if (!supported_without_conversion(im, datatype)) return QVERR_DATATYPE;
  if (colourmask != all_pixies(im->d.pixies)) return QVERR_COLOUR;
  scan along;
  if (!scan_of_mode<Dim>(mode, &along)) return QVERR_USAGE;
  if (along != scan::x && !(mode & QVIM_STEP)) return QVERR_UNSUPPORTED;

  auto &memory = state_of<state<Dim>>(im);
  const bool across = along == scan::x && mode & QVIM_WRAP && is_gapless<Dim>(im);
  memory.map.length = access_length(im, across ? mode : mode & ~uint32_t{QVIM_WRAP});
  memory.map.step = memory.stride[int(along)];
  im->imap = slots<Dim>::template map<imap<Dim>>;
  return across ? mapped_across_lines : mapped;
}

template int32_t imapset<two_d>(qvimage *, uint32_t, uint32_t, uint32_t);
template int32_t imapset<three_d>(qvimage3 *, uint32_t, uint32_t, uint32_t);

}  // namespace qvim::memory
