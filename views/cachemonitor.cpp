// An image unchanged, with a note of whether its pixels have been read or written through this record.
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct cachemonitor : view<two_d, cachemonitor> {
  static constexpr char device[] = "QVIMCAM";
  static constexpr view_traits traits{0, 0, chain_flag::none, true};
  static constexpr uint32_t access_query = 'c' << 8 | 'm';
  enum : uint32_t { was_read = 0x8000, was_written = 0x4000 };

  struct [[gnu::packed]] state : view_state<two_d> {
    uint8_t nomapping;
    uint32_t map_notes;  // what imap notes
  };

  static int32_t build(qvimage *im, const qvimage *source, uint8_t nomapping) {
    im->imdim = source->imdim;
    state_in(im).nomapping = nomapping;
    return 0;
  }

  // The notes outlive what a block transfer does with the set-up of runs: they are kept beside it.
  static uint32_t notes(const qvimage *im) {
    uint32_t word;
    std::memcpy(&word, im->kind, sizeof word);
    return word;
  }
  static void note(qvimage *im, uint32_t accesses) {
    accesses |= notes(im);
    std::memcpy(im->kind, &accesses, sizeof accesses);
  }

  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    const int32_t code = view::set_runs(im, mode, datatype, colourmask);
    if (code >= 0) install_runs<read, write>(im);
    return code;
  }
  static uint32_t read(qvimage *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    const uint32_t moved = read_through(im, mode, buffer, count, at);
    if (moved) note(im, was_read);
    return moved;
  }
  static uint32_t write(qvimage *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    const uint32_t moved = write_through(im, mode, buffer, count, at);
    if (moved) note(im, was_written);
    return moved;
  }

  static int32_t bxts(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    const int32_t code = bxts_through(im, mode, datatype, colourmask);
    return code < 0 ? code : install_blocks(im, bxta);
  }
  static uint32_t bxta(qvimage *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count, uint32_t op) {
    const uint32_t done = bxta_through(im, mode, b, list, count, op);
    if (done) note(im, op == QVIM_OP_READ ? was_read : was_written);
    return done;
  }

  static int32_t imapset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (state_in(im).nomapping) return view::imapset(im, mode, datatype, colourmask);
    const int32_t answer = imapset_through(im, mode, datatype, colourmask);
    if (answer < 0) return answer;
    const uint32_t announced = mode & (was_read | was_written);
    state_in(im).map_notes = announced ? announced : was_read | was_written;
    im->imap = slots<two_d>::map<map_and_note>;
    return answer;
  }
  static int32_t map_and_note(qvimage *im, qvimagemap *map, const position &at) {
    const int32_t answer = map_through(im, map, at);
    if (answer > 0) note(im, state_in(im).map_notes);
    return answer;
  }

  static uint32_t aeiou(qvimage *im, uint32_t code, int32_t arg1, int32_t arg2, void *buffer) {
    return code == access_query ? notes(im) : view::aeiou(im, code, arg1, arg2, buffer);
  }
};

}  // namespace

extern "C" int32_t qvimage_cachemonitor(qvimage *image, qvimage *source, uint8_t sharewindow,
                                        uint8_t nomapping) {
  return cachemonitor::make(image, source, sharewindow, nomapping);
}
