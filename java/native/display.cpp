// Natives that make images of X11. Display, image, visual and the others are addresses and numbers of Xlib.
#include <qvimage/x11.h>

#include "java/native/construct.hpp"
#include "java/native/natives.hpp"

using namespace qvim;
using namespace qvim::java;

namespace {

// All three forms; null or 0 is what one of them has not.
jint view(JNIEnv *env, jobject self, const char *name, jobject dims, jlong display, jlong image,
          jlong drawable, jlong visual, jlong colormap, jint hint) {
  return construct<two_d>(env, self, {name, "qvimage_X11"}, qvimage_X11, extent<two_d>(dims), memory{display},
                          memory{image}, drawable, memory{visual}, colormap, hint);
}

}  // namespace

jint Java_Jqvimage_qvimage_1hDC(JNIEnv *env, jobject self, jobject dims, jlong display, jlong image,
                                jlong drawable, jlong visual, jlong colormap, jint hint) {
  return view(env, self, "qvimage_hDC", dims, display, image, drawable, visual, colormap, hint);
}
jint Java_Jqvimage_qvimage_1hXImage(JNIEnv *env, jobject self, jobject dims, jlong display, jlong image,
                                    jlong visual, jlong colormap, jint hint) {
  return view(env, self, "qvimage_hXImage", dims, display, image, 0, visual, colormap, hint);
}
jint Java_Jqvimage_qvimage_1hXDrawable(JNIEnv *env, jobject self, jobject dims, jlong display, jlong drawable,
                                       jlong visual, jlong colormap, jint hint) {
  return view(env, self, "qvimage_hXDrawable", dims, display, 0, drawable, visual, colormap, hint);
}
