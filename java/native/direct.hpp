// Natives of the package org.qvimage, beside those of the peers.
#pragma once

#include <jni.h>

namespace qvim::java {

// Registers them, where the package's jar is there. No exception is pending afterwards.
void register_direct(JNIEnv *env);

}  // namespace qvim::java
