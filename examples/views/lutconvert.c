/* A table of 4 entries where one of 8 is wanted, and where one of 2 is.
 *
 * Prints:
 *   as it is
 *      0  85 170 255
 *   8 entries
 *      0   0  85  85 170 170 255 255
 *   2 entries
 *      0 170
 */
#include "show.h"

int main(void) {
  uint8_t entries[4] = {0, 85, 170, 255};
  const int32_t size[2] = {4, 1}; /* a table is an image of one row */
  qvimage table, longer, shorter;
  if (qvimage_memory(&table, entries, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  show("as it is", &table);

  if (qvimage_lutconvert(&longer, &table, 8, 0) < 0) return 1;
  show("8 entries", &longer);

  if (qvimage_lutconvert(&shorter, &table, 2, 1) < 0) return 1; /* 1: every second one, not the first two */
  show("2 entries", &shorter);
  return 0;
}
