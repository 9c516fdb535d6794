// Natives that make views.
#include <qvimage/colour.h>
#include <qvimage/views.h>

#include "java/native/construct.hpp"
#include "java/native/natives.hpp"

using namespace qvim;
using namespace qvim::java;

namespace {

using source2 = source<two_d>;
using source3 = source<three_d>;

}  // namespace

jint Java_Jqvimage_qvimage_1converter(JNIEnv *env, jobject self, jobject from, jobject d, jint sharewindow,
                                      jint maskundefined, jint bits) {
  return construct<two_d>(env, self, "qvimage_converter", qvimage_converter, source2(from), data(d),
                          sharewindow, maskundefined, bits, jint{0});
}
jint Java_Jqvimage3_qvimage3_1converter(JNIEnv *env, jobject self, jobject from, jobject d, jint sharewindow,
                                        jint maskundefined, jint bits) {
  return construct<three_d>(env, self, "qvimage3_converter", qvimage3_converter, source3(from), data(d),
                            sharewindow, maskundefined, bits, jint{0});
}

jint Java_Jqvimage_qvimage_1decimate(JNIEnv *env, jobject self, jobject from, jint ignored, jint xperiod,
                                     jint yperiod, jint xphase, jint yphase) {
  return construct<two_d>(env, self, "qvimage_decimate", qvimage_decimate, source2(from), ignored, xperiod,
                          yperiod, xphase, yphase);
}

jint Java_Jqvimage_qvimage_1yodd(JNIEnv *env, jobject self, jobject from, jint sharewindow, jint selector) {
  return construct<two_d>(env, self, "qvimage_yodd", qvimage_yodd, source2(from), sharewindow, selector);
}

jint Java_Jqvimage_qvimage_1stack(JNIEnv *env, jobject self, jobject from) {
  return construct<two_d>(env, self, "qvimage_stack", qvimage_stack, source3(from));
}

jint Java_Jqvimage_qvimage_1cachemonitor(JNIEnv *env, jobject self, jobject from, jint sharewindow,
                                         jint nomapping) {
  return construct<two_d>(env, self, "qvimage_cachemonitor", qvimage_cachemonitor, source2(from), sharewindow,
                          nomapping);
}

jint Java_Jqvimage_qvimage_1def2from3(JNIEnv *env, jobject self, jobject from, jint xaxis, jint yaxis,
                                      jint plane, jint flags) {
  return construct<two_d>(env, self, "qvimage_def2from3", qvimage_def2from3, source3(from), xaxis, yaxis,
                          plane, flags);
}
jint Java_Jqvimage3_qvimage_1def3from2(JNIEnv *env, jobject self, jobject from, jint sharewindow) {
  return construct<three_d>(env, self, "qvimage_def3from2", qvimage_def3from2, source2(from), sharewindow);
}
jint Java_Jqvimage3_qvimage3_1def3from3(JNIEnv *env, jobject self, jobject from, jint frameoffset,
                                        jint reserved1, jint reserved2, jint sharewindow) {
  return construct<three_d>(env, self, "qvimage3_def3from3", qvimage3_def3from3, source3(from), frameoffset,
                            reserved1, reserved2, sharewindow);
}

jint Java_Jqvimage_qvimage_1rotate(JNIEnv *env, jobject self, jobject from, jint sharewindow, jint flags) {
  return construct<two_d>(env, self, {"qvimage_rotate", "qvimage_rotate_filt"}, qvimage_rotate_filt,
                          source2(from), sharewindow, flags);
}

jint Java_Jqvimage_qvimage_1lut(JNIEnv *env, jobject self, jobject from, jint sharewindow, jlong r0, jlong r1,
                                jlong r2, jlong r3, jlong w0, jlong w1, jlong w2, jlong w3, jint pixies,
                                jint pixelhint, jint flags) {
  return construct<two_d>(env, self, {"qvimage_lut", "qvimage_lut2a"}, qvimage_lut2a, source2(from),
                          sharewindow, memory{r0}, memory{r1}, memory{r2}, memory{r3}, memory{w0}, memory{w1},
                          memory{w2}, memory{w3}, pixies, pixelhint, jint{0}, flags);
}
jint Java_Jqvimage3_qvimage3_1lut(JNIEnv *env, jobject self, jobject from, jint sharewindow, jlong r0,
                                  jlong r1, jlong r2, jlong r3, jlong w0, jlong w1, jlong w2, jlong w3,
                                  jint pixies, jint pixelhint) {
  return construct<three_d>(env, self, {"qvimage3_lut", "qvimage_lut3a"}, qvimage_lut3a, source3(from),
                            sharewindow, memory{r0}, memory{r1}, memory{r2}, memory{r3}, memory{w0},
                            memory{w1}, memory{w2}, memory{w3}, pixies, pixelhint, jint{0});
}

jint Java_Jqvimage_qvimage_1lutconvert(JNIEnv *env, jobject self, jobject from, jint entries, jint decimate) {
  return construct<two_d>(env, self, "qvimage_lutconvert", qvimage_lutconvert, source2(from), entries,
                          decimate);
}

jint Java_Jqvimage_qvimage_1Beyer4(JNIEnv *env, jobject self, jobject from, jint mode, jint phase) {
  return construct<two_d>(env, self, {"qvimage_Beyer4", "qvimage_Beyer4_filter"}, qvimage_Beyer4_filter,
                          source2(from), mode, phase);
}
jint Java_Jqvimage3_qvimage3_1Beyer4(JNIEnv *env, jobject self, jobject from, jint mode, jint phase) {
  return construct<three_d>(env, self, {"qvimage3_Beyer4", "qvimage3_Beyer4_filter"}, qvimage3_Beyer4_filter,
                            source3(from), mode, phase);
}

jint Java_Jqvimage_qvimage_1colorslice(JNIEnv *env, jobject self, jobject from, jint mode, jint mask,
                                       jint reserved) {
  return construct<two_d>(env, self, "qvimage_colorslice", qvimage_colorslice, source2(from), mode, mask,
                          reserved);
}
jint Java_Jqvimage3_qvimage3_1colorslice(JNIEnv *env, jobject self, jobject from, jint mode, jint mask,
                                         jint reserved) {
  return construct<three_d>(env, self, "qvimage3_colorslice", qvimage3_colorslice, source3(from), mode, mask,
                            reserved);
}

jint Java_Jqvimage_qvimage_1colorconverter(JNIEnv *env, jobject self, jobject from, jint hint, jint mode) {
  return construct<two_d>(env, self, "qvimage_colorconverter", qvimage_colorconverter, source2(from), hint,
                          mode);
}
jint Java_Jqvimage3_qvimage3_1colorconverter(JNIEnv *env, jobject self, jobject from, jint hint, jint mode) {
  return construct<three_d>(env, self, "qvimage3_colorconverter", qvimage3_colorconverter, source3(from),
                            hint, mode);
}
