// Texts from and to Java.
#include "java/native/strings.hpp"

#include <cstring>

#include <qvimage/error.h>

#include "java/native/fields.hpp"

namespace qvim::java {

jstring new_string(JNIEnv *env, std::string_view text) {
  constexpr jchar unknown = 0xFFFD;
  array<jchar> units;
  if (!units.allocate(text.size())) return nullptr;
  for (size_t i = 0; i < text.size(); i++) units[i] = uint8_t(text[i]) < 0x80 ? jchar(text[i]) : unknown;
  const jstring made = env->NewString(units.data(), jsize(text.size()));
  forget_exception(env);
  return made;
}

namespace {

// References that are made while it lives go with it.
class local_frame {
 public:
  explicit local_frame(JNIEnv *env) : env_(env), pushed_(env->PushLocalFrame(references) == 0) {
    forget_exception(env);
  }
  ~local_frame() {
    if (pushed_) env_->PopLocalFrame(nullptr);
  }
  local_frame(const local_frame &) = delete;
  local_frame &operator=(const local_frame &) = delete;
  explicit operator bool() const { return pushed_; }

 private:
  static constexpr jint references = 8;
  JNIEnv *env_;
  bool pushed_;
};

// What Java's own functions answer; null after an exception.
template <class... Arguments>
jobject call(JNIEnv *env, jobject o, const char *name, const char *type, Arguments... arguments) {
  const jmethodID method = env->GetMethodID(env->GetObjectClass(o), name, type);
  const jobject answer = method ? env->CallObjectMethod(o, method, arguments...) : nullptr;
  if (!env->ExceptionCheck()) return answer;
  env->ExceptionClear();
  return nullptr;
}

jstring system_encoding(JNIEnv *env) {
  const jclass system = env->FindClass("java/lang/System");
  const jmethodID get =
      system ? env->GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;")
             : nullptr;
  const jstring key = get ? new_string(env, "sun.jnu.encoding") : nullptr;
  const jobject answer = key ? env->CallStaticObjectMethod(system, get, key) : nullptr;
  forget_exception(env);
  return static_cast<jstring>(answer);
}

// The text's bytes in an encoding, if they are all there is to say: turned back they are the text.
jbyteArray encoded(JNIEnv *env, jstring text, jstring encoding) {
  if (!encoding) return nullptr;
  const auto bytes = static_cast<jbyteArray>(call(env, text, "getBytes", "(Ljava/lang/String;)[B", encoding));
  if (!bytes) return nullptr;
  const jclass type = env->GetObjectClass(text);
  const jmethodID make = env->GetMethodID(type, "<init>", "([BLjava/lang/String;)V");
  const jobject again = make ? env->NewObject(type, make, bytes, encoding) : nullptr;
  forget_exception(env);
  const jmethodID equals = again ? env->GetMethodID(type, "equals", "(Ljava/lang/Object;)Z") : nullptr;
  const bool same = equals && env->CallBooleanMethod(text, equals, again);
  forget_exception(env);
  return same ? bytes : nullptr;
}

}  // namespace

void system_string::take(JNIEnv *env, jstring text) {
  if (!text) return;
  const local_frame frame(env);
  if (!frame) return refuse(QVERR_MEMORY, "no room for references");
  jbyteArray bytes = encoded(env, text, system_encoding(env));
  if (!bytes) bytes = encoded(env, text, new_string(env, "UTF-8"));
  if (!bytes) return refuse(QVERR_USAGE, "half a character in a text");
  const jsize length = env->GetArrayLength(bytes);
  if (!bytes_.allocate(uint64_t(length) + 1)) return refuse(QVERR_MEMORY, "no memory for a text");
  env->GetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte *>(bytes_.data()));
  forget_exception(env);
  bytes_[uint64_t(length)] = '\0';
  if (std::strlen(bytes_.data()) != size_t(length)) refuse(QVERR_USAGE, "a NUL inside a text");
}

}  // namespace qvim::java
