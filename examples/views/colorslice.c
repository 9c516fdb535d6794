/* The green of a colour image as a grey image, for code that takes only such: here it is made brighter in
 * place.
 *
 * Prints:
 *   green
 *      0 100
 *    200  50
 *   the image
 *    255  20  10    30 120  60
 *      5 220   5     6  70   8
 */
#include "show.h"

static void brighten(qvimage *grey, uint8_t by) {
  uint8_t row[64];
  const int32_t width = grey->imdim.se.x, height = grey->imdim.se.y;
  if (grey->ioset(grey, QVIM_XSCAN, QVIM_UINT8, 1) < 0) return;
  for (int32_t y = 0; y < height; y++) {
    const uint32_t moved = grey->ioread(grey, 0, row, (uint32_t)width, 0, y);
    for (uint32_t x = 0; x < moved; x++) row[x] = (uint8_t)(row[x] + by);
    grey->iorite(grey, 0, row, moved, 0, y);
  }
}

int main(void) {
  uint8_t rgb[2][2][3] = {{{255, 0, 10}, {30, 100, 60}}, {{5, 200, 5}, {6, 50, 8}}};
  const int32_t size[2] = {2, 2};
  qvimage image, green;
  if (qvimage_memory(&image, rgb, size, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0) < 0) return 1;
  if (qvimage_colorslice(&green, &image, 0, 2, 0) < 0) return 1; /* bit 1 of the mask: the second component */
  show("green", &green);
  brighten(&green, 20);
  show("the image", &image);
  return 0;
}
