// What a record over X11 keeps.
#pragma once

#include <qvimage/block.h>
#include <qvimage/window.h>

#include "core/dimension.hpp"
#include "display/channels.hpp"
#include "display/server.hpp"

namespace qvim::x11 {

struct [[gnu::packed]] state {
  Display *display;
  XImage *image;  // null: the pixels are the drawable's
  Drawable drawable;
  Colormap map;
  const server *requests;
  channels layout;
  bool true_colour;  // pixel values are made of channels, not places in a colour map
  bool plain;        // the client-side image has Xlib's own functions
  // Written by ioset.
  qvimacclen_fn *length;
  scan axis;
  uint8_t first, selected;  // components
  qvimbxtstate blocks;      // written by bxts
};

}  // namespace qvim::x11
