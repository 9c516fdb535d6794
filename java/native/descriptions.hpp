// What a record says of its image, from and to Java's objects.
#pragma once

#include <jni.h>

#include "core/dimension.hpp"

namespace qvim::java {

// Of an object that is there.
template <class Dim>
typename Dim::window window_of(JNIEnv *env, jobject window);
qvimagedata data_of(JNIEnv *env, jobject data);
qvimagehints hints_of(JNIEnv *env, jobject hints);

// Puts the record's fields into those objects of the peer that are there.
template <class Dim>
void show(JNIEnv *env, jobject peer, const record<Dim> *im);
template <class Dim>
void show_window(JNIEnv *env, jobject peer, const record<Dim> *im);

}  // namespace qvim::java
