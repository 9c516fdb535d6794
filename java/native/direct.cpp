#include "java/native/direct.hpp"

#include <iterator>

#include <qvimage/error.h>

namespace qvim::java {

namespace {

jstring JNICALL version(JNIEnv *env, jclass) { return env->NewStringUTF(QVIM_VERSION); }

// Reasons may quote what stands in a file. Bytes that are no ASCII become question marks: NewStringUTF does
// not take them as they come.
jstring JNICALL reason(JNIEnv *env, jclass) {
  char text[QVIM_REASON_SIZE];
  char *to = text;
  for (const char *from = qvimage_reason(); *from != 0; from++)
    *to++ = static_cast<unsigned char>(*from) < 0x80 ? *from : '?';
  *to = 0;
  return env->NewStringUTF(text);
}

jlong JNICALL address(JNIEnv *env, jclass, jobject buffer) {
  return buffer == nullptr ? 0 : reinterpret_cast<jlong>(env->GetDirectBufferAddress(buffer));
}

template <class Function>
constexpr JNINativeMethod method(const char *name, const char *signature, Function *function) {
  return {const_cast<char *>(name), const_cast<char *>(signature), reinterpret_cast<void *>(function)};
}

}  // namespace

void register_direct(JNIEnv *env) {
  const JNINativeMethod methods[] = {
      method("version", "()Ljava/lang/String;", version),
      method("reason", "()Ljava/lang/String;", reason),
      method("address", "(Ljava/nio/ByteBuffer;)J", address),
      method("open", "([BIIJ[J)I", open_file),
      method("close", "(J[J)I", close_file),
      method("move", "(Ljava/lang/Object;JIZZIIIIIIILjava/lang/Object;Ljava/nio/ByteBuffer;J)J",
             move_rectangle),
  };
  const jclass direct = env->FindClass("org/qvimage/Direct");
  if (direct != nullptr) env->RegisterNatives(direct, methods, static_cast<jint>(std::size(methods)));
  env->ExceptionClear();  // no such class, or one of another version, which finds out by itself
}

}  // namespace qvim::java
