/* Shared by the programs beside it: prints an 8-bit image row by row, the components of a pixel side by
 * side. */
#include <stdio.h>

#include <qvimage/qvimage.h>

static void show(const char *title, qvimage *image) {
  uint8_t row[256];
  const int32_t width = image->wind.se.x - image->wind.nw.x, height = image->wind.se.y - image->wind.nw.y;
  const int32_t components = image->d.pixies;
  printf("%s\n", title);
  if (image->ioset(image, QVIM_XSCAN, QVIM_UINT8 | QVIM_LSB, (1u << components) - 1) < 0) return;
  for (int32_t y = 0; y < height; y++) {
    /* A run may end before the row does: what is left is asked for again. */
    for (int32_t x = 0; x < width;) {
      const uint32_t moved = image->ioread(image, 0, row + x * components, (uint32_t)(width - x), x, y);
      if (moved == 0) return;
      x += (int32_t)moved;
    }
    for (int32_t i = 0; i < width * components; i++)
      printf("%s%3d", components > 1 && i && i % components == 0 ? "   " : " ", row[i]);
    printf("\n");
  }
}
