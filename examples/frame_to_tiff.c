/* A camera frame in memory becomes an LZW-compressed TIFF file, and pixels of the file are read back.
 *
 *   frame_to_tiff FRAME.ppm OUT.tif
 *
 * The frame is a binary PGM or PPM file with samples of 9 to 16 bits, as a camera's software writes them. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include <qvimage/qvimage.h>

typedef struct {
  uint16_t *pixels; /* samples side by side, host byte order */
  int32_t size[2], samples, bits;
} camera_frame;

static double now_ms(void) {
  struct timespec t;
  timespec_get(&t, TIME_UTC);
  return (double)t.tv_sec * 1e3 + (double)t.tv_nsec / 1e6;
}

static void stop(const char *what, const char *why) {
  fprintf(stderr, "%s: %s\n", what, why);
  exit(1);
}

static void stop_on_error(int32_t code, const char *what) {
  if (code < 0) stop(what, qverrnomesg(code));
}

static uint16_t *samples_for(size_t count) {
  uint16_t *memory = malloc(count * sizeof *memory);
  if (!memory) stop("memory", "there is not enough");
  return memory;
}

static const uint16_t *pixel(const camera_frame *frame, int32_t x, int32_t y) {
  return frame->pixels + ((size_t)y * (size_t)frame->size[0] + (size_t)x) * (size_t)frame->samples;
}

/* What a camera's driver does: the pixels arrive in a buffer of ours. */
static camera_frame load_frame(const char *path) {
  camera_frame frame;
  int kind, maximum;
  FILE *file = fopen(path, "rb");
  if (!file) stop(path, "cannot be opened");
  if (fscanf(file, "P%d %d %d %d", &kind, &frame.size[0], &frame.size[1], &maximum) != 4 ||
      fgetc(file) == EOF || (kind != 5 && kind != 6) || frame.size[0] < 1 || frame.size[1] < 1 ||
      maximum < 256 || maximum > 65535)
    stop(path, "is not a PGM or PPM frame of 9 to 16 bits");
  frame.samples = kind == 6 ? 3 : 1;
  frame.bits = pfbit_significant((uint32_t)maximum);
  const size_t count = (size_t)frame.size[0] * (size_t)frame.size[1] * (size_t)frame.samples;
  frame.pixels = samples_for(count);
  if (fread(frame.pixels, 2, count, file) != count) stop(path, "ends early");
  fclose(file);
  for (size_t i = 0; i < count; i++) { /* the file holds the high byte first */
    const uint8_t *bytes = (const uint8_t *)(frame.pixels + i);
    frame.pixels[i] = (uint16_t)(bytes[0] << 8 | bytes[1]);
  }
  return frame;
}

/* One record over the frame (nothing is copied), one call that saves it. */
static void save(const camera_frame *frame, const char *path) {
  qvimage image;
  const int32_t hint = frame->samples == 3 ? QVIM_HINT_RGB : QVIM_HINT_GREY;
  stop_on_error(qvimage_memory(&image, frame->pixels, frame->size, 0, QVIM_UINT16, frame->bits,
                               frame->samples, hint, 0),
                "memory image");
  qvimagefileinfo options;
  memset(&options, 0, sizeof options);
  options.compression = 5; /* LZW */
  stop_on_error(qvimage_tiffwrite(NULL, &image, NULL, path, NULL, 0, 0, &options, 0, 0, 0), path);
}

/* The functions below read from the opened file and answer how many rows, pixels or values differ from the
 * frame. A read answers how many pixels it moved; fewer than asked for differ too. */

static size_t compare_all(qvimage *saved, const camera_frame *frame) {
  const uint32_t width = (uint32_t)frame->size[0];
  const size_t bytes = width * (size_t)frame->samples * 2;
  uint16_t *row = samples_for(bytes / 2);
  size_t different = 0;
  stop_on_error(saved->ioset(saved, QVIM_XSCAN, QVIM_UINT16, (1u << frame->samples) - 1), "reading rows");
  for (int32_t y = 0; y < frame->size[1]; y++)
    different += saved->ioread(saved, QVIM_XSCAN, row, width, 0, y) != width ||
                 memcmp(row, pixel(frame, 0, y), bytes) != 0;
  free(row);
  return different;
}

