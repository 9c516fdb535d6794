// Pages of several files, one behind the other.
#include <algorithm>
#include <vector>

#include "document.hpp"
#include "text.hpp"

namespace tool {

namespace {

struct member {
  source file;
  int64_t first;  // the number of its first page
};

class series : public document {
 public:
  using members = std::vector<member>;

  explicit series(const std::vector<source> &files) {
    auto all = std::make_shared<members>();
    for (const source &file : files) {
      all->push_back({file, pages_});
      pages_ += open_file(file)->pages();
    }
    members_ = std::move(all);
  }
  series(std::shared_ptr<const members> all, int64_t pages) : members_(std::move(all)) { pages_ = pages; }

  const file_format &format(int64_t page) const override { return *of(page).file.format; }
  place where(int64_t page) const override {
    const member &file = of(page);
    return {file.file.shown, formatted("page %lld", static_cast<long long>(page - file.first + 1))};
  }
  const description &describe(int64_t page) override {
    check_number(page);
    return file_of(page).describe(page - of(page).first);
  }
  const description &describe_first() override { return file_of(0).describe_first(); }
  page_notes notes(int64_t page) override { return file_of(page).notes(page - of(page).first); }
  std::unique_ptr<page> open(int64_t number, colour_map colours) override {
    check_number(number);
    auto opened = file_of(number).open(number - of(number).first, colours);
    opened->held_open = open_;
    return opened;
  }
  std::unique_ptr<volume> open_volume(int64_t, int64_t) override { return nullptr; }
  std::unique_ptr<document> again() const override { return std::make_unique<series>(members_, pages_); }

 private:
  const member &of(int64_t page) const {
    return *std::prev(std::ranges::upper_bound(*members_, page, {}, &member::first));
  }
  // One file is open at a time, besides those of pages that are.
  document &file_of(int64_t page) {
    const member &wanted = of(page);
    if (open_member_ != &wanted) {
      open_member_ = nullptr;
      open_ = open_file(wanted.file);
      open_member_ = &wanted;
    }
    return *open_;
  }

  std::shared_ptr<const members> members_;
  const member *open_member_ = nullptr;
  std::shared_ptr<document> open_;
};

}  // namespace

std::unique_ptr<document> open_documents(const std::vector<std::string> &words) {
  std::vector<source> files;
  for (const std::string &word : words) {
    for (source &file : sources_of(word)) files.push_back(std::move(file));
  }
  if (files.size() == 1) return open_file(files[0]);
  return std::make_unique<series>(files);
}

std::unique_ptr<document> open_document(const std::string &word) { return open_documents({word}); }

}  // namespace tool
