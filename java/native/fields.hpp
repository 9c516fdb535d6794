// The fields of the Java classes. Their ids are looked up once and hold for as long as the library is loaded,
// which is no longer than the classes are.
#pragma once

#include <jni.h>

#include <atomic>

#include "core/dimension.hpp"

namespace qvim::java {

// No exception is pending afterwards, whatever the call before this left.
inline void forget_exception(JNIEnv *env) {
  if (env->ExceptionCheck()) env->ExceptionClear();
}

class field {
 public:
  constexpr field(const char *owner, const char *name, const char *type)
      : owner_(owner), name_(name), type_(type) {}
  field(const field &) = delete;
  field &operator=(const field &) = delete;

  // Null where the class has no such field.
  jfieldID id(JNIEnv *env) {
    const jfieldID known = id_.load(std::memory_order_relaxed);
    return known ? known : find(env);
  }
  void forget() { id_.store(nullptr, std::memory_order_relaxed); }

  // What a field holds; nothing where there is no object or no such field.
  jlong long_of(JNIEnv *env, jobject o) { return has(env, o) ? env->GetLongField(o, id(env)) : 0; }
  jint int_of(JNIEnv *env, jobject o) { return has(env, o) ? env->GetIntField(o, id(env)) : 0; }
  jshort short_of(JNIEnv *env, jobject o) { return has(env, o) ? env->GetShortField(o, id(env)) : jshort{}; }
  jfloat float_of(JNIEnv *env, jobject o) { return has(env, o) ? env->GetFloatField(o, id(env)) : 0; }
  jobject object_of(JNIEnv *env, jobject o) {
    return has(env, o) ? env->GetObjectField(o, id(env)) : nullptr;
  }

  void set(JNIEnv *env, jobject o, jint value) {
    if (has(env, o)) env->SetIntField(o, id(env), value);
  }
  void set(JNIEnv *env, jobject o, jshort value) {
    if (has(env, o)) env->SetShortField(o, id(env), value);
  }
  void set(JNIEnv *env, jobject o, jfloat value) {
    if (has(env, o)) env->SetFloatField(o, id(env), value);
  }
  void set(JNIEnv *env, jobject o, bool value) {
    if (has(env, o)) env->SetBooleanField(o, id(env), value);
  }
  void set(JNIEnv *env, jobject o, jobject value) {
    if (has(env, o)) env->SetObjectField(o, id(env), value);
  }

 private:
  bool has(JNIEnv *env, jobject o) { return o && id(env); }
  jfieldID find(JNIEnv *env);

  const char *owner_, *name_, *type_;
  std::atomic<jfieldID> id_ = nullptr;
};

#define QVIM_PEER_FIELDS(FIELD, Class, peer, Window) \
  FIELD(Class, peer, "J")                            \
  FIELD(Class, imdim, "L" #Window ";")               \
  FIELD(Class, wind, "L" #Window ";")                \
  FIELD(Class, d, "LJqvimagedata;")                  \
  FIELD(Class, f, "LJqvimagefacts;")                 \
  FIELD(Class, h, "LJqvimagehints;")                 \
  FIELD(Class, devname, "Ljava/lang/String;")        \
  FIELD(Class, filter, "[Ljava/lang/Object;")

#define QVIM_FIELDS(FIELD)                                   \
  QVIM_PEER_FIELDS(FIELD, Jqvimage, peeradrs, Jqvywindow)    \
  QVIM_PEER_FIELDS(FIELD, Jqvimage3, peer3adrs, Jqvyzwindow) \
  FIELD(Jqvywindow, nwx, "I")                                \
  FIELD(Jqvywindow, nwy, "I")                                \
  FIELD(Jqvywindow, sex, "I")                                \
  FIELD(Jqvywindow, sey, "I")                                \
  FIELD(Jqvyzwindow, nwx, "I")                               \
  FIELD(Jqvyzwindow, nwy, "I")                               \
  FIELD(Jqvyzwindow, nwz, "I")                               \
  FIELD(Jqvyzwindow, sex, "I")                               \
  FIELD(Jqvyzwindow, sey, "I")                               \
  FIELD(Jqvyzwindow, sez, "I")                               \
  FIELD(Jqvimagedata, pixietype, "I")                        \
  FIELD(Jqvimagedata, pixies, "I")                           \
  FIELD(Jqvimagedata, pixelhint, "I")                        \
  FIELD(Jqvimagedata, i_bitsused, "I")                       \
  FIELD(Jqvimagedata, i_bitsxsb, "I")                        \
  FIELD(Jqvimagedata, i_dirtyread, "I")                      \
  FIELD(Jqvimagedata, i_dirtyrite, "I")                      \
  FIELD(Jqvimagedata, i_endian, "I")                         \
  FIELD(Jqvimagedata, r_minvalue, "F")                       \
  FIELD(Jqvimagedata, r_maxvalue, "F")                       \
  FIELD(Jqvimagefacts, pixiesize, "I")                       \
  FIELD(Jqvimagefacts, pixelsize, "I")                       \
  FIELD(Jqvimagefacts, pixieuint, "Z")                       \
  FIELD(Jqvimagefacts, pixiereal, "Z")                       \
  FIELD(Jqvimagehints, pixelwidth, "F")                      \
  FIELD(Jqvimagehints, pixelheight, "F")                     \
  FIELD(Jqvimagehints, pixeldepth, "F")                      \
  FIELD(Jqvimagehints, widthunits, "S")                      \
  FIELD(Jqvimagehints, heightunits, "S")                     \
  FIELD(Jqvimagehints, depthunits, "S")

#define QVIM_FIELD(Class, name, type) inline constinit field Class##_##name{#Class, #name, type};
QVIM_FIELDS(QVIM_FIELD)
#undef QVIM_FIELD

// The fields of a peer by dimension.
template <class Dim>
struct peer_fields;
#define QVIM_PEER(dimension, Class, peer)                                                              \
  template <>                                                                                          \
  struct peer_fields<dimension> {                                                                      \
    static constexpr field &address = Class##_##peer, &imdim = Class##_imdim, &wind = Class##_wind,    \
                           &d = Class##_d, &f = Class##_f, &h = Class##_h, &devname = Class##_devname, \
                           &filter = Class##_filter;                                                   \
  };
QVIM_PEER(two_d, Jqvimage, peeradrs)
QVIM_PEER(three_d, Jqvimage3, peer3adrs)
#undef QVIM_PEER

// Once the library is unloaded, its classes are gone.
void forget_fields();

}  // namespace qvim::java
