// Natives of the class org.qvimage.Direct, which are registered rather than exported. The comments of the
// class say what each does.
#pragma once

#include <jni.h>

namespace qvim::java {

// Does nothing where the class is not there: programs may use the peers alone.
void register_direct(JNIEnv *env);

jint JNICALL open_file(JNIEnv *, jclass, jbyteArray path, jint dimensions, jint page, jlong record,
                       jlongArray handle);
jint JNICALL close_file(JNIEnv *, jclass, jlong record, jlongArray handle);

jlong JNICALL move_rectangle(JNIEnv *, jclass, jobject peer, jlong record, jint dimensions, jboolean write,
                             jboolean pinned, jint type, jint mask, jint x, jint y, jint z, jint width,
                             jint height, jobject array, jobject buffer, jlong offset);

}  // namespace qvim::java
