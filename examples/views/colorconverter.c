/* Pixels in other colours: for a display that wants blue first, for a printer.
 *
 * Prints:
 *   red, green, blue
 *    255   0  10    30 200  60
 *   blue, green, red
 *     10   0 255    60 200  30
 *   cyan, magenta, yellow
 *      0 255 245   225  55 195
 *   a full magenta was written as: 255 0 255
 */
#include "show.h"

int main(void) {
  uint8_t rgb[6] = {255, 0, 10, 30, 200, 60}; /* two pixels */
  const int32_t size[2] = {2, 1};
  qvimage image, display, inks;
  if (qvimage_memory(&image, rgb, size, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0) < 0) return 1;
  show("red, green, blue", &image);
  if (qvimage_colorconverter(&display, &image, QVIM_HINT_BGR, 0) < 0) return 1;
  show("blue, green, red", &display);
  if (qvimage_colorconverter(&inks, &image, QVIM_HINT_CMY, 0) < 0) return 1;
  show("cyan, magenta, yellow", &inks);

  const uint8_t magenta[3] = {0, 255, 0};
  if (inks.ioset(&inks, QVIM_XSCAN, QVIM_UINT8, 7) < 0) return 1;
  if (inks.iorite(&inks, 0, magenta, 1, 1, 0) != 1) return 1;
  printf("a full magenta was written as: %d %d %d\n", rgb[3], rgb[4], rgb[5]);
  return 0;
}
