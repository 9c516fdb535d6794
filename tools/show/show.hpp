// The command show: its options, and what a window needs of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../command.hpp"
#include "picture.hpp"

namespace tool::show {

constexpr option geometry_option = {"--geometry", "WxH[+X+Y]", "the window's size and place"};
constexpr option page_option = {"--page", "N", "at first this page, counted from 1"};
constexpr option zoom_option = {"--zoom", "Z",
                                "at first this size: 3 for three times, 0.25 or 1/4 for a quarter"};
constexpr option levels_option = {"--levels", "A,B", "A is black and B is white"};
constexpr option terminal_option = {"--terminal", "", "draw into the terminal instead of opening a window"};
constexpr option graphics_option = {"--graphics", "blocks|sixel|kitty",
                                    "with --terminal: how; else the best that the terminal says it can"};

struct geometry {
  extent size;
  std::optional<position> place;
};
geometry chosen_geometry(const arguments &arguments, extent usual);  // throws usage_error

// Where the command line says to begin.
wish first_wish(const arguments &arguments);

// Opens a window and answers the exit status when it was closed. The program without X calls the one with it.
int open_window(const arguments &arguments);

int draw_in_terminal(const arguments &arguments);

}  // namespace tool::show
