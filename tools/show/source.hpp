// Pages as they are looked at: grey, or blue, green and red; read in pieces of rows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "../chain.hpp"
#include "../document.hpp"
#include "view.hpp"

namespace tool::show {

constexpr int all_components = -1;

enum class look {
  colours,  // grey or blue, green and red, whatever the file holds
  indices,  // the same, but a page with a palette as its numbers
  stored    // components as the file holds them
};

class shown_page {
 public:
  // `component` is counted from 0.
  shown_page(document &document, const std::string &path, int64_t number, int component, look how);

  extent size() const;
  qvimagedata data() const { return chain_.top()->d; }
  int components() const { return components_; }  // of the page, before one was chosen
  bool has_palette() const { return has_palette_; }
  int channels() const { return data().pixies; }
  const std::string &remark() const { return remark_; }  // why it is not all shown; mostly empty

  // The pixels [x, x + count) of row y in the type and number of data(); empty when they were read, else why
  // they cannot be.
  std::string read(int64_t y, int64_t x, int64_t count, void *place);

 private:
  void show_colours();
  void show_component(int number);
  std::unique_ptr<page> page_;
  chain chain_;
  int components_;
  bool has_palette_;
  std::string remark_;
};

// Values of one pixel as text: "17", or "(1, 2.5, 3)"; with brackets [] in a form that JSON takes, too.
std::string value_text(const qvimagedata &data, const void *pixel, const char *brackets);

}  // namespace tool::show
