/* A picture in memory becomes a JPEG file, coded by two threads, each of them a band of rows; then its
 * quality is read from the file, and some of its pixels. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include <qvimage/qvimage.h>

enum { width = 640, height = 480, first_row_of_second = 240 }; /* bands begin at multiples of 8 */

static uint8_t pixels[height][width][3];
static jpegcontext *context;

static void stop_on_error(int32_t code) {
  if (code >= 0) return;
  fprintf(stderr, "%s: %s\n", qverrnomesg(code), qvimage_reason());
  exit(1);
}

/* A record belongs to one thread, so each has one of its own over the same pixels. */
static void open_picture(qvimage *image) {
  const int32_t size[2] = {width, height};
  stop_on_error(qvimage_memory(image, pixels, size, 0, QVIM_UINT8, 8, 3, QVIM_HINT_RGB, 0));
}

static void *code_band(void *number) {
  const uint32_t band = *(const uint32_t *)number;
  const int32_t rows[2][2] = {{0, first_row_of_second}, {first_row_of_second, height}};
  qvimage image;
  open_picture(&image);
  stop_on_error(qvimage_jpegwrite1(&context, band, NULL, &image, rows[band]));
  return NULL;
}

int main(void) {
  const char *path = "jpeg_bands.jpg";
  const uint32_t first_rows[1] = {first_row_of_second}, bands[2] = {0, 1};
  qvimagefileinfo info = {0};
  qvimage image;
  pthread_t threads[2];

  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) {
      pixels[y][x][0] = (uint8_t)(x * 255 / width);
      pixels[y][x][1] = (uint8_t)(y * 255 / height);
      pixels[y][x][2] = 128;
    }

  info.jpg_quality = 900; /* in tenths */
  open_picture(&image);
  stop_on_error(qvimage_jpegwrite0(&context, 2, NULL, &image, first_rows, path, NULL, 0, NULL, &info));
  for (int i = 0; i < 2; i++)
    if (pthread_create(&threads[i], NULL, code_band, (void *)&bands[i])) return 1;
  for (int i = 0; i < 2; i++) pthread_join(threads[i], NULL);
  stop_on_error(qvimage_jpegwrite2(&context, NULL, &image, path, NULL, 0));

  stop_on_error(qvimage_jpegread(&image, &context, path, NULL, 0, NULL));
  stop_on_error(qvimage_jpegreadinfo(context, &info));
  printf("%u x %u pixels, quality %g\n", info.width, info.height, info.jpg_quality / 10.0);
  qvimage_jpeginfodone(&info);

  uint8_t pixel[3];
  stop_on_error(image.ioset(&image, QVIM_XSCAN, QVIM_UINT8, 7));
  if (image.ioread(&image, 0, pixel, 1, 320, 400) != 1) return 1;
  printf("red %u, green %u, blue %u at (320, 400)\n", pixel[0], pixel[1], pixel[2]);
  for (int i = 0; i < 3; i++)
    if (abs(pixel[i] - pixels[400][320][i]) > 3) return 1;
  stop_on_error(qvimage_jpegreaddone(&image, &context));
  return 0;
}
