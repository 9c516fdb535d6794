// Declares the natives: a definition that says something else does not compile.
#pragma once

#include <jni.h>

#define QVIM_NATIVE(name, Result, ...) \
  extern "C" JNIEXPORT Result JNICALL Java_##name(JNIEnv *, jobject __VA_OPT__(, ) __VA_ARGS__);
#include "java/native/natives.inc"
