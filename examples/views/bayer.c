/* What a sensor behind colour filters delivers: each cell of 2 x 2 values is a pixel of four components. Its
 * four places show the same.
 *
 * Prints:
 *   raw
 *    200  90  10  20
 *     92  30  22  40
 *   red, green, green, blue
 *    200  90  92  30   200  90  92  30    10  20  22  40    10  20  22  40
 *    200  90  92  30   200  90  92  30    10  20  22  40    10  20  22  40
 */
#include "show.h"

int main(void) {
  uint8_t raw[2][4] = {{200, 90, 10, 20}, {92, 30, 22, 40}}; /* R G R G, below it G B G B */
  const int32_t size[2] = {4, 2};
  qvimage sensor, cells;
  if (qvimage_memory(&sensor, raw, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  show("raw", &sensor);
  if (qvimage_Beyer4_filter(&cells, &sensor, 0, 0) < 0) return 1; /* phase 0: the first value is a red one */
  show("red, green, green, blue", &cells);
  return 0;
}
