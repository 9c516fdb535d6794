/* Windows, pixmaps and client-side images of X11 as images.
 *
 * An application that shows pictures copies them into such a view, with any of the library's operations, and
 * puts a colour converter (qvimage/views.h) over its picture where that has other colours. */
#ifndef QVIMAGE_X11_H
#define QVIMAGE_X11_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* Makes a drawable or a client-side image an 8-bit image of blue, green and red. Device name "QVIMX11".
 *
 *   view      the record to fill: 452 bytes, whose former contents do not matter
 *   dims      width and height, both at least 1. They may exceed those of what is shown: pixels beyond it
 *             cannot be reached
 *   display   a Display *
 *   image     an XImage *, or null: pixels are then those of the drawable, fetched from the server and sent
 *             back a run at a time. The view changes its data and nothing else; showing it is the caller's
 *             business (XPutImage, XShmPutImage)
 *   drawable  a Window or Pixmap of the display; 0 if none. Not used where an image is given
 *   visual    a Visual *, whose channel masks and class say what the pixel values mean
 *   colormap  a Colormap, of use for visuals other than TrueColor
 *   hint      QVIM_HINT_BGRPAD: four components, of which the last reads as 0 and is ignored when written;
 *             any other value: three, QVIM_HINT_BGR
 *
 * The significant bits are those of the widest channel, of which the top 8 count; narrower channels are
 * widened by zero bits below. A visual without masks has 8. Bits of a pixel outside the channels are written
 * as 0: on a visual with alpha that is transparent.
 *
 * Access: runs along x and y with and without wrap, of neighbouring components; writing some of them keeps
 * the others. Block transfers; no mappings. ioset and bxts take QVIM_UINT8 whatever its flags, others answer
 * QVERR_DATATYPE; a z-scan answers QVERR_UNSUPPORTED. A run costs one round trip to the server, or two where
 * colours have to be looked up. Pixels of visuals that are not TrueColor can only be read.
 *
 * Pixels that cannot be reached - a window's parts beyond the screen, coordinates of drawables from 32768 on,
 * pixels beyond a client-side image, a destroyed window's - are left alone, and so are the bytes of the
 * buffer that they would fill; they count as moved. aeiou 'e' then answers QVERR_X11 until it is called with
 * arg1 other than 0. Errors of the server never reach the application's error handler, as long as libX11-xcb
 * is to be found; without it one is set for the time of each run. A server that goes away is a matter between
 * Xlib and the application (XSetIOErrorExitHandler).
 *
 * Returns 0, or after leaving the null image in the record
 *   QVERR_USAGE          a null view (nothing is written then), dims, display or visual; neither image nor
 *                        drawable; an image without data
 *   QVERR_LOGIC          an extent of 0, or above 2^31 - 1
 *   QVERR_NOTINSTALLED   libX11 is not in the process, or the library was built without its headers
 *
 * Display, image, visual and drawable stay the caller's and must outlive the view's last transfer. Threads
 * that share a display must have called XInitThreads. */
int32_t qvimage_X11(qvimage *view, const uint32_t dims[2], void *display, void *image, unsigned long drawable,
                    void *visual, unsigned long colormap, int32_t hint);

QVIM_END_DECLS

#endif
