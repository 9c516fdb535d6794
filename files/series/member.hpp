// The formats that numbered series of files can have: how a file is opened as an image, and how one is
// written.
#pragma once

#include <pthread.h>

#include <cstdint>

#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

namespace qvim::series {

// What the frames of a series are held in.
struct frame {
  qvimage *image;
  qvimage *lut;  // of their colour maps; null: none is wanted
};

// A file that is open for reading. It closes with the object.
struct opened {
  opened() = default;
  ~opened() {
    if (close) close(*this);
  }
  opened(const opened &) = delete;
  opened &operator=(const opened &) = delete;

  qvimage image{}, palette{};
  qvimage3 frames{};  // of formats whose files hold several: the first one is `image`
  void *handle = nullptr;
  void (*close)(opened &) = nullptr;
};

struct member {
  const char *device, *lut_device;  // lut_device: null for formats without colour maps
  uint32_t identity;
  // Opens a file as an image like the frame, or as near to it as the format comes. 0 or the format's codes.
  int32_t (*read)(opened &file, const char *path, int64_t bufsize, const frame &f);
  // What a file is rewritten with; both null where there is nothing.
  int32_t (*info)(qvimagefileinfo *info, const char *path, int64_t bufsize);
  void (*info_done)(qvimagefileinfo *info);
  // Replaces or makes a file: what stood there survives a failure.
  int32_t (*write)(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info);
  // One for the process and all series of this format that ask for it.
  mutable pthread_mutex_t lock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

extern const member tiff, bmp, jpeg, fits, pgm, bin;

}  // namespace qvim::series
