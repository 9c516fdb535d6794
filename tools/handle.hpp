// Calls the library's functions, each of which has a handle type of its own, with the table of readers' one.
#pragma once

#include <cstdint>

namespace tool {

template <class Handle, class Call>
int32_t with_handle(void **handle, Call call) {
  auto *mine = static_cast<Handle *>(*handle);
  const int32_t code = call(&mine);
  *handle = mine;
  return code;
}

}  // namespace tool
