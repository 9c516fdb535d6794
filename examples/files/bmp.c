/* A BMP file with a palette: written from colour numbers and a row of colours, read as colours, and as
 * numbers again.
 *
 * Prints:
 *   colours
 *      0   0 255    10   0 245    20   0 235
 *     20   0 235    10   0 245     0   0 255
 *   numbers
 *      0   1   2
 *      2   1   0
 *   colour 2
 *     20   0 235
 */
#include "../views/show.h"

int main(void) {
  uint8_t numbers[2][3] = {{0, 1, 2}, {2, 1, 0}}, colours[16][3];
  for (int i = 0; i < 16; i++) {
    colours[i][0] = (uint8_t)(10 * i); /* red, green, blue */
    colours[i][1] = 0;
    colours[i][2] = (uint8_t)(255 - 10 * i);
  }
  const int32_t size[2] = {3, 2}, entries[2] = {16, 1};
  qvimage image, palette;
  if (qvimage_memory(&image, numbers, size, 0, QVIM_UINT8, 4, 1, QVIM_HINT_INDEX, 0) < 0) return 1;
  if (qvimage_memory(&palette, colours, entries, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0) < 0) return 1;
  const uint32_t exchanged = 1; /* files hold blue first */
  if (qvimage_bmpwrite(NULL, &image, &palette, "example.bmp", NULL, 0, NULL, 0, exchanged, 0) < 0) return 1;

  bmphandle *file = NULL;
  if (qvimage_bmpread(&image, NULL, &file, "example.bmp", NULL, 0, exchanged, 0, 0) < 0) return 1;
  show("colours", &image);
  qvimage_bmpreaddone(&image, NULL, &file);

  if (qvimage_bmpread(&image, &palette, &file, "example.bmp", NULL, 0, exchanged, 0, 0) < 0) return 1;
  show("numbers", &image);
  qvywindow third = {{2, 0}, {3, 1}};
  palette.xwind(&palette, &third, 's');
  show("colour 2", &palette);
  qvimage_bmpreaddone(&image, &palette, &file);
  return remove("example.bmp");
}
