// What one does with images, as short as it is written: compiled as it stands, and run.
#include <qvimage/qvimage.hpp>
static std::uint16_t frame[480 * 640];
int main() try {
  // 1 a buffer of one's own becomes a file
  auto cam = qv::over(frame, {640, 480}, 1, 12).value();
  if (auto s = qv::save(cam, "a.tif", {.compression = 5}); !s) std::puts(s.text());
  // 2 a file becomes an array; 3 a crop of a large one, row by row, nothing allocated
  auto file = qv::tiff::open("a.tif").value();
  std::vector<std::uint16_t> all = file.pixels<std::uint16_t>().value();
  auto part = file.crop({100, 50, 320, 240});
  auto rows = part.access<std::uint16_t>().value();
  std::uint16_t line[320];
  std::uint64_t sum = 0;
  for (int y = 0; y < part.height(); y++)
    for (auto v : rows.read(line, 0, y)) sum += v;
  // 4 the pages of a stack
  auto stack = qv::tiff_stack::open("a.tif").value();
  for (int z = 0; z < stack.pages(); z++)
    sum += stack.page(z).value().top().pixels<std::uint16_t>().value()[0];
  // 5 another view of it: 8 bits, turned; a value, to be returned and copied, also to another thread
  auto view = (cam | qv::convert{8} | qv::rotate{1}).value();
  auto bytes = view.top().pixels<std::uint8_t>(QVIM_LSB).value();
  // 6 how far a save is; what goes wrong
  (void)qv::save(cam, "b.tif", {}, [&](auto row, auto rows) { return 0; });
  qv::tiff::open("none.tif").value();
} catch (const qv::error &e) {
  std::puts(e.what());
}  // File not found
