// Natives that make null, no-op and memory images.
#include <qvimage/memory.h>
#include <qvimage/null.h>

#include "java/native/construct.hpp"
#include "java/native/natives.hpp"

using namespace qvim;
using namespace qvim::java;

jint Java_Jqvimage_qvimage_1defnull(JNIEnv *env, jobject self) {
  return construct<two_d>(env, self, "qvimage_defnull", [](qvimage *im) { return fail(im, 0); });
}
jint Java_Jqvimage3_qvimage3_1defnull(JNIEnv *env, jobject self) {
  return construct<three_d>(env, self, "qvimage3_defnull", [](qvimage3 *im) { return fail(im, 0); });
}

jint Java_Jqvimage_qvimage_1defnop(JNIEnv *env, jobject self, jobject imdim, jobject d, jobject h) {
  return construct<two_d>(env, self, "qvimage_defnop", qvimage_defnop, extent<two_d>(imdim), data(d),
                          hints(h));
}

jint Java_Jqvimage_qvimage_1memory(JNIEnv *env, jobject self, jlong buffer, jobject imdim, jint pitch,
                                   jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                   jint chaininfo) {
  return construct<two_d>(env, self, "qvimage_memory", qvimage_memory, memory{buffer}, extent<two_d>(imdim),
                          pitch, pixietype, bitsused, pixies, pixelhint, chaininfo);
}
jint Java_Jqvimage3_qvimage3_1memory(JNIEnv *env, jobject self, jlong buffer, jobject imdim, jint pitch,
                                     jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                     jint chaininfo) {
  return construct<three_d>(env, self, "qvimage3_memory", qvimage3_memory, memory{buffer},
                            extent<three_d>(imdim), pitch, pixietype, bitsused, pixies, pixelhint, chaininfo);
}

jint Java_Jqvimage_qvimage_1memory2(JNIEnv *env, jobject self, jlong buffer, jobject imdim, jint pitch,
                                    jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                    jint chaininfo, jint units, jfloat pixelwidth, jfloat pixelheight) {
  return construct<two_d>(env, self, "qvimage_memory2", qvimage_memory2, memory{buffer}, extent<two_d>(imdim),
                          pitch, pixietype, bitsused, pixies, pixelhint, chaininfo, units, pixelwidth,
                          pixelheight);
}
jint Java_Jqvimage3_qvimage3_1memory2(JNIEnv *env, jobject self, jlong buffer, jobject imdim, jint pitch,
                                      jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                      jint chaininfo, jint units, jint depthunits, jfloat pixelwidth,
                                      jfloat pixelheight, jfloat pixeldepth) {
  return construct<three_d>(env, self, "qvimage3_memory2", qvimage3_memory2, memory{buffer},
                            extent<three_d>(imdim), pitch, pixietype, bitsused, pixies, pixelhint, chaininfo,
                            units, depthunits, pixelwidth, pixelheight, pixeldepth);
}

jint Java_Jqvimage_qvimage_1memory3(JNIEnv *env, jobject self, jlong buffer, jlong size, jobject imdim,
                                    jint pitch, jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                    jint chaininfo, jint units, jfloat pixelwidth, jfloat pixelheight) {
  return construct<two_d>(env, self, "qvimage_memory3", qvimage_memory3, memory{buffer}, size,
                          extent<two_d>(imdim), pitch, pixietype, bitsused, pixies, pixelhint, chaininfo,
                          units, pixelwidth, pixelheight);
}
jint Java_Jqvimage3_qvimage3_1memory3(JNIEnv *env, jobject self, jlong buffer, jlong size, jobject imdim,
                                      jint pitch, jint pixietype, jint bitsused, jint pixies, jint pixelhint,
                                      jint chaininfo, jint units, jint depthunits, jfloat pixelwidth,
                                      jfloat pixelheight, jfloat pixeldepth) {
  return construct<three_d>(env, self, "qvimage3_memory3", qvimage3_memory3, memory{buffer}, size,
                            extent<three_d>(imdim), pitch, pixietype, bitsused, pixies, pixelhint, chaininfo,
                            units, depthunits, pixelwidth, pixelheight, pixeldepth);
}

jint Java_Jqvimage_qvimage_1memorydata(JNIEnv *env, jobject self, jlong buffer, jlong size, jobject imdim,
                                       jint pitch, jobject d, jobject h, jint chaininfo) {
  return construct<two_d>(env, self, {"qvimage_memorydata", "qvimage_memdata"}, qvimage_memdata,
                          memory{buffer}, size, extent<two_d>(imdim), pitch, data(d), hints(h), chaininfo);
}
jint Java_Jqvimage3_qvimage3_1memorydata(JNIEnv *env, jobject self, jlong buffer, jlong size, jobject imdim,
                                         jint pitch, jint planepitch, jobject d, jobject h, jint chaininfo) {
  return construct<three_d>(env, self, {"qvimage3_memorydata", "qvimage3_memdata"}, qvimage3_memdata,
                            memory{buffer}, size, extent<three_d>(imdim), pitch, planepitch, data(d),
                            hints(h), chaininfo);
}
