// What the virtual machine calls when it loads and unloads the library.
#include "java/native/fields.hpp"

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM *, void *) { return JNI_VERSION_1_8; }

extern "C" JNIEXPORT void JNICALL JNI_OnUnload(JavaVM *, void *) { qvim::java::forget_fields(); }
