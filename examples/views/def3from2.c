/* A single image where a function takes volumes: here one that tells how bright the planes are.
 *
 * Prints:
 *   plane 0: 250
 */
#include <stdio.h>

#include <qvimage/qvimage.h>

static void print_sums(qvimage3 *volume) {
  const int32_t width = volume->imdim.se.x, height = volume->imdim.se.y;
  if (volume->ioset(volume, QVIM_XSCAN, QVIM_UINT8, 1) < 0) return;
  for (int32_t z = 0; z < volume->imdim.se.z; z++) {
    int sum = 0;
    for (int32_t y = 0; y < height; y++) {
      uint8_t row[64];
      const uint32_t moved = volume->ioread(volume, 0, row, (uint32_t)width, 0, y, z);
      for (uint32_t x = 0; x < moved; x++) sum += row[x];
    }
    printf("plane %d: %d\n", z, sum);
  }
}

int main(void) {
  uint8_t pixels[2][3] = {{10, 20, 30}, {40, 50, 100}};
  const int32_t size[2] = {3, 2};
  qvimage image;
  qvimage3 volume;
  if (qvimage_memory(&image, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0) < 0) return 1;
  if (qvimage_def3from2(&volume, &image, 0) < 0) return 1;
  print_sums(&volume);
  return 0;
}
