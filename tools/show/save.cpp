#include "save.hpp"

#include <unistd.h>

#include <cerrno>

#include <qvimage/colour.h>
#include <qvimage/memory.h>
#include <qvimage/tiff.h>

#include "../failure.hpp"
#include "../text.hpp"

namespace tool::show {

namespace {

// "folder/frame.fits" becomes "frame".
std::string stem_of(std::string path) {
  if (const size_t slash = path.find_last_of('/'); slash != path.npos) path.erase(0, slash + 1);
  if (const size_t dot = path.find_last_of('.'); dot != path.npos && dot > 0) path.erase(dot);
  return path;
}

}  // namespace

std::string save_beside(const std::string &file, int64_t page, const canvas &what) {
  const std::string stem = formatted("%s-page%lld", stem_of(file).c_str(), static_cast<long long>(page + 1));
  std::string name = stem + ".tif";
  for (int number = 2; access(name.c_str(), F_OK) == 0; number++) name = stem + formatted("-%d.tif", number);
  write_tiff(name, what);
  return name;
}

void write_tiff(const std::string &path, const canvas &what) {
  alignas(8) qvimage image, colours;
  const int32_t size[2] = {static_cast<int32_t>(what.size().width), static_cast<int32_t>(what.size().height)};
  check(qvimage_memory(&image, const_cast<uint8_t *>(what.row(0)), size, 0, QVIM_UINT8, 0, 4,
                       QVIM_HINT_BGRPAD, 0),
        path, "");
  check(qvimage_colorconverter(&colours, &image, QVIM_HINT_RGB, 0), path, "");
  errno = 0;
  const int32_t code =
      qvimage_tiffwrite(nullptr, &colours, nullptr, path.c_str(), nullptr, 0, 0, nullptr, 0, 0, 0);
  check(code, path, code < 0 ? reason(code, "it cannot be written") : "");
}

}  // namespace tool::show
