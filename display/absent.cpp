// The view in builds without the headers of X11.
#include <qvimage/error.h>
#include <qvimage/x11.h>

#include "core/null.hpp"
#include "core/reason.hpp"

int32_t qvimage_X11(qvimage *view, const uint32_t *, void *, void *, unsigned long, void *, unsigned long,
                    int32_t) {
  const qvim::public_call call;
  if (!view) return call.result(QVERR_USAGE);
  return call.result(
      qvim::fail(view, qvim::because(QVERR_NOTINSTALLED, {"this library was built without X11's headers"})));
}
