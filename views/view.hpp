// What all views share: images that present the pixels of another image, their source.
//
// A kind of view derives from view<Dim, Kind> and holds what makes it different:
//   device      its device name
//   traits      how it answers queries
//   state       packed, begins with view_state<Dim>: what it keeps in the record
//   in_source   where a pixel of the view lies in the source
// and passes to make() what its constructor is given.
//
// Any function of the base that a kind declares itself takes the place of the base's:
//   build       its part of construction: what is not as in the source
//   set_runs    its part of ioset: asks the source (set_source) and installs transfers (install_runs); the
//               base's passes runs on
//   bxts        generic block transfer; bxts_through passes block transfers on
//   imapset     none; imapset_through maps what the source maps
//   stretch, lines_agree, run_length, served   how far a run goes
//   set_source_window, aeiou
// Views keep no pointer into their own record and call the source through its reference, resolved at every
// call, so that records may be copied and moved as a block.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/kind.hpp"
#include "views/view_runs.hpp"
#include "views/view_window.hpp"

namespace qvim {

// How a kind answers queries: the images it adds to the chain counts, the flag bit it sets there, and whether
// other queries are passed to the source.
namespace chain_flag {
inline constexpr uint32_t none = 0, selects = 0x10000, turns = 0x20000, converts = 0x40000,
                          averages = 0x2000000;
}
struct view_traits {
  uint8_t adds_for_blocks;  // 'b'
  uint8_t adds;             // 'i', 'm'
  uint32_t flag;
  bool forwards;
};

template <class Dim, class Kind, class SourceDim = Dim>
struct view : view_runs<Dim, Kind, SourceDim> {
  using base = view_runs<Dim, Kind, SourceDim>;
  using base::descend, base::source_mode, base::source_of, base::state_in;
  using typename base::fn, typename base::image, typename base::position, typename base::source_image;

  // --- block transfers: the generic one over the view's own runs, or the source's ----------------

  static int32_t bxts(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const int32_t code = fn::bxts(&state_in(im).blocks, im, mode, datatype, colourmask);
    if (code < 0) return code;
    im->bxtp = generic_bxtp;
    im->bxta = generic_bxta;
    im->bxtw = generic_bxtw;
    return code;
  }
  static uint32_t generic_bxtp(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    return fn::bxtp(&state_in(im).blocks, im, mode, b, list, count, op);
  }
  static uint32_t generic_bxta(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    return fn::bxta(&state_in(im).blocks, im, mode, b, list, count, op);
  }
  static int32_t generic_bxtw(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                              uint32_t op) {
    return fn::bxtw(&state_in(im).blocks, im, mode, b, list, count, op);
  }

  // Block transfers that the source serves in the caller's data type.
  static int32_t bxts_through(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const int32_t code =
        descend(im, [&](auto *source) { return source->bxts(source, mode, datatype, colourmask); });
    return code < 0 ? code : install_blocks(im, bxta_through);
  }
  static int32_t install_blocks(image *im, decltype(image::bxta) transfer) {
    im->bxtp = bxtp_through;
    im->bxta = transfer;
    im->bxtw = bxtw_through;
    return 1;
  }

  // Turns the view's coordinates into the source's, and on into its pointers where it has some. Entries
  // outside this window become such as no window holds, told by their last word too: no pointer form uses
  // that.
  static constexpr int32_t outside = INT32_MIN;
  static uint32_t bxtp_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    source_image *source = source_of(im);
    if (!(mode & QVIM_LIST)) return source->bxtp(source, mode, b, list, count, op);
    const auto own = box<Dim>::of(&im->wind);
    for (uint32_t i = 0; i < count; i++) {
      position at;
      std::memcpy(&at, &list[i], sizeof at);
      if (own.holds(at)) {
        const auto there = Kind::in_source(im, at);
        list[i].z = 0;
        std::memcpy(&list[i], &there, sizeof there);
      } else {
        list[i] = {outside, outside, outside};
      }
    }
    return source->bxtp(source, mode, b, list, count, op) | QVIM_LIST;
  }
  static uint32_t bxta_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    source_image *source = source_of(im);
    bxtp_through(im, mode, b, list, count, op);
    return source->bxta(source, mode & ~uint32_t{QVIM_LIST}, b, list, count, op);
  }
  static int32_t bxtw_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                              uint32_t op) {
    source_image *source = source_of(im);
    return source->bxtw(source, mode, b, list, count, op);
  }

  // --- mapping: none, or the source's ------------------------------------------------------------

  static int32_t imapset(image *im, uint32_t, uint32_t, uint32_t) {
    clear_mapping<Dim>(im);
    return QVERR_UNSUPPORTED;
  }

  // For kinds whose pixels lie in the source as they are: maps what the source maps, within this window.
  static int32_t imapset_through(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_mapping<Dim>(im);
    scan s;
    const bool known = scan_of_mode<Dim>(mode, &s);
    const uint32_t asked = source_mode(mode, known && mode & QVIM_WRAP && !Kind::lines_agree(im, s));
    const int32_t answer =
        descend(im, [&](auto *source) { return source->imapset(source, asked, datatype, colourmask); });
    if (answer < 0 || !known) return std::min(answer, int32_t{QVERR_USAGE});
    state_in(im).map_length = fn::length_by_mode(im, (mode & QVIM_TRUST) | asked);
    im->imap = slots<Dim>::template map<map_through>;
    im->imapr = unmap_through;
    return answer;
  }
  static int32_t map_through(image *im, qvimagemap *map, const position &at) {
    const uint64_t n = call_length_fn(state_in(im).map_length, &im->wind, at);
    if (n == 0 || !map) return nops<Dim>::imapr(im, map);
    const int32_t answer = call_map(source_of(im), map, Kind::in_source(im, at));
    if (map->count && map->length > n) map->length = n;
    return answer;
  }
  static int32_t unmap_through(image *im, qvimagemap *map) {
    source_image *source = source_of(im);
    return source->imapr(source, map);
  }

  // --- queries -----------------------------------------------------------------------------------

  static uint32_t aeiou(image *im, uint32_t code, int32_t arg1, int32_t arg2, void *buffer) {
    constexpr uint32_t save_iostate = '*' << 8 | 'x', restore_iostate = '*' << 8 | 'X';
    constexpr view_traits traits = Kind::traits;
    const auto ask_source = [&] {
      return descend(im, 0u, [&](auto *source) { return source->aeiou(source, code, arg1, arg2, buffer); });
    };
    switch (code) {
      case 'b': return chained(ask_source(), traits.adds_for_blocks, traits.flag);
      case 'i':
      case 'm': return chained(ask_source(), traits.adds, traits.flag);
      case save_iostate:
      case restore_iostate: return 0;  // the caller copies the bytes of this record, not of the source's
      default: break;
    }
    if (traits.forwards) return ask_source();
    if (code == 'e') return arg2 ? ask_source() : 0;
    return kind_answer<Dim>(im, code, 0);
  }
  static uint32_t chained(uint32_t answer, uint8_t adds, uint32_t flag) {
    constexpr uint32_t chain_count = 0xFF;  // the field of the answer that counts images
    const uint32_t images = std::min((answer & chain_count) + adds, chain_count);
    return (answer & ~chain_count) | images | flag;
  }
};

}  // namespace qvim
