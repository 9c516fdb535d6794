// Handles of open files, as callers hold them. The public type begins with a mark, by which a handle of one
// kind can be told from another, and from any other memory; what derives from it has that mark as its `kind`.
#pragma once

#include <cstdint>

#include <qvimage/error.h>

#include "core/owned.hpp"
#include "core/reason.hpp"

namespace qvim {

// What public handle types derive from. The mark is first, so that any memory taken for a handle can be told
// from one.
struct marked {
  explicit marked(uint32_t mark) : identity(mark) {}
  marked(const marked &) = delete;
  marked &operator=(const marked &) = delete;

  uint32_t identity;

 protected:
  ~marked() { identity = 0; }
};

// 0 and what is behind the handle; -1 without one, -64 when it has another mark.
template <class Derived, class Handle>
[[nodiscard]] int32_t behind(Handle *h, Derived **result) {
  *result = nullptr;
  if (!h) return because(QVERR_USAGE, {"no handle is given"});
  if (h->identity != Derived::kind) return because(QVERR_HANDLE, {"this is the handle of something else"});
  *result = static_cast<Derived *>(h);
  return 0;
}
template <class Derived, class Handle>
[[nodiscard]] int32_t behind(Handle **h, Derived **result) {
  return behind(h ? *h : nullptr, result);
}

// Ends what is behind the handle, which forgets it.
template <class Derived, class Handle>
[[nodiscard]] int32_t release(Handle **h) {
  Derived *object;
  if (const int32_t code = behind(h, &object); code < 0) return code;
  *h = nullptr;
  owned<Derived> released(object);
  return 0;
}

}  // namespace qvim
