// The same with every answer looked at: for programs with and without exceptions.
#include <qvimage/qvimage.hpp>

static std::uint16_t frame[480 * 640];

// Where a check fails is the program's answer.
#define CHECK(condition) \
  if (!(condition)) return std::printf("line %d: %s\n", __LINE__, #condition), 1

static qv::result<qv::chain<3>> turned_bytes(const qv::image &camera) {
  return camera | qv::convert{8} | qv::rotate{1};
}

int main() {
  for (int i = 0; i < 480 * 640; i++) frame[i] = static_cast<std::uint16_t>(i % 4096);
  auto cam = qv::over(frame, {640, 480}, 1, 12);
  CHECK(cam);
  CHECK(qv::save(*cam, "a.tif", {.compression = 5}));

  auto file = qv::open("a.tif");
  CHECK(file && file->bits() == 12 && file->pages() == 1);
  auto all = file->pixels<std::uint16_t>();
  CHECK(all && all->size() == 480 * 640 && (*all)[5000] == frame[5000]);

  auto part = file->crop({100, 50, 320, 240});
  auto rows = part.access<std::uint16_t>();
  CHECK(rows);
  std::uint16_t line[320];
  for (int y = 0; y < part.height(); y++) CHECK(rows->read(line, 0, y).size() == 320);
  CHECK(line[0] == frame[(50 + 239) * 640 + 100]);

  auto stack = qv::open_stack("a.tif");
  CHECK(stack && stack->pages() == 1);
  auto page = stack->page(0);
  CHECK(page && page->top().width() == 640);

  auto view = turned_bytes(*cam);
  CHECK(view);
  auto bytes = view->top().pixels<std::uint8_t>();
  CHECK(bytes && (*bytes)[1] == frame[640] >> 4);

  int heard = 0;
  const auto stopped =
      qv::save(*view, "b.tif", {}, [&](auto row, auto) { return heard++, row == 100 ? 7 : 0; });
  CHECK(stopped.code() == 7 && heard == 100);
  const auto none = qv::tiff::open("none.tif").error();
  CHECK(none.code() == QVERR_NOTFOUND && none.path() == "none.tif" && !none.reason().empty());
  CHECK(qv::open("b.tif").error().code() == QVERR_NOTFOUND);  // the save that was stopped left nothing
#if __cplusplus > 202002L && defined(__cpp_lib_expected)
  const std::expected<qv::image, qv::status> expected = qv::over(frame, {641, 480});
  CHECK(!expected && expected.error().code() == QVERR_USAGE);
#endif
#if !defined(__cpp_exceptions)
  qv::tiff::open("none.tif").value();  // tells why and aborts
#endif
  return 0;
}
