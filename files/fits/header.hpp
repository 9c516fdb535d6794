// The header of a FITS file: what it says of its pixels, and texts beside them.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>
#include <qvimage/data.h>
#include <qvimage/fileinfo.h>
#include <qvimage/fits.h>

#include "core/owned.hpp"
#include "files/stream/handle.hpp"

namespace qvim::fits {

inline constexpr unsigned most_axes = 4;

// The layout flags of an information record.
enum layout : uint32_t {
  interleaved = 1,     // the components of a pixel stand side by side
  no_colour_axis = 2,  // images of one component have no axis for it
  no_annotations = 4,  // no cards for the meaning of axes
};

struct axis {
  uint64_t length = 0;
  double extent = 0;  // physical, in units
  uint8_t unit = 0;   // 0: none was named
  int32_t hint = 0;   // of a colour axis; 0: its name is none of a hint
};

// Texts in the order of text_members.
enum text : unsigned { date, observer, object, origin, date_obs, comment, history, texts };
inline constexpr char *qvimagefileinfo::*text_members[texts] = {
    &qvimagefileinfo::fts_date,   &qvimagefileinfo::fts_observer, &qvimagefileinfo::fts_object,
    &qvimagefileinfo::fts_origin, &qvimagefileinfo::fts_date_obs, &qvimagefileinfo::fts_comment,
    &qvimagefileinfo::fts_history};
inline constexpr const char *text_keywords[texts] = {"DATE",     "OBSERVER", "OBJECT", "ORIGIN",
                                                     "DATE_OBS", "COMMENT",  "HISTORY"};

struct header {
  int32_t bitpix = 0;
  unsigned axes = 0;
  axis axis_of[most_axes];
  double datamin = 0, datamax = 0, bzero = 0, bscale = 1;
  bool has_datamin = false, has_datamax = false;
  array<char> text_of[texts];
  unsigned observed_axis = 0;  // whose frames have observations
  uint64_t observations = 0;   // where the first of their cards stands
  uint64_t end = 0;            // where the pixels begin
};

// The roles of axes, as numbers from 0; -1: there is none. y follows x.
struct roles {
  int x = 0, colour = -1, frames = -1;
  uint32_t flags = 0;
};

// Reads all cards: 0, -2, -7, or -10 for anything but a FITS header.
[[nodiscard]] int32_t read_header(bufio &file, header *h);

// 0, or -11 for axes that are none of an image's.
[[nodiscard]] int32_t assign_roles(const header &h, bool lenient, roles *r);

// The pixels' description; offset: what is added to stored integers. 0, -10 for types that are not read, -11
// for scales and ranges that are not, which lenient readers pass over.
[[nodiscard]] int32_t describe_pixels(const header &h, const roles &r, bool lenient, qvimagedata *d,
                                      uint32_t *offset);

qvimagehints describe_size(const header &h, const roles &r);

}  // namespace qvim::fits

// The public handle type. A reader or a writer derives from it; the mark says which.
struct fitshandle : qvim::marked {
  static constexpr uint32_t reader_mark = 0x46495452, writer_mark = 0x46495457;

  using marked::marked;

  bufio file{};
};
