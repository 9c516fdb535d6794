// Ids of fields.
#include "java/native/fields.hpp"

namespace qvim::java {

// By the class that declares the field: a class derived from it may have one of the same name.
jfieldID field::find(JNIEnv *env) {
  const jclass owner = env->FindClass(owner_);
  const jfieldID found = owner ? env->GetFieldID(owner, name_, type_) : nullptr;
  forget_exception(env);
  if (owner) env->DeleteLocalRef(owner);
  id_.store(found, std::memory_order_relaxed);
  return found;
}

void forget_fields() {
#define QVIM_FIELD(Class, name, type) Class##_##name.forget();
  QVIM_FIELDS(QVIM_FIELD)
#undef QVIM_FIELD
}

}  // namespace qvim::java
