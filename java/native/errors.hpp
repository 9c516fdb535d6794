// Codes as Java's exceptions.
#pragma once

#include <jni.h>

#include <cstdint>

namespace qvim::java {

// Leaves an exception of this code pending if it is one of an error, and passes the code on.
int32_t thrown(JNIEnv *env, int32_t code, const char *function);

}  // namespace qvim::java
