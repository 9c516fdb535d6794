/* Values through tables: the negative of an image, and a grey image in colours that a table gives each value.
 *
 * Prints:
 *   negative
 *    255 155  55   0
 *   hot where it is bright
 *      0   0  64   100   0   0   200 100   0   255 155 155
 *   stored: 0 100 0 255
 */
#include "show.h"

int main(void) {
  uint8_t frame[4] = {0, 100, 200, 255};
  const int32_t size[2] = {4, 1};
  qvimage image, negative, colours;
  if (qvimage_memory(&image, frame, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;

  uint8_t reversed[256], red[256], green[256], blue[256];
  for (int i = 0; i < 256; i++) {
    reversed[i] = (uint8_t)(255 - i);
    red[i] = (uint8_t)i;
    green[i] = (uint8_t)(i > 100 ? i - 100 : 0);
    blue[i] = (uint8_t)(i < 64 ? 64 - i : i > 225 ? i - 100 : 0);
  }

  /* One table to read through and one to write through; the negative is its own inverse. */
  const void *const one[4] = {reversed};
  if (qvimage_lut2(&negative, &image, 0, one, one, 0, 0, 0, 0) < 0) return 1;
  show("negative", &negative);

  const void *const three[4] = {red, green, blue};
  if (qvimage_lut2(&colours, &image, 0, three, three, 3, QVIM_HINT_RGB, 0, 0) < 0) return 1;
  show("hot where it is bright", &colours);

  const uint8_t white = 255;
  if (negative.ioset(&negative, QVIM_XSCAN, QVIM_UINT8, 1) < 0) return 1;
  if (negative.iorite(&negative, 0, &white, 1, 2, 0) != 1) return 1;
  printf("stored: %d %d %d %d\n", frame[0], frame[1], frame[2], frame[3]);
  return 0;
}
