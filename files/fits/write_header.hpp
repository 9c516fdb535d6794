// The header of a FITS file that is written, and what of it is corrected later.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>
#include <qvimage/record.h>

#include "files/fits/header.hpp"

namespace qvim::fits {

// What is to be written, as the caller asks for it.
struct content {
  qvimagedata data;
  qvimagehints size;  // of a pixel
  uint32_t width, height;
  int64_t frames;  // declared; below 0: one image without an axis for frames
  uint32_t flags;  // of the layout

  bool is_planar() const { return data.pixies > 1 && !(flags & interleaved); }
  bool is_sequence() const { return frames >= 0; }
  // Unsigned integers that use the sign's bit are stored less half their range: what that is, or 0.
  uint32_t offset() const;
};

// Cards that are written again when the number of frames turns out to be another one, and those of
// observations.
struct later_cards {
  unsigned axis = 0;    // of the frames
  uint64_t length = 0;  // where the cards stand; 0: there is none
  uint64_t dimension = 0;
  uint64_t observations = 0;
};

// BITPIX of a pixie type, or 0 for those that are not written.
int32_t bitpix_of(int32_t pixietype);

// Writes the header to the stream's beginning, with the texts of options, which may be null. Failures latch
// in the stream.
void write_header(bufio &file, const content &c, const qvimagefileinfo *options, later_cards *later);

// Writes the cards of the frame axis again.
void correct_header(bufio &file, const content &c, const later_cards &later, uint64_t frames);

// The quoted text of an observation, as it stands in its card from annotation_place on. False when it is too
// long.
inline constexpr uint64_t annotation_place = 20, annotation_bytes = 60;
[[nodiscard]] bool format_observation(const char *text, unsigned axis, char (&to)[annotation_bytes]);

}  // namespace qvim::fits
