// Files of any format, found by their first bytes.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include <qvimage/alloc.h>
#include <qvimage/avi.h>
#include <qvimage/bmp.h>
#include <qvimage/bufio.h>
#include <qvimage/error.h>
#include <qvimage/fits.h>
#include <qvimage/jpeg.h>
#include <qvimage/pgm.h>
#include <qvimage/tiff.h>

#include "core/owned.hpp"
#include "core/reason.hpp"
#include "java/native/direct.hpp"
#include "qvimage/cxx/formats.hpp"

namespace qvim::java {

namespace {

constexpr uint32_t all_leniencies = ~0u;  // files that deviate open, too: they are to be looked at
constexpr uint32_t red_first = 1, no_compression = 0, is_picture = 0, is_icon = 1;

// A way to open a format: a page or all of them. The record has so many dimensions, the handle is one of the
// format.
struct way {
  qv::format format;
  int dimensions;
  int32_t (*open)(void *record, void **handle, const char *path, uint32_t page);
  int32_t (*close)(void *record, void **handle);
};

// Calls a function that opens a picture which is its file's only one.
template <class Read>
int32_t only_page(uint32_t page, Read read) {
  return page == 0 ? read()
                   : because(QVERR_FORMAT, {"there is no page ", int64_t(page) + 1, "; the file has 1"});
}

// A function of a format with its handle and record in the types that it has.
template <class Image, class Handle, class Call>
int32_t with(void *record, void **handle, Call call) {
  auto *opened = static_cast<Handle *>(*handle);
  const int32_t code = call(static_cast<Image *>(record), &opened);
  *handle = opened;
  return code;
}

template <auto Done, class Image, class Handle, class... Between>
int32_t close_as(void *record, void **handle) {
  return with<Image, Handle>(record, handle,
                             [](Image *image, Handle **h) { return Done(image, Between{}..., h); });
}
using no_palette = std::nullptr_t;

constexpr way ways[] = {
    {qv::format::tiff, 2,
     [](void *record, void **handle, const char *path, uint32_t page) {
       return with<qvimage, tiffhandle>(record, handle, [&](auto *image, auto **h) {
         return qvimage_tiffread(image, nullptr, h, path, nullptr, 0, page, 0);
       });
     },
     close_as<qvimage_tiffreaddone, qvimage, tiffhandle, no_palette>},
    {qv::format::tiff, 3,
     [](void *record, void **handle, const char *path, uint32_t) {
       return with<qvimage3, tiffhandle>(record, handle, [&](auto *image, auto **h) {
         return qvimage3_tiffread(image, nullptr, h, path, nullptr, 0, 0);
       });
     },
     close_as<qvimage3_tiffreaddone, qvimage3, tiffhandle, no_palette>},
    {qv::format::jpeg, 2,
     [](void *record, void **handle, const char *path, uint32_t page) {
       return with<qvimage, jpegcontext>(record, handle, [&](auto *image, auto **h) {
         return only_page(page, [&] { return qvimage_jpegread(image, h, path, nullptr, 0, nullptr); });
       });
     },
     close_as<qvimage_jpegreaddone, qvimage, jpegcontext>},
    {qv::format::pnm, 3,
     [](void *record, void **handle, const char *path, uint32_t) {
       return with<qvimage3, pgmhandle>(record, handle, [&](auto *image, auto **h) {
         return qvimage3_pgmread(image, nullptr, h, path, nullptr, 0, all_leniencies);
       });
     },
     close_as<qvimage3_pgmreaddone, qvimage3, pgmhandle, no_palette>},
    {qv::format::bmp, 2,
     [](void *record, void **handle, const char *path, uint32_t page) {
       return with<qvimage, bmphandle>(record, handle, [&](auto *image, auto **h) {
         return only_page(page, [&] {
           return qvimage_bmpread(image, nullptr, h, path, nullptr, 0, red_first, no_compression, is_picture);
         });
       });
     },
     close_as<qvimage_bmpreaddone, qvimage, bmphandle, no_palette>},
    {qv::format::ico, 2,
     [](void *record, void **handle, const char *path, uint32_t page) {
       return with<qvimage, bmphandle>(record, handle, [&](auto *image, auto **h) {
         return only_page(page, [&] {
           return qvimage_bmpread(image, nullptr, h, path, nullptr, 0, red_first, no_compression, is_icon);
         });
       });
     },
     close_as<qvimage_bmpreaddone, qvimage, bmphandle, no_palette>},
    {qv::format::fits, 3,
     [](void *record, void **handle, const char *path, uint32_t) {
       return with<qvimage3, fitshandle>(record, handle, [&](auto *image, auto **h) {
         return qvimage3_fitsread(image, nullptr, h, path, nullptr, 0, all_leniencies);
       });
     },
     close_as<qvimage3_fitsreaddone, qvimage3, fitshandle, no_palette>},
    {qv::format::avi, 3,
     [](void *record, void **handle, const char *path, uint32_t) {
       return with<qvimage3, avihandle>(record, handle, [&](auto *image, auto **h) {
         return qvimage3_aviread(image, nullptr, h, path, nullptr, 0, all_leniencies);
       });
     },
     close_as<qvimage3_avireaddone, qvimage3, avihandle, no_palette>},
};

// The way to open a format with so many dimensions, or with as many as it has.
const way *find_way(qv::format format, int dimensions) {
  const way *found = nullptr;
  for (const way &each : ways) {
    if (each.format == format && (found == nullptr || each.dimensions == dimensions)) found = &each;
  }
  return found;
}

// The format of a file, or null with the code of what went wrong.
const qv::format_sign *format_of(const char *path, int32_t &code) {
  bufio file;
  code = bufio_init(&file, path, "rb", 0, 0);
  if (code < 0) return nullptr;
  char head[qv::signature_bytes];
  const uint64_t length = std::min<uint64_t>(file.filelen, sizeof head);
  bufio_io(&file, head, length, 'r');
  code = bufio_err(&file);
  bufio_done(&file);
  if (code < 0) return nullptr;
  const qv::format_sign *found = qv::format_of_content({head, size_t(length)});
  if (found == nullptr)
    code = because(QVERR_FORMAT,
                   {length == 0 ? "the file is empty" : "its first bytes are those of no known format"});
  return found;
}

// Opens the file; `opened` receives its handle and the number of the way it was opened.
int32_t open_by_content(const char *path, int dimensions, uint32_t page, void *record, jlong opened[2]) {
  int32_t code = 0;
  const qv::format_sign *sign = format_of(path, code);
  if (sign == nullptr) return code;
  const way *chosen = find_way(sign->id, dimensions);
  void *handle = nullptr;
  code = chosen->open(record, &handle, path, page);
  if (code < 0) return code;
  opened[0] = reinterpret_cast<jlong>(handle);
  opened[1] = chosen - ways;
  return chosen->dimensions;
}

}  // namespace

jint JNICALL open_file(JNIEnv *env, jclass, jbyteArray path, jint dimensions, jint page, jlong record,
                       jlongArray handle) {
  public_call call;
  if (path == nullptr || handle == nullptr || env->GetArrayLength(handle) < 2 || record == 0 || page < 0)
    return call.result(QVERR_USAGE);
  const jsize length = env->GetArrayLength(path);
  array<char> name;
  if (!name.allocate(size_t(length) + 1)) return call.result(QVERR_MEMORY);
  env->GetByteArrayRegion(path, 0, length, reinterpret_cast<jbyte *>(name.data()));
  name[size_t(length)] = 0;
  if (std::strlen(name.data()) != size_t(length))
    return call.result(because(QVERR_USAGE, {"the path holds a zero byte"}));
  jlong opened[2];
  const int32_t code =
      open_by_content(name.data(), dimensions, uint32_t(page), reinterpret_cast<void *>(record), opened);
  if (code > 0) env->SetLongArrayRegion(handle, 0, 2, opened);
  return call.result(code);
}

jint JNICALL close_file(JNIEnv *env, jclass, jlong record, jlongArray handle) {
  jlong opened[2] = {};
  if (handle == nullptr || env->GetArrayLength(handle) < 2) return QVERR_USAGE;
  env->GetLongArrayRegion(handle, 0, 2, opened);
  if (opened[0] == 0 || opened[1] < 0 || opened[1] >= jlong(std::size(ways))) return 0;
  void *closed = reinterpret_cast<void *>(opened[0]);
  const int32_t code = ways[opened[1]].close(reinterpret_cast<void *>(record), &closed);
  opened[0] = 0;
  env->SetLongArrayRegion(handle, 0, 1, opened);
  return code;
}

}  // namespace qvim::java
