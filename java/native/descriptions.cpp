// What a record says of its image, from and to Java's objects.
#include "java/native/descriptions.hpp"

#include "core/pixel.hpp"
#include "java/native/fields.hpp"
#include "java/native/strings.hpp"

namespace qvim::java {

namespace {

void put(JNIEnv *env, jobject to, const qvywindow &w) {
  Jqvywindow_nwx.set(env, to, w.nw.x);
  Jqvywindow_nwy.set(env, to, w.nw.y);
  Jqvywindow_sex.set(env, to, w.se.x);
  Jqvywindow_sey.set(env, to, w.se.y);
}

void put(JNIEnv *env, jobject to, const qvyzwindow &w) {
  Jqvyzwindow_nwx.set(env, to, w.nw.x);
  Jqvyzwindow_nwy.set(env, to, w.nw.y);
  Jqvyzwindow_nwz.set(env, to, w.nw.z);
  Jqvyzwindow_sex.set(env, to, w.se.x);
  Jqvyzwindow_sey.set(env, to, w.se.y);
  Jqvyzwindow_sez.set(env, to, w.se.z);
}

void put(JNIEnv *env, jobject to, const qvimagefacts &f) {
  constexpr uint8_t integer = 1, real = 2;  // of the flags
  Jqvimagefacts_pixiesize.set(env, to, f.pixiesize);
  Jqvimagefacts_pixelsize.set(env, to, f.pixelsize);
  Jqvimagefacts_pixieuint.set(env, to, (f.flags & integer) != 0);
  Jqvimagefacts_pixiereal.set(env, to, (f.flags & real) != 0);
}

// Integers have no range, reals no bits.
void put(JNIEnv *env, jobject to, const qvimagedata &described) {
  qvimagedata d = described;
  float least = 0, most = 0;
  if (is_real(d.pixietype)) {
    least = d.r_minvalue, most = d.r_maxvalue;
    d.i_bitsused = d.i_bitsxsb = 0;
    d.i_dirtyread = d.i_dirtyrite = d.i_endian = 0;
  }
  Jqvimagedata_pixietype.set(env, to, d.pixietype);
  Jqvimagedata_pixies.set(env, to, d.pixies);
  Jqvimagedata_pixelhint.set(env, to, d.pixelhint);
  Jqvimagedata_i_bitsused.set(env, to, d.i_bitsused);
  Jqvimagedata_i_bitsxsb.set(env, to, d.i_bitsxsb);
  Jqvimagedata_i_dirtyread.set(env, to, jint{d.i_dirtyread});
  Jqvimagedata_i_dirtyrite.set(env, to, jint{d.i_dirtyrite});
  Jqvimagedata_i_endian.set(env, to, jint{d.i_endian});
  Jqvimagedata_r_minvalue.set(env, to, least);
  Jqvimagedata_r_maxvalue.set(env, to, most);
}

void put(JNIEnv *env, jobject to, const qvimagehints &h) {
  Jqvimagehints_pixelwidth.set(env, to, h.pixelwidth);
  Jqvimagehints_pixelheight.set(env, to, h.pixelheight);
  Jqvimagehints_pixeldepth.set(env, to, h.pixeldepth);
  Jqvimagehints_widthunits.set(env, to, jshort{h.widthunits});
  Jqvimagehints_heightunits.set(env, to, jshort{h.heightunits});
  Jqvimagehints_depthunits.set(env, to, jshort{h.depthunits});
}

// Into the object that the peer's field holds.
template <class Part>
void put_in(JNIEnv *env, jobject peer, field &of, const Part &part) {
  const jobject to = of.object_of(env, peer);
  if (!to) return;
  put(env, to, part);
  env->DeleteLocalRef(to);
}

}  // namespace

template <>
qvywindow window_of<two_d>(JNIEnv *env, jobject w) {
  return {{Jqvywindow_nwx.int_of(env, w), Jqvywindow_nwy.int_of(env, w)},
          {Jqvywindow_sex.int_of(env, w), Jqvywindow_sey.int_of(env, w)}};
}

template <>
qvyzwindow window_of<three_d>(JNIEnv *env, jobject w) {
  return {{Jqvyzwindow_nwx.int_of(env, w), Jqvyzwindow_nwy.int_of(env, w), Jqvyzwindow_nwz.int_of(env, w)},
          {Jqvyzwindow_sex.int_of(env, w), Jqvyzwindow_sey.int_of(env, w), Jqvyzwindow_sez.int_of(env, w)}};
}

qvimagedata data_of(JNIEnv *env, jobject from) {
  qvimagedata d{};
  d.pixietype = Jqvimagedata_pixietype.int_of(env, from);
  d.pixies = Jqvimagedata_pixies.int_of(env, from);
  d.pixelhint = Jqvimagedata_pixelhint.int_of(env, from);
  if (is_real(d.pixietype)) {
    d.r_minvalue = Jqvimagedata_r_minvalue.float_of(env, from);
    d.r_maxvalue = Jqvimagedata_r_maxvalue.float_of(env, from);
    return d;
  }
  d.i_bitsused = Jqvimagedata_i_bitsused.int_of(env, from);
  d.i_bitsxsb = Jqvimagedata_i_bitsxsb.int_of(env, from);
  d.i_dirtyread = uint16_t(Jqvimagedata_i_dirtyread.int_of(env, from));
  d.i_dirtyrite = uint16_t(Jqvimagedata_i_dirtyrite.int_of(env, from));
  d.i_endian = uint16_t(Jqvimagedata_i_endian.int_of(env, from));
  return d;
}

qvimagehints hints_of(JNIEnv *env, jobject from) {
  qvimagehints h{};
  h.pixelwidth = Jqvimagehints_pixelwidth.float_of(env, from);
  h.pixelheight = Jqvimagehints_pixelheight.float_of(env, from);
  h.pixeldepth = Jqvimagehints_pixeldepth.float_of(env, from);
  h.widthunits = uint8_t(Jqvimagehints_widthunits.short_of(env, from));
  h.heightunits = uint8_t(Jqvimagehints_heightunits.short_of(env, from));
  h.depthunits = uint8_t(Jqvimagehints_depthunits.short_of(env, from));
  return h;
}

template <class Dim>
void show_window(JNIEnv *env, jobject peer, const record<Dim> *im) {
  const typename Dim::window window = im->wind;
  put_in(env, peer, peer_fields<Dim>::wind, window);
}

template <class Dim>
void show(JNIEnv *env, jobject peer, const record<Dim> *im) {
  using fields = peer_fields<Dim>;
  const typename Dim::window whole = im->imdim;
  show_window<Dim>(env, peer, im);
  put_in(env, peer, fields::imdim, whole);
  put_in(env, peer, fields::f, im->f);
  put_in(env, peer, fields::d, im->d);
  put_in(env, peer, fields::h, im->h);
  const jstring name = new_string(env, {im->devname, strnlen(im->devname, sizeof im->devname)});
  if (name) fields::devname.set(env, peer, name);
  if (name) env->DeleteLocalRef(name);
}

template void show_window<two_d>(JNIEnv *, jobject, const qvimage *);
template void show_window<three_d>(JNIEnv *, jobject, const qvimage3 *);
template void show<two_d>(JNIEnv *, jobject, const qvimage *);
template void show<three_d>(JNIEnv *, jobject, const qvimage3 *);

}  // namespace qvim::java
