// Null and no-op images.
#include "core/null.hpp"

#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/null.h>

#include "core/kind.hpp"
#include "core/record.hpp"

namespace {

using namespace qvim;

template <class Record>
uint32_t null_aeiou(Record *, uint32_t code, int32_t, int32_t, void *) {
  return code == 'B' ? longest_list : code == 'I' ? 0xFFFFFFFFu : 0;
}

template <class Dim>
void *null_xwind(record<Dim> *im, typename Dim::window *window, int32_t letter) {
  if (letter == 's') return im;
  if (letter == 'w' || letter == 'i') {
    auto *field = letter == 'w' ? &im->wind : &im->imdim;
    if (window) std::memmove(window, field, sizeof *window);
    return field;
  }
  return nullptr;
}

int32_t no_mapping(qvimagemap *map) {
  if (map) map->count = 0;
  return 0;
}

template <class Dim>
void make_safe(record<Dim> *im) {
  clear_transfers<Dim>(im);
  im->ioset = nops<Dim>::ioset;
  im->bxts = nops<Dim>::bxts;
  im->imapset = nops<Dim>::imapset;
  im->aeiou = null_aeiou<record<Dim>>;
  im->xwind = null_xwind<Dim>;
}

template <class Dim>
void make_null(record<Dim> *im, const char *name) {
  if (!im) return;
  std::memset(static_cast<void *>(im), 0, sizeof *im);
  set_device_name(im, name);
  make_safe<Dim>(im);
}

// A null-windowed record moves nothing, but a valid window can be set again.
template <class Dim>
void make_null_windowed(record<Dim> *im) {
  std::memset(static_cast<void *>(&im->wind), 0, sizeof im->wind);
  clear_transfers<Dim>(im);
  im->ioset = nops<Dim>::ioset;
  im->bxts = nops<Dim>::bxts;
  im->imapset = nops<Dim>::imapset;
}

}  // namespace

extern "C" {

#define QVIM_NOPS(twin, Record, ...)                                                                 \
  uint32_t twin##nopio(Record *, uint32_t, void *, uint32_t, __VA_ARGS__) { return 0; }              \
  int32_t twin##nopiowait(Record *, uint32_t, void *) { return 1; }                                  \
  int32_t twin##nopioset(Record *, uint32_t, uint32_t, uint32_t) { return 0; }                       \
  uint32_t twin##nopiolen(Record *, uint32_t, __VA_ARGS__) { return 0; }                             \
  int32_t twin##nopbxts(Record *, uint32_t, uint32_t, uint32_t) { return 0; }                        \
  uint32_t twin##nopbxtp(Record *, uint32_t, void *, qvxyzcoord *, uint32_t, uint32_t) { return 0; } \
  uint32_t twin##nopbxta(Record *, uint32_t, void *, qvxyzcoord *, uint32_t, uint32_t) { return 0; } \
  int32_t twin##nopbxtw(Record *, uint32_t, void *, qvxyzcoord *, uint32_t, uint32_t) { return 1; }  \
  int32_t twin##nopimapset(Record *, uint32_t, uint32_t, uint32_t) { return QVERR_UNSUPPORTED; }     \
  int32_t twin##nopimap(Record *, qvimagemap *map, __VA_ARGS__) { return no_mapping(map); }          \
  int32_t twin##nopimapr(Record *, qvimagemap *map) { return no_mapping(map); }
QVIM_NOPS(qvim, qvimage, int32_t, int32_t)
QVIM_NOPS(qvim3, qvimage3, int32_t, int32_t, int32_t)

void qvimage_defnull(qvimage *image) { make_null<two_d>(image, "NULL2"); }
void qvimage3_defnull(qvimage3 *image) { make_null<three_d>(image, "NULL3"); }

int32_t qvimage_defnop(qvimage *image, const int32_t imdim[2], const qvimagedata *data,
                       const qvimagehints *hints) {
  if (!image) return QVERR_USAGE;
  // Through a copy: the arguments may lie in the record.
  qvimage built;
  qvimage_defnull(&built);
  if (imdim) built.wind.se = built.imdim.se = {imdim[0], imdim[1]};
  if (data) {
    built.d = *data;
    qviminitfacts(&built.f, &built.d);
  }
  if (hints) built.h = *hints;
  std::memcpy(static_cast<void *>(image), &built, sizeof built);
  return 0;
}

void qvimnullsafe(qvimage *image) { make_safe<two_d>(image); }
void qvim3nullsafe(qvimage3 *image) { make_safe<three_d>(image); }

void qvimnullwind(qvimage *image) {
  make_null_windowed<two_d>(image);
  std::memset(image->wind_zero, 0, sizeof image->wind_zero);
}
void qvim3nullwind(qvimage3 *image) { make_null_windowed<three_d>(image); }

}  // extern "C"
