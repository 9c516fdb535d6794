// Calls the library's functions, each of which has a handle type of its own, with the table of readers' one.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

namespace tool {

template <class Handle, class Call>
int32_t with_handle(void **handle, Call call) {
  auto *mine = static_cast<Handle *>(*handle);
  const int32_t code = call(&mine);
  *handle = mine;
  return code;
}

// The table's function for one of the library's that closes: closing<qvimage3_pgmreaddone>::call.
template <auto function>
struct closing;
template <class Record, class Handle, int32_t (*function)(Record *, qvimage *, Handle **)>
struct closing<function> {
  static int32_t call(Record *image, qvimage *palette, void **handle) {
    return with_handle<Handle>(handle, [&](Handle **h) { return function(image, palette, h); });
  }
};

}  // namespace tool
