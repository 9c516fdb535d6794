// What kinds without a source have in common: memory, files, and whatever else keeps its pixels itself.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/dimension.hpp"
#include "core/functions.hpp"
#include "core/null.hpp"
#include "core/record.hpp"

namespace qvim {

inline constexpr uint32_t longest_list = 357913941;  // coordinate triples in 2^32 - 1 bytes

// The aeiou queries that any kind answers: longest run, longest list, and the length of the chain, in which a
// kind without a source is the first of so many.
template <class Dim>
uint32_t kind_answer(const record<Dim> *im, uint32_t code, uint32_t chain) {
  switch (code) {
    case 'I': return 0xFFFFFFFFu / uint32_t(std::max(im->f.pixelsize, 1));
    case 'B': return longest_list;
    case 'i':
    case 'm':
    case 'b': return chain;
    default: return 0;
  }
}

// The xwind slot. A new window takes all transfers away and puts the set-ups of Kind into their slots.
template <class Dim, class Kind>
void *kind_xwind(record<Dim> *im, typename Dim::window *window, int32_t letter) {
  if (functions<Dim>::xwind(im, &window, letter) == 1) {
    clear_transfers<Dim>(im);
    im->ioset = Kind::ioset;
    im->bxts = Kind::bxts;
    im->imapset = Kind::imapset;
  }
  return window;
}

// The bxts slot of a kind whose block transfers go through its runs or mappings. Its State has a member
// `blocks` for them.
template <class Dim, class State>
struct kind_blocks {
  static int32_t bxts(record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const int32_t code = functions<Dim>::bxts(blocks_of(im), im, mode, datatype, colourmask);
    if (code < 0) return code;
    im->bxta = bxta;
    im->bxtp = bxtp;
    im->bxtw = bxtw;
    return code;
  }

 private:
  static qvimbxtstate *blocks_of(record<Dim> *im) { return &state_of<State>(im).blocks; }
  static uint32_t bxta(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                       uint32_t op) {
    return functions<Dim>::bxta(blocks_of(im), im, mode, buffer, list, count, op);
  }
  static uint32_t bxtp(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                       uint32_t op) {
    return functions<Dim>::bxtp(blocks_of(im), im, mode, buffer, list, count, op);
  }
  static int32_t bxtw(record<Dim> *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                      uint32_t op) {
    return functions<Dim>::bxtw(blocks_of(im), im, mode, buffer, list, count, op);
  }
};

}  // namespace qvim
