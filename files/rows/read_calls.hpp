// The calls by which files are opened for reading, told of and closed, for every format. A format's reader is
// what its handle stands for:
//
//   open(how...)                reads the file's head
//   present_on(image, second)   makes images of it, which read from it
//   fill(info, which...)        tells of the file, or of one of its frames; clears the record on failure
#pragma once

#include <cstdint>

#include <qvimage/error.h>
#include <qvimage/fileinfo.h>

#include "core/null.hpp"
#include "core/owned.hpp"
#include "core/reason.hpp"
#include "files/rows/information.hpp"
#include "files/stream/handle.hpp"

namespace qvim {

// Both images are null images unless reading makes them more.
template <class Reader, class Record, class Handle, class... How>
int32_t read_file(Record *image, qvimage *second, Handle **h, const How &...how) {
  const public_call door;
  qvimage_defnull(second);
  if (!image) return door.result(because(QVERR_USAGE, {"no record"}));
  if (!h || *h) return door.result(fail(image, because(QVERR_USAGE, {"no place for the handle"})));
  auto reader = make_owned<Reader>();
  int32_t code = reader ? reader->open(how...) : int32_t{QVERR_MEMORY};
  if (code == 0) code = reader->present_on(image, second);
  if (code < 0) return door.result(fail(image, code));
  *h = reader.release();
  return door.result(0);
}

// Leaves the reason of what went wrong before.
template <class Reader, class Record, class Handle>
int32_t end_reading(Record *image, qvimage *second, Handle **h) {
  if (image) fail(image, 0);
  qvimage_defnull(second);
  return release<Reader>(h);
}

template <class Reader, class Handle, class... Which>
int32_t info_of_handle(Handle *h, qvimagefileinfo *info, const Which &...which) {
  const public_call door;
  Reader *reader;
  if (const int32_t code = behind(h, &reader); code < 0) return door.result(code);
  if (!info) return door.result(because(QVERR_USAGE, {"no record for the information"}));
  return door.result(reader->fill(info, which...));
}

template <class Reader, class... How>
int32_t info_of_file(qvimagefileinfo *info, const How &...how) {
  const public_call door;
  if (!info) return door.result(because(QVERR_USAGE, {"no record for the information"}));
  clear(*info);
  auto reader = make_owned<Reader>();
  const int32_t code = reader ? reader->open(how...) : int32_t{QVERR_MEMORY};
  return door.result(code < 0 ? code : reader->fill(info));
}

}  // namespace qvim
