// Calls every native of the Java classes while an exception is pending.
#include <cstdio>

#include "java/native/natives.hpp"

namespace {

template <class Result, class... Arguments>
void call(JNIEnv *env, Result (*native)(JNIEnv *, jobject, Arguments...)) {
  native(env, nullptr, Arguments{}...);
}

// Is the exception still there after the native? The virtual machine warns of whatever else it calls.
template <class Native>
int left_alone(JNIEnv *env, jthrowable pending, Native *native) {
  env->Throw(pending);
  call(env, native);
  const jthrowable after = env->ExceptionOccurred();
  env->ExceptionClear();
  const bool same = env->IsSameObject(pending, after);
  env->DeleteLocalRef(after);
  return same;
}

}  // namespace

extern "C" JNIEXPORT jint JNICALL Java_AbuseTest_callAll(JNIEnv *env, jclass) {
  const jclass type = env->FindClass("AbuseTest$Wanted");
  const jmethodID make = type ? env->GetMethodID(type, "<init>", "()V") : nullptr;
  const auto pending = make ? static_cast<jthrowable>(env->NewObject(type, make)) : nullptr;
  if (env->ExceptionCheck()) return 0;
  int count = 0;
#define QVIM_NATIVE(name, ...) count += left_alone(env, pending, Java_##name);
#include "java/native/natives.inc"
  return count;
}
