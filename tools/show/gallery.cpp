#include "gallery.hpp"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "../failure.hpp"
#include "../pixie_type.hpp"
#include "../text.hpp"
#include "../words.hpp"

namespace tool::show {

namespace {

using clock = std::chrono::steady_clock;

// Above so many pixels one pixel of each cell comes first, then means of all of them.
constexpr int64_t most_at_once = 4 << 20;
// Levels come from at most so many pixels of a page: of larger ones from evenly spread rows.
constexpr int64_t most_counted = 16 << 20;
constexpr auto between_pictures = std::chrono::milliseconds(150);

int64_t pixels_under(const stored_cover &cover) {
  if (cover.columns.empty() || cover.rows.empty()) return 0;
  return (cover.columns.back().end - cover.columns.front().first) *
         (cover.rows.back().end - cover.rows.front().first);
}

region within(const std::optional<region> &wanted, extent page) {
  const region whole = {0, 0, page.width, page.height};
  if (!wanted) return whole;
  const int64_t x = std::clamp<int64_t>(wanted->x, 0, page.width - 1);
  const int64_t y = std::clamp<int64_t>(wanted->y, 0, page.height - 1);
  return {x, y, std::min(wanted->width, page.width - x), std::min(wanted->height, page.height - y)};
}

}  // namespace

struct gallery::open_page {
  open_page(document &document, const std::string &path, const wish &wish, int64_t page)
      : number(page),
        component(wish.component),
        as(wish.as),
        shown(document, path, page, wish.component, wish.as) {}
  const int64_t number;
  const int component;
  const look as;
  shown_page shown;
  std::unique_ptr<shown_page> stored;  // for values; made when one is asked for
};

struct gallery::open_file {
  std::string path;
  uint32_t reloads;
  std::unique_ptr<tool::document> document;
  std::unique_ptr<open_page> page;  // the one in use
};

gallery::gallery(std::vector<std::string> paths) : paths_(std::move(paths)), files_(paths_.size()) {}
gallery::~gallery() = default;

gallery::open_file &gallery::opened(const wish &wish, size_t file) {
  std::unique_ptr<open_file> &mine = files_[file];
  const uint32_t reloads = file < wish.reloads.size() ? wish.reloads[file] : 0;
  if (mine != nullptr && mine->reloads == reloads) return *mine;
  auto fresh = std::make_unique<open_file>();
  fresh->path = paths_[file];
  fresh->reloads = reloads;
  fresh->document = open_document(paths_[file]);
  mine = std::move(fresh);
  // Of many files few stay open.
  for (size_t other = 0; other < files_.size(); other++) {
    if (other != file && other != wish.file && wish.beside != other) files_[other].reset();
  }
  return *mine;
}

gallery::open_page &gallery::page_of(open_file &file, const wish &wish) {
  const int64_t number = std::clamp<int64_t>(wish.page, 0, file.document->pages() - 1);
  std::unique_ptr<open_page> &mine = file.page;
  if (mine == nullptr || mine->number != number || mine->component != wish.component || mine->as != wish.as) {
    mine.reset();
    mine = std::make_unique<open_page>(*file.document, file.path, wish, number);
  }
  return *mine;
}

void gallery::find_levels(picture &picture, open_page &page, const stop_question &stopped) {
  wish &wanted = picture.wanted;
  const bool real = picture.data.pixietype >= QVIM_FLOAT32;
  if (wanted.rule == level_rule::kept) return;
  const qvimagedata before = wanted.levels_for;
  wanted.levels_for = picture.data;
  const bool alike = before.pixietype == picture.data.pixietype && bits_of(before) == bits_of(picture.data);
  if (wanted.rule == level_rule::natural && alike) return;
  if (wanted.rule == level_rule::full || (wanted.rule == level_rule::natural && !real)) {
    wanted.levels = full_range(picture.data);
    return;
  }
  const region part = within(wanted.levels_from, picture.stored);
  const int64_t every = (part.width * part.height + most_counted - 1) / most_counted;
  census census(picture.data);
  with_pixie_type(picture.data.pixietype, [&]<class Pixie>(Pixie) {
    const auto pixies = static_cast<size_t>(part.width * picture.data.pixies);
    const std::unique_ptr<Pixie[]> row(new Pixie[pixies]);
    for (int64_t y = part.y; y < part.y + part.height && !stopped(); y += std::max<int64_t>(every, 1)) {
      if (!page.shown.read(y, part.x, part.width, row.get()).empty()) continue;
      for (size_t i = 0; i < pixies; i++) census.add(static_cast<double>(row[i]));
    }
  });
  wanted.levels = wanted.rule == level_rule::natural ? census.range() : census.between(wanted.left_out);
}

void gallery::paint(const wish &wish, const stop_question &stopped, const sink &shown) {
  open_file &file = opened(wish, wish.file);
  open_page &page = page_of(file, wish);
  picture picture;
  picture.wanted = wish;
  picture.wanted.page = page.number;
  picture.path = file.document->where(page.number).file;
  picture.pages = file.document->pages();
  picture.data = page.shown.data();
  picture.stored = page.shown.size();
  picture.components = page.shown.components();
  picture.has_palette = page.shown.has_palette();
  picture.remark = page.shown.remark();
  const qvimagefileinfo &info = file.document->info(page.number);
  if (info.avi_rateden != 0)
    picture.frames_per_second = static_cast<double>(info.avi_ratenum) / info.avi_rateden;
  view &view = picture.wanted.view;
  view.set_picture(wish.turned.of(picture.stored));
  if (wish.fit) view.fit();
  picture.cover = view.covered();
  find_levels(picture, page, stopped);
  if (stopped()) return;

  const stored_cover cover = in_stored_order(picture.cover, wish.turned, picture.stored);
  picture.values = raster(cover, picture.data.pixies);
  auto last_shown = clock::now();
  const auto go_on = [&] {
    if (stopped()) return false;
    if (clock::now() - last_shown >= between_pictures) {
      shown(picture);
      last_shown = clock::now();
    }
    return true;
  };
  const auto read = [&](bool whole_cells) {
    const std::string why = read_raster(page.shown, cover, whole_cells, picture.values, go_on);
    if (!why.empty()) picture.remark = why;
  };
  if (wish.view.window() == extent{}) return;
  if (pixels_under(cover) > most_at_once && view.scale().per > 1 && !file.document->coded(page.number)) {
    read(false);
    if (stopped()) return;
    shown(picture);
    last_shown = clock::now();
  }
  read(true);
  if (wish.beside && !stopped()) {
    // The other file's page of the same number, at the same place.
    open_page &other = page_of(opened(wish, *wish.beside), wish);
    if (other.shown.size() == picture.stored && other.shown.channels() == picture.data.pixies) {
      picture.beside = raster(cover, picture.data.pixies);
      const std::string why = read_raster(other.shown, cover, true, picture.beside, go_on);
      if (!why.empty()) picture.remark = why;
    } else {
      picture.remark = "the next file's page has another size or other components";
    }
  }
  if (stopped()) return;
  picture.finished = true;
  shown(picture);
}

pixel_value gallery::value_at(const wish &wish, position at) {
  open_file &file = opened(wish, wish.file);
  open_page &page = page_of(file, wish);
  const extent size = page.shown.size();
  if (at.x < 0 || at.y < 0 || at.x >= size.width || at.y >= size.height) return {};
  if (page.stored == nullptr)
    page.stored =
        std::make_unique<shown_page>(*file.document, file.path, page.number, all_components, look::stored);
  const qvimagedata data = page.stored->data();
  alignas(8) char pixel[32 * 8];
  if (const std::string why = page.stored->read(at.y, at.x, 1, pixel); !why.empty()) return {why, "null"};
  pixel_value value = {value_text(data, pixel, "()"), value_text(data, pixel, "[]")};
  if (page.shown.has_palette() && wish.as == look::colours) {
    const qvimagedata colours = page.shown.data();
    if (page.shown.read(at.y, at.x, 1, pixel).empty())
      value.text += formatted(" %s", value_text(colours, pixel, "()").c_str());
  }
  return value;
}

}  // namespace tool::show
