#include "pages.hpp"

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

constexpr int32_t no_such_item = -12;

page_range parsed(const std::string &text, int64_t pages) {
  const bool open_end = text.size() > 1 && text.back() == '-';
  const auto ends =
      numbers(open_end ? text.substr(0, text.size() - 1) : text, '-', int64_t{1}, int64_t{INT64_MAX});
  if (!ends || ends->size() > 2 || (open_end && ends->size() > 1) || ends->front() > ends->back())
    throw usage_error("--pages takes A-B, A- or A with 1 <= A <= B, not " + printable(text));
  return {ends->front() - 1, open_end ? std::max(pages, ends->front()) - 1 : ends->back() - 1};
}

}  // namespace

page_range chosen_pages(const arguments &arguments, const std::string &file, int64_t pages) {
  const auto text = arguments.value("--pages");
  if (!text) return {0, pages - 1};
  const page_range range = parsed(*text, pages);
  if (range.last >= pages)
    throw failure(file, no_such_item,
                  formatted("page %lld of %lld", static_cast<long long>(range.last + 1),
                            static_cast<long long>(pages)));
  return range;
}

}  // namespace tool
