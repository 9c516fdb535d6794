// The calls by which files of frames are written, a frame at a time or whole images at once, for every
// format. A format's writer is what its handle stands for; its request has a path, and an fopenmode or null:
//
//   plan(image, request)        what the file is to be, from its first frame; nothing is touched yet
//   open(request, way)          opens the file and writes its head
//   add(told, frame, how...)    writes a frame
//   end(code)                   keeps the file, or, when the code is not 0, takes back what was done;
//                               answers the worst code of all
#pragma once

#include <cstdint>

#include <qvimage/error.h>

#include "core/owned.hpp"
#include "core/progress.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/rows/planes.hpp"
#include "files/stream/handle.hpp"
#include "files/stream/output_file.hpp"

namespace qvim {

template <class Writer, class Handle, class Request>
int32_t open_for_frames(Handle **h, const qvimage *image, const Request &r) {
  const public_call door;
  if (!h || *h || !image || !r.path)
    return door.result(because(QVERR_USAGE, {"an image, a path and a place for the handle are needed"}));
  auto writer = make_owned<Writer>();
  int32_t code = writer ? writer->plan(*image, r) : int32_t{QVERR_MEMORY};
  if (code == 0) code = writer->open(r, output_file::way::itself);
  if (code == 0) *h = writer.release();
  return door.result(code);
}

template <class Writer, class Handle, class... How>
int32_t add_frame(Handle **h, qvimagecallback callback, qvimage *frame, const How &...how) {
  const public_call door;
  Writer *writer;
  int32_t code = behind(h, &writer);
  if (code == 0 && !frame) code = because(QVERR_USAGE, {"no frame"});
  if (code == 0) code = writer->add(progress(callback), *frame, how...);
  return door.result(code);
}

template <class Writer, class Handle>
int32_t end_frames(Handle **h) {
  const public_call door;
  Writer *writer;
  if (const int32_t code = behind(h, &writer); code < 0) return door.result(code);
  const int32_t code = writer->end(0);
  return door.result(worst(code, release<Writer>(h)));
}

template <class Writer, class Record, class Request, class... How>
int32_t write_file(qvimagecallback callback, Record *image, const Request &r, const How &...how) {
  const public_call door;
  if (!image || !r.path) return door.result(because(QVERR_USAGE, {image ? "no path" : "no image"}));
  auto writer = make_owned<Writer>();
  if (!writer) return door.result(int32_t{QVERR_MEMORY});
  int32_t code = with_first_plane(*image, [&](const qvimage &first) { return writer->plan(first, r); });
  if (code == 0) code = writer->open(r, r.fopenmode ? output_file::way::itself : output_file::way::beside);
  if (code < 0) return door.result(code);
  const auto add = [&](qvimage &frame, const progress &told, int32_t) {
    return writer->add(told, frame, how...);
  };
  return door.result(writer->end(for_each_plane(*image, progress(callback), add)));
}

}  // namespace qvim
