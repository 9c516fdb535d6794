// The record behind a Java object, and natives that work on one.
#pragma once

#include <jni.h>

#include "core/null.hpp"
#include "java/native/fields.hpp"
#include "java/native/trace.hpp"

namespace qvim::java {

inline void make_null(qvimage *im) { qvimage_defnull(im); }
inline void make_null(qvimage3 *im) { qvimage3_defnull(im); }

// Of the object that a native is called on. Without a record of its own the call has a null image, which is
// forgotten after it.
template <class Dim>
class peer {
 public:
  peer(JNIEnv *env, jobject object) : address_(peer_fields<Dim>::address.long_of(env, object)) { forget(); }
  peer(const peer &) = delete;
  peer &operator=(const peer &) = delete;

  record<Dim> *get() { return address_ ? reinterpret_cast<record<Dim> *>(address_) : &none_; }
  record<Dim> *operator->() { return get(); }
  // Whatever was made in the place of a record is a null image.
  void forget() {
    if (!address_) make_null(&none_);
  }
  friend auto as_logged(const peer &p) { return as_logged(p.address_); }

 private:
  jlong address_;
  record<Dim> none_;
};

// Arguments that are Java's objects are read by take(env), once it is sure that no exception is pending.
template <class Value>
void take(JNIEnv *env, Value &value) {
  if constexpr (requires { value.take(env); }) value.take(env);
}

// The result of act(peer, values...).
template <class Dim, class Act, class... Values>
auto on_record(JNIEnv *env, jobject self, const char *name, Act act, Values... values) {
  using result = std::invoke_result_t<Act, peer<Dim> &, Values &...>;
  if (env->ExceptionCheck()) return result();
  peer<Dim> own(env, self);
  (take(env, values), ...);
  return traced(
      name, [&] { return act(own, values...); }, own, values...);
}

}  // namespace qvim::java
