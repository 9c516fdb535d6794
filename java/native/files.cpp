// Natives that open and close files, and series of files.
#include <qvimage/avi.h>
#include <qvimage/fits.h>
#include <qvimage/pgm.h>
#include <qvimage/series.h>
#include <qvimage/tiff.h>

#include "java/native/construct.hpp"
#include "java/native/natives.hpp"

using namespace qvim;
using namespace qvim::java;

namespace {

constexpr uint32_t as_far_as_possible = 0xFFFFFFFF;  // files that deviate from their format are read, too

}  // namespace

jint Java_Jqvimage3_qvimage3_1tiffseq(JNIEnv *env, jobject self, jlongArray file, jstring name) {
  return construct<three_d>(
      env, self, {"qvimage3_tiffseq", "qvimage3_tiffread"},
      [](qvimage3 *im, tiffhandle **h, const char *at) {
        return qvimage3_tiffread(im, nullptr, h, at, nullptr, 0, 0);
      },
      handle<tiffhandle>(file), path(name));
}
jint Java_Jqvimage3_qvimage3_1tiffseqdone(JNIEnv *env, jobject self, jlongArray file) {
  return construct<three_d>(
      env, self, {"qvimage3_tiffseqdone", "qvimage3_tiffreaddone"},
      [](qvimage3 *im, tiffhandle **h) { return qvimage3_tiffreaddone(im, nullptr, h); },
      handle<tiffhandle>(file));
}

// The three formats whose readers are alike.
#define QVIM_READER(format)                                                                               \
  jint Java_Jqvimage3_qvimage3_1##format##seq(JNIEnv *env, jobject self, jlongArray file, jstring name) { \
    return construct<three_d>(                                                                            \
        env, self, {"qvimage3_" #format "seq", "qvimage3_" #format "read"},                               \
        [](qvimage3 *im, format##handle **h, const char *at) {                                            \
          return qvimage3_##format##read(im, nullptr, h, at, nullptr, 0, as_far_as_possible);             \
        },                                                                                                \
        handle<format##handle>(file), path(name));                                                        \
  }                                                                                                       \
  jint Java_Jqvimage3_qvimage3_1##format##seqdone(JNIEnv *env, jobject self, jlongArray file) {           \
    return construct<three_d>(                                                                            \
        env, self, {"qvimage3_" #format "seqdone", "qvimage3_" #format "readdone"},                       \
        [](qvimage3 *im, format##handle **h) { return qvimage3_##format##readdone(im, nullptr, h); },     \
        handle<format##handle>(file));                                                                    \
  }
QVIM_READER(fits)
QVIM_READER(pgm)
QVIM_READER(avi)
#undef QVIM_READER

// Series: the handle stands before the record. The frame in memory and the colour map stay reachable.
#define QVIM_SERIES(format)                                                                           \
  jint Java_Jqvimage3_qvimage3_1buf##format##seq(                                                     \
      JNIEnv *env, jobject self, jlongArray file, jobject framebuffer, jobject lut, jstring pattern,  \
      jlong bufsize, jint first, jint last, jint writeback, jint locking) {                           \
    return construct<three_d>(                                                                        \
        env, self, "qvimage3_buf" #format "seq",                                                      \
        [](qvimage3 *im, seqhandle **h, auto &...rest) {                                              \
          return qvimage3_buf##format##seq(h, im, rest...);                                           \
        },                                                                                            \
        handle<seqhandle>(file), frame(framebuffer), frame(lut), path(pattern), bufsize, first, last, \
        writeback, locking);                                                                          \
  }                                                                                                   \
  jint Java_Jqvimage3_qvimage3_1buf##format##seqdone(JNIEnv *env, jobject self, jlongArray file) {    \
    return construct<three_d>(                                                                        \
        env, self, "qvimage3_buf" #format "seqdone",                                                  \
        [](qvimage3 *im, seqhandle **h) { return qvimage3_buf##format##seqdone(h, im); },             \
        handle<seqhandle>(file));                                                                     \
  }
using frame = source<two_d, presence::optional>;
QVIM_SERIES(jpeg)
QVIM_SERIES(pgm)
QVIM_SERIES(bin)
QVIM_SERIES(tiff)
QVIM_SERIES(bmp)
QVIM_SERIES(fits)
#undef QVIM_SERIES

jint Java_Jqvimage3_qvimage3_1buftifflutseq(JNIEnv *env, jobject self, jobject seq, jobject lut) {
  return construct<three_d>(env, self, "qvimage3_buftifflutseq", qvimage3_buftifflutseq, source<three_d>(seq),
                            frame(lut));
}
jint Java_Jqvimage3_qvimage3_1bufbmplutseq(JNIEnv *env, jobject self, jobject seq, jobject lut) {
  return construct<three_d>(env, self, "qvimage3_bufbmplutseq", qvimage3_bufbmplutseq, source<three_d>(seq),
                            frame(lut));
}
