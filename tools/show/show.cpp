#include "show.hpp"

#include <cstdint>

#include "../failure.hpp"
#include "../text.hpp"

namespace tool {

namespace show {

namespace {

double zoom_factor(const std::string &text) {
  constexpr double least = 1e-7, most = 256;
  const auto parts = numbers<double>(text, '/', least, 1e7);
  if (parts && parts->size() <= 2) {
    const double factor = parts->size() == 2 ? parts->front() / parts->back() : parts->front();
    if (factor >= least && factor <= most) return factor;
  }
  throw usage_error("--zoom takes a number up to 256 or a fraction like 1/4, not " + printable(text));
}

levels chosen_levels(const std::string &text) {
  const auto found = numbers<double>(text, ',', -1e300, 1e300);
  if (!found || found->size() != 2)
    throw usage_error("--levels takes two numbers A,B, not " + printable(text));
  return {found->front(), found->back()};
}

int run(const arguments &arguments) {
  if (arguments.has(graphics_option.name) && !arguments.has(terminal_option.name))
    throw usage_error("--graphics goes with --terminal");
  return arguments.has(terminal_option.name) ? draw_in_terminal(arguments) : open_window(arguments);
}

std::vector<option> options() {
  return {geometry_option, page_option, zoom_option, levels_option, terminal_option, graphics_option};
}

}  // namespace

geometry chosen_geometry(const arguments &arguments, extent usual) {
  geometry chosen = {usual, std::nullopt};
  const auto text = arguments.value(geometry_option.name);
  if (!text) return chosen;
  constexpr int64_t least = 16, most = 16384;
  const size_t plus = text->find('+');
  const auto size = numbers<int64_t>(std::string_view(*text).substr(0, plus), 'x', least, most);
  const auto place = plus == text->npos
                         ? std::nullopt
                         : numbers<int64_t>(std::string_view(*text).substr(plus + 1), '+', 0, most);
  if (!size || size->size() != 2 || (plus != text->npos && (!place || place->size() != 2)))
    throw usage_error(formatted("--geometry takes WxH or WxH+X+Y, sizes from %d to %d, not %s", int{least},
                                int{most}, printable(*text).c_str()));
  chosen.size = {size->front(), size->back()};
  if (place) chosen.place = position{place->front(), place->back()};
  return chosen;
}

wish first_wish(const arguments &arguments) {
  wish first;
  if (const auto page = arguments.value(page_option.name)) {
    const auto number = numbers<int64_t>(*page, ',', 1, INT32_MAX);
    if (!number || number->size() != 1)
      throw usage_error("--page takes a number from 1 on, not " + printable(*page));
    first.page = number->front() - 1;
  }
  if (const auto factor = arguments.value(zoom_option.name)) {
    first.fit = false;
    first.view.zoom_at(zoom::nearest(zoom_factor(*factor)), {0, 0});
  }
  if (const auto levels = arguments.value(levels_option.name)) {
    first.rule = level_rule::kept;
    first.levels = chosen_levels(*levels);
  }
  return first;
}

}  // namespace show

const command show_command = {
    "show",
    "FILE...",
    "look at pages: zoom, levels, values under the pointer",
    "Opens a window that shows the pages of the files, of any size and number: only what is shown is read. "
    "The "
    "stored value under the pointer stands in the status line. Keys: PgDn and PgUp for pages, n and p for "
    "files, + and - or the wheel for size, a for automatic levels, q to quit; ? shows them all.",
    1,
    SIZE_MAX,
    show::options,
    show::run};

}  // namespace tool
