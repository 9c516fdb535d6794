// Codes as Java's exceptions.
#include "java/native/errors.hpp"

#include <qvimage/log.h>

#include "java/native/fields.hpp"
#include "java/native/strings.hpp"

namespace qvim::java {

int32_t thrown(JNIEnv *env, int32_t code, const char *function) {
  if (code >= 0) return code;
  QVIMAGE_TRACE(function, "error", "D", &code, int{sizeof code}, static_cast<void *>(nullptr));
  const jclass type = env->FindClass("JqverrnoException");
  if (!type) return code;  // the virtual machine's own exception says so
  const jmethodID make = env->GetMethodID(type, "<init>", "(ILjava/lang/String;)V");
  forget_exception(env);
  const jstring text = make ? new_string(env, function) : nullptr;
  const jobject made = text ? env->NewObject(type, make, jint{code}, text) : nullptr;
  if (made)
    env->Throw(static_cast<jthrowable>(made));
  else if (!env->ExceptionCheck())
    env->ThrowNew(type, function);
  return code;
}

}  // namespace qvim::java