/* A window of the file, read in one call that wraps from line to line. */
static size_t compare_crop(qvimage *saved, const camera_frame *frame, qvywindow window) {
  const int32_t width = window.se.x - window.nw.x, height = window.se.y - window.nw.y;
  const uint32_t count = (uint32_t)width * (uint32_t)height;
  const size_t row = (size_t)width * (size_t)frame->samples;
  uint16_t *crop = samples_for(row * (size_t)height);
  if (!saved->xwind(saved, &window, 's')) stop("crop", "reaches outside the image");
  stop_on_error(saved->ioset(saved, QVIM_WRAP, QVIM_UINT16, (1u << frame->samples) - 1), "reading a crop");
  size_t different = count - saved->ioread(saved, QVIM_WRAP, crop, count, 0, 0);
  for (int32_t y = 0; y < height; y++)
    different += memcmp(crop + row * (size_t)y, pixel(frame, window.nw.x, window.nw.y + y), row * 2) != 0;
  saved->xwind(saved, NULL, 's'); /* the whole image again */
  free(crop);
  return different;
}

/* The same calls in the other scan order. */
static size_t compare_column(qvimage *saved, const camera_frame *frame, int32_t x) {
  const uint32_t height = (uint32_t)frame->size[1];
  uint16_t *column = samples_for(height * (size_t)frame->samples);
  stop_on_error(saved->ioset(saved, QVIM_YSCAN, QVIM_UINT16, (1u << frame->samples) - 1), "reading a column");
  size_t different = height - saved->ioread(saved, QVIM_YSCAN, column, height, x, 0);
  for (int32_t y = 0; y < frame->size[1]; y++)
    different += memcmp(column + y * frame->samples, pixel(frame, x, y), (size_t)frame->samples * 2) != 0;
  free(column);
  return different;
}

/* One component of a row: a mask selects it. */
static size_t compare_component(qvimage *saved, const camera_frame *frame, int32_t component, int32_t y) {
  const uint32_t width = (uint32_t)frame->size[0];
  uint16_t *values = samples_for(width);
  stop_on_error(saved->ioset(saved, QVIM_XSCAN, QVIM_UINT16, 1u << component), "reading a component");
  size_t different = width - saved->ioread(saved, QVIM_XSCAN, values, width, 0, y);
  for (int32_t x = 0; x < frame->size[0]; x++) different += values[x] != pixel(frame, x, y)[component];
  free(values);
  return different;
}

static size_t told(const char *what, size_t different, double *start) {
  printf("%-36s %s, %.2f ms\n", what, different ? "DIFFERS" : "as in the frame", now_ms() - *start);
  *start = now_ms();
  return different;
}

int main(int argc, char **argv) {
  if (argc != 3) stop("usage", "frame_to_tiff FRAME.ppm OUT.tif");
  camera_frame frame = load_frame(argv[1]);
  const int32_t width = frame.size[0], height = frame.size[1];
  const double bytes = 2.0 * width * height * frame.samples;
  printf("a frame of %d x %d pixels, %d x %d bits, %.0f bytes in memory\n", width, height, frame.samples,
         frame.bits, bytes);

  double start = now_ms();
  save(&frame, argv[2]);
  const double milliseconds = now_ms() - start;
  struct stat file;
  if (stat(argv[2], &file) != 0) stop(argv[2], "is not there");
  printf("written to %s: %.0f bytes (%.0f %%), %.2f ms, %.0f MB/s\n", argv[2], (double)file.st_size,
         100 * (double)file.st_size / bytes, milliseconds, bytes / milliseconds / 1e3);

  /* The file is an image like any other; strips are decoded as their pixels are asked for. */
  qvimage saved;
  tiffhandle *handle = NULL;
  start = now_ms();
  stop_on_error(qvimage_tiffread(&saved, NULL, &handle, argv[2], NULL, 0, 0, 0), argv[2]);
  printf("opened: %d x %d pixels, %s, %d bits, %.2f ms\n", saved.imdim.se.x, saved.imdim.se.y,
         qvimhinttostring(saved.d.pixelhint), saved.d.i_bitsused, now_ms() - start);

  start = now_ms();
  const qvywindow middle = {{width / 4, height / 4}, {width - width / 4, height - height / 4}};
  size_t different = told("every row", compare_all(&saved, &frame), &start);
  different += told("a crop, the middle", compare_crop(&saved, &frame, middle), &start);
  different += told("a column, the middle one", compare_column(&saved, &frame, width / 2), &start);
  different += told(frame.samples == 3 ? "green of the middle row" : "values of the middle row",
                    compare_component(&saved, &frame, frame.samples / 2, height / 2), &start);

  stop_on_error(qvimage_tiffreaddone(&saved, NULL, &handle), argv[2]);
  free(frame.pixels);
  return different != 0;
}
