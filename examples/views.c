/* One small image seen through each kind of view. Every line shows what the view presents; the program fails
 * when that is not what the comment beside it says. Nothing is copied: each view is a record over the one
 * before it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <qvimage/qvimage.h>

static void need(int32_t code) {
  if (code >= 0) return;
  fprintf(stderr, "%s\n", qverrnomesg(code));
  exit(1);
}

/* Reads the whole image, row after row, prints its first values and compares all with the expected ones. */
static void shows(const char *what, qvimage *image, uint32_t components, const uint8_t *expected,
                  uint32_t count) {
  uint8_t values[64] = {0};
  const uint32_t pixels = count / components;
  need(image->ioset(image, QVIM_XSCAN | QVIM_WRAP, QVIM_UINT8, (1u << components) - 1));
  for (uint32_t done = 0, moved; done < pixels; done += moved) {
    const int32_t width = image->wind.se.x - image->wind.nw.x;
    moved = image->ioread(image, 0, values + done * components, pixels - done, (int32_t)done % width,
                          (int32_t)done / width);
    if (moved == 0) break;
  }
  printf("%-34s", what);
  for (uint32_t i = 0; i < count; i++) printf(" %u", values[i]);
  printf("\n");
  if (memcmp(values, expected, count) != 0) {
    fprintf(stderr, "%s: not what was expected\n", what);
    exit(1);
  }
}
#define SHOWS(what, image, components, ...)                    \
  do {                                                         \
    const uint8_t expected[] = {__VA_ARGS__};                  \
    shows(what, image, components, expected, sizeof expected); \
  } while (0)

static void geometry(qvimage *grid) {
  qvimage view;
  need(qvimage_rotate_filt(&view, grid, 0, 5));
  SHOWS("rotate, a quarter clockwise", &view, 1, 20, 10, 0, 21, 11, 1, 22, 12, 2, 23, 13, 3);
  need(qvimage_decimate(&view, grid, 0, 2, 2, 1, 0));
  SHOWS("decimate, every second from x = 1", &view, 1, 1, 3);
  need(qvimage_yodd(&view, grid, 0, 0));
  SHOWS("yodd, the even lines", &view, 1, 0, 1, 2, 3, 0, 1, 2, 3, 20, 21, 22, 23);
  need(qvimage_cachemonitor(&view, grid, 0, 0));
  SHOWS("cachemonitor, unchanged", &view, 1, 0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23);
  const uint32_t notes = view.aeiou(&view, 'c' << 8 | 'm', 0, 0, NULL);
  printf("%-34s%s%s\n", "  it has noted:", notes & 0x8000 ? " read" : "", notes & 0x4000 ? " written" : "");
  if (notes != 0x8000) exit(1);
}

static void tables(qvimage *grid) {
  qvimage view, stored, longer;
  uint8_t negative[256];
  for (int i = 0; i < 256; i++) negative[i] = (uint8_t)(255 - i);
  const void *const both[4] = {negative, NULL, NULL, NULL};
  need(qvimage_lut2(&view, grid, 0, both, both, 0, 0, 0, 0));
  SHOWS("lut2, the negative", &view, 1, 255, 254, 253, 252, 245, 244, 243, 242, 235, 234, 233, 232);

  uint8_t entries[4] = {0, 85, 170, 255};
  const int32_t size[2] = {4, 1};
  need(qvimage_memory(&stored, entries, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0));
  need(qvimage_lutconvert(&longer, &stored, 8, 0));
  SHOWS("lutconvert, 4 entries as 8", &longer, 1, 0, 0, 85, 85, 170, 170, 255, 255);
}

static void types(void) {
  uint16_t measured[3] = {0, 2048, 4095}; /* 12 bits */
  const int32_t size[2] = {3, 1};
  qvimage image, view;
  need(qvimage_memory(&image, measured, size, 0, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 0));
  need(qvimage_converter(&view, &image, NULL, 0, 0, 0, 1));
  float values[3];
  need(view.ioset(&view, QVIM_XSCAN, QVIM_FLOAT32, 1));
  if (view.ioread(&view, 0, values, 3, 0, 0) != 3) exit(1);
  printf("%-34s %g %.4f %.4f\n", "converter, 1.0 for 65535", values[0], values[1], values[2]);
  if (values[0] != 0 || values[1] != 2048.0f / 65535 || values[2] != 4095.0f / 65535) exit(1);
  values[1] = 0;
  if (view.iorite(&view, 0, values, 3, 0, 0) != 3 || measured[0] != 0 || measured[1] != 0) exit(1);
  if (measured[2] != 4095) exit(1);
}

static void colours(qvimage *grid) {
  uint8_t rgb[6] = {255, 0, 10, 30, 200, 60}; /* two pixels */
  const int32_t size[2] = {2, 1};
  qvimage image, view;
  need(qvimage_memory(&image, rgb, size, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0));
  need(qvimage_colorconverter(&view, &image, QVIM_HINT_BGR, 0));
  SHOWS("colorconverter, blue first", &view, 3, 10, 0, 255, 60, 200, 30);
  need(qvimage_colorconverter(&view, &image, QVIM_HINT_CMY, 0));
  SHOWS("colorconverter, as inks", &view, 3, 0, 255, 245, 225, 55, 195);
  need(qvimage_colorslice(&view, &image, 0, 2, 0));
  SHOWS("colorslice, the greens", &view, 1, 0, 200);

  qvywindow cell = {{0, 0}, {2, 2}};
  if (!grid->xwind(grid, &cell, 's')) exit(1);
  need(qvimage_Beyer4_filter(&view, grid, 0, 0));
  SHOWS("Bayer, the cell of 4 pixels", &view, 4, 0, 1, 10, 11, 0, 1, 10, 11, 0, 1, 10, 11, 0, 1, 10, 11);
  grid->xwind(grid, NULL, 's');
}

static void frames(qvimage *grid) {
  uint8_t film[3][2] = {{10, 1}, {20, 2}, {60, 4}}; /* 3 frames of 2 pixels */
  const int32_t size[3] = {2, 1, 3};
  qvimage3 volume, turned, deep;
  qvimage view;
  need(qvimage3_memory(&volume, film, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0));
  need(qvimage_stack(&view, &volume));
  SHOWS("stack, the mean of the frames", &view, 1, 30, 2);
  need(qvimage_def2from3(&view, &volume, QVIM_XSCAN, QVIM_YSCAN, 2, 0));
  SHOWS("def2from3, frame 2", &view, 1, 60, 4);
  need(qvimage_def2from3(&view, &volume, QVIM_ZSCAN, QVIM_XSCAN, 0, 0));
  SHOWS("def2from3, z along x", &view, 1, 10, 20, 60, 1, 2, 4);
  need(qvimage3_def3from3(&turned, &volume, 1, 0, 0, 0));
  need(qvimage_def2from3(&view, &turned, QVIM_XSCAN, QVIM_YSCAN, 2, 0));
  SHOWS("def3from3, begun one frame later", &view, 1, 10, 1);
  need(qvimage_def3from2(&deep, grid, 0));
  need(qvimage_def2from3(&view, &deep, QVIM_XSCAN, QVIM_YSCAN, 0, 0));
  SHOWS("def3from2, and back", &view, 1, 0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23);
}

int main(void) {
  uint8_t pixels[12] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23}; /* tens: the line, ones: the column */
  const int32_t size[2] = {4, 3};
  qvimage grid;
  need(qvimage_memory(&grid, pixels, size, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0));
  geometry(&grid);
  tables(&grid);
  types();
  colours(&grid);
  frames(&grid);
  return 0;
}
