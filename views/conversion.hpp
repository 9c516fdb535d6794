// How an image's pixies become a caller's of another type or other bits, and back: the kernels of both
// directions, what they leave to be masked, and byte order.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>
#include <qvimage/types.h>

namespace qvim {

// How an image's values are presented to callers.
struct [[gnu::packed]] presentation {
  uint16_t mask_undefined;  // QVIM_DIRTY: the image's unused bits hold anything, whatever it says
  uint8_t bits;             // significant; 0: the image's pixies are reals, and none were named
  uint8_t mode;             // 1: 0.0 to 1.0 stand for the integers' range
};

// The type word of pixies as an image stores them.
uint32_t stored_word(const qvimagedata &image);

// Does an image by itself deliver to a request what it is to be presented as?
bool presents_itself(const qvimagedata &image, const presentation &p, uint32_t datatype);

struct [[gnu::packed]] conversion {
  // False where there is none.
  bool choose(const qvimagedata &image, const presentation &p, uint32_t datatype);

  // The image's pixies become the caller's. They may lie in the same place, and where `masks_image` are
  // changed in their own.
  void bring(uint8_t *from, uint8_t *to, uint64_t pixies) const;
  bool masks_image() const { return read_bits; }

  // The caller's pixies, left as they are, become the image's: at most staging_bytes at once where `adjusts`.
  void take(const uint8_t *from, uint8_t *to, uint64_t pixies) const;
  bool adjusts() const { return reversed || given_bits; }

  struct [[gnu::packed]] step {
    npfbix_fn *kernel;
    uint32_t shift, mask;
  };
  step read, write;      // image to caller, caller to image
  uint32_t read_bits;    // masks beside the kernels', or 0: of the image's values before they are read
  uint32_t given_bits;   // of the caller's values before they are written,
  uint32_t stored_bits;  // and of what they become
  uint32_t limit;        // of what scaled reals become, where the image has fewer bits than the scale; or 0
  uint8_t raise;         // by so many places they are shifted up then
  uint8_t image_size;    // bytes of a pixie
  uint8_t caller_size;
  uint8_t reversed;  // the caller's pixies are in the reverse of the host's byte order
};

}  // namespace qvim
