// The procedure of all natives that make images.
#pragma once

#include <jni.h>

#include <qvimage/error.h>

#include "core/reason.hpp"
#include "java/native/arguments.hpp"
#include "java/native/errors.hpp"

namespace qvim::java {

// The native's own name, for the log, and that of the library's function, for exceptions.
struct names {
  const char *native, *function;
  constexpr names(const char *both) : native(both), function(both) {}
  constexpr names(const char *n, const char *f) : native(n), function(f) {}
};

// Why the library cannot be given an argument; 0 when it can.
template <class Value>
int32_t refused(const Value &) {
  return 0;
}
inline int32_t refused(const path &text) {
  return text.string().code() ? because(text.string().code(), {text.string().cause()}) : 0;
}

// What Java gets back through an argument.
template <class Value>
void put_back(JNIEnv *env, Value &value) {
  if constexpr (requires { value.put_back(env); }) value.put_back(env);
}

// The first elements of the peer's array `filter` hold the objects that stay reachable, in the order of the
// arguments.
template <class Dim>
class filter {
 public:
  filter(JNIEnv *env, jobject self)
      : env_(env), array_(static_cast<jobjectArray>(peer_fields<Dim>::filter.object_of(env, self))) {}
  template <class Value>
  void keep(const Value &value) {
    if constexpr (requires { value.kept(); }) put(value.kept());
  }

 private:
  void put(jobject object) {
    if (!array_ || next_ == env_->GetArrayLength(array_)) return;
    env_->SetObjectArrayElement(array_, next_++, object);
    forget_exception(env_);  // an array for objects of another sort
  }
  JNIEnv *env_;
  jobjectArray array_;
  jsize next_ = 0;
};

// make(record, values...) calls the library's constructor.
template <class Dim, class Make, class... Values>
jint construct(JNIEnv *env, jobject self, const names &name, Make make, Values... given) {
  const auto work = [&](peer<Dim> &own, Values &...values) -> jint {
    int32_t code = 0;
    {
      const public_call call;
      ((code = code < 0 ? code : refused(values)), ...);
      code = call.result(code < 0 ? fail(own.get(), code) : int32_t(make(own.get(), values...)));
    }
    own.forget();
    (put_back(env, values), ...);
    show<Dim>(env, self, own.get());
    if (code >= 0) {
      filter<Dim> kept(env, self);
      (kept.keep(values), ...);
    }
    return thrown(env, code, name.function);
  };
  return on_record<Dim>(env, self, name.native, work, std::move(given)...);
}

}  // namespace qvim::java
