// Natives of the package org.qvimage, beside those of the peers: none yet.
#include "java/native/direct.hpp"

namespace qvim::java {

void register_direct(JNIEnv *) {}

}  // namespace qvim::java
