#include "source.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <qvimage/colour.h>
#include <qvimage/error.h>

#include "../failure.hpp"
#include "../pixie_type.hpp"
#include "../text.hpp"
#include "../window.hpp"
#include "../words.hpp"

namespace tool::show {

namespace {

bool has_colours(const qvimagedata &data) {
  switch (data.pixelhint) {
    case QVIM_HINT_YCRCB:
    case QVIM_HINT_BSH:
    case QVIM_HINT_CMY:
    case QVIM_HINT_CMYK: return true;
    default: return is_rgb(data.pixelhint);
  }
}

uint32_t all_of(int32_t pixies) { return pixies >= 32 ? UINT32_MAX : (uint32_t{1} << pixies) - 1; }

}  // namespace

shown_page::shown_page(document &document, const std::string &path, int64_t number, int component, look how)
    : page_(document.open(number, how == look::colours ? colour_map::applied : colour_map::kept)),
      chain_(&page_->image, path, formatted("page %lld", static_cast<long long>(number + 1))),
      components_(page_->image.d.pixies),
      has_palette_(document.info(number).palette != 0) {
  if (component != all_components)
    show_component(std::min(component, components_ - 1));
  else if (how != look::stored && components_ > 1)
    show_colours();
  qvimage *top = chain_.top();
  check(top->ioset(top, 0, static_cast<uint32_t>(top->d.pixietype) | QVIM_LSB, all_of(top->d.pixies)), path,
        "the pixels cannot be read");
}

void shown_page::show_component(int number) {
  if (components_ == 1) return;
  chain_.put([=](qvimage *view,
                 qvimage *source) { return qvimage_colorslice(view, source, 0, uint32_t{1} << number, 0); },
             formatted("component %d", number + 1));
}

void shown_page::show_colours() {
  const qvimagedata data = chain_.top()->d;
  if (data.pixelhint == QVIM_HINT_BGR) return;
  if (has_colours(data)) {
    try {
      chain_.put([](qvimage *view,
                    qvimage *source) { return qvimage_colorconverter(view, source, QVIM_HINT_BGR, 0); },
                 "");
      return;
    } catch (const failure &) {
    }
  }
  remark_ = formatted("the first of %d components", components_);
  show_component(0);
}

extent shown_page::size() const { return {width_of(chain_.top()->wind), height_of(chain_.top()->wind)}; }

std::string shown_page::read(int64_t y, int64_t x, int64_t count, void *place) {
  qvimage *top = chain_.top();
  auto *to = static_cast<char *>(place);
  while (count > 0) {
    errno = 0;
    const uint32_t got = top->ioread(top, 0, to, static_cast<uint32_t>(count), static_cast<int32_t>(x),
                                     static_cast<int32_t>(y));
    top->iowait(top, 0, to);
    if (got == 0) {
      const auto code = static_cast<int32_t>(top->aeiou(top, 'e', 1, 1, nullptr));
      const std::string where = formatted("row %lld: ", static_cast<long long>(y + 1));
      return where + (code < 0 ? qverrnomesg(code) + (": " + reason(code, "it cannot be read"))
                               : "it cannot be read");
    }
    count -= got;
    x += got;
    to += static_cast<size_t>(got) * static_cast<size_t>(top->f.pixelsize);
  }
  return {};
}

std::string value_text(const qvimagedata &data, const void *pixel, const char *brackets) {
  std::string text;
  with_pixie_type(data.pixietype, [&]<class Pixie>(Pixie) {
    const auto *pixies = static_cast<const Pixie *>(pixel);
    for (int32_t i = 0; i < data.pixies; i++) {
      if (i > 0) text += ", ";
      if constexpr (!std::is_floating_point_v<Pixie>)
        text += formatted("%llu", static_cast<unsigned long long>(pixies[i]));
      else if (*brackets == '[' && !std::isfinite(pixies[i]))
        text += std::isnan(pixies[i]) ? "\"nan\"" : pixies[i] > 0 ? "\"inf\"" : "\"-inf\"";
      else
        text += formatted("%.*g", std::is_same_v<Pixie, float> ? 9 : 17, static_cast<double>(pixies[i]));
    }
  });
  return data.pixies == 1 ? text : formatted("%c%s%c", brackets[0], text.c_str(), brackets[1]);
}

}  // namespace tool::show
