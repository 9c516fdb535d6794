/* A small image of a large one: every third pixel of every second row, from the second pixel on.
 *
 * Prints:
 *   6 x 4 pixels
 *      0   1   2   3   4   5
 *     10  11  12  13  14  15
 *     20  21  22  23  24  25
 *     30  31  32  33  34  35
 *   2 x 2 pixels
 *      1   4
 *     21  24
 */
#include "show.h"

int main(void) {
  uint8_t pixels[4][6];
  for (int y = 0; y < 4; y++)
    for (int x = 0; x < 6; x++) pixels[y][x] = (uint8_t)(10 * y + x);
  const int32_t size[2] = {6, 4};
  qvimage image, small;
  if (qvimage_memory(&image, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  show("6 x 4 pixels", &image);
  if (qvimage_decimate(&small, &image, 0, 3, 2, 1, 0) < 0) return 1; /* periods in x and y, then phases */
  show("2 x 2 pixels", &small);
  return 0;
}
