// What the virtual machine calls when it loads and unloads the library.
#include "java/native/direct.hpp"
#include "java/native/fields.hpp"

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM *machine, void *) {
  void *env;
  if (machine->GetEnv(&env, JNI_VERSION_1_8) != JNI_OK) return JNI_ERR;
  qvim::java::register_direct(static_cast<JNIEnv *>(env));
  return JNI_VERSION_1_8;
}

extern "C" JNIEXPORT void JNICALL JNI_OnUnload(JavaVM *, void *) { qvim::java::forget_fields(); }
