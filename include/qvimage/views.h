/* Views: an image presented in another way.
 *
 * A view is a record built over another one, its source, and used like any image: set up, then read or
 * written. It owns no pixels. Every transfer goes to the source and back, where something is converted or
 * moved apart through pieces of 2048 bytes on the stack, at most three of them; nothing is allocated. Views
 * stack: a source may be a view itself.
 *
 * Arguments that all constructors share
 *   image         the record to fill: 452 bytes, whose former contents do not matter. Not the source.
 *   source        the image presented, built before. Its address, or a relative reference: a value r from
 *                 -128 to -1, cast to a pointer, names the record (65 + r) records after `image`, so that an
 *                 array of records that refer to each other may be copied or moved as a block. The source
 *                 must outlive the view; nothing frees it.
 *   sharewindow   0: the view presents the source's window of this moment as a whole image; it begins at (0,
 *                 0), has a window of its own, and its coordinates are translated. Not 0: the view has the
 *                 source's size and window, and setting its window sets the source's.
 *
 * Results: 0, or a negative code of qvimage/error.h with the null image left in the record:
 *   -1   image or source is null (a null image is not touched)
 * and those named at each function. Set-ups of any view return the source's failures, and
 *   -5   the view is its own source, or chains of views form a ring
 *   -11  ioset: a scan order that the image has not, where its constructor names no other code; imapset: a
 *        view that cannot be mapped
 * after which, as after any failure, transfers move nothing.
 *
 * What a read does not deliver it leaves in the caller's buffer as it was: pixels beyond those it counts,
 * entries of a list whose pixels lie outside the view's window or its source's, and components without a
 * meaning (pads) where the source leaves them alone. Where arithmetic on floating values gives no number, the
 * result is any NaN: its sign and its other bits may differ from one processor to another.
 *
 * Changing the source's window or set-up directly discards what its views have set up. A view is used by one
 * thread at a time, and so is its whole chain. */
#ifndef QVIMAGE_VIEWS_H
#define QVIMAGE_VIEWS_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* The converter presents an image in other data types and numbers of bits: whatever integer or floating type
 * a caller names at set-up is converted to and from what the source stores. Device name "QVIMCONV".
 *
 *   data            the view's description, or null for the source's. It is what the record says, not what is
 *                   converted to: that the caller names at each set-up.
 *   maskundefined   not 0: bits of the source's pixies beyond its i_bitsused are undefined, whatever its
 *                   description says, and are kept from callers that do not accept them (QVIM_DIRTY). Integer
 *                   sources only.
 *   bits            the significant bits presented to callers; 0: as many as the source has. Callers that
 *                   name a justification get and give values of this many bits: values are shifted so that
 *                   their most significant bits agree. Callers that name none get and give values as they are
 *                   stored. The description in the record does not change with it; give one by `data` where
 *                   another view is to be put on this one: it goes by what the record says.
 *   mode            1: floating values from 0.0 to 1.0 stand for integers from 0 to the largest that fits a
 *                   pixie of the source, all its bits counted; values beyond are cut off. Values written to
 *                   a source with fewer significant bits are limited to those: with 4 of 8 bits 1.0 still
 *                   stands for 255, so 15 / 255.0 and all above it is stored as 15, and 15 reads as
 *                   15 / 255.0. Else floating values equal integer values.
 *
 * A request that the source serves by itself goes to the source as it is where maskundefined and bits make no
 * difference to the values: then the source's own mode and bits count, if it is a converter too. Everything
 * else is converted from the pixels that the source's description tells of.
 *
 * ioset and bxts:
 *   -19  a type that is none, or 64-bit integers on one side that the other would have to be converted to or
 *        from
 *   -21  colourmask selects no pixie of the source
 * ioset:
 *   -1   a scan order that the image has not; with a conversion, also the z-scan of 3-D images
 * imapset:
 *   -19  what is asked for needs a conversion or another byte order; else what the source answers
 *
 * Bits of the source that are not significant stay clear in writes unless its description tolerates others.
 * The list of a block transfer is translated in place, as by memory images, to what the source takes: a list
 * that bxtp or bxta has seen with QVIM_LIST goes without it from then on. Entries outside the view's window
 * are counted and otherwise skipped. */
int32_t qvimage_converter(qvimage *image, qvimage *source, const qvimagedata *data, uint8_t sharewindow,
                          uint8_t maskundefined, uint8_t bits, uint8_t mode);
int32_t qvimage3_converter(qvimage3 *image, qvimage3 *source, const qvimagedata *data, uint8_t sharewindow,
                           uint8_t maskundefined, uint8_t bits, uint8_t mode);

/* Presents a 3-D image, within its window of this moment, as a 2-D one. Device name "QVIM3to2".
 *
 *   xaxis, yaxis   the source's axes along the view's x and y, as scan bits: QVIM_XSCAN, QVIM_YSCAN or
 *                  QVIM_ZSCAN, two different ones
 *   plane          the coordinate along the third axis. Where the source has none such, transfers move
 *                  nothing.
 *   flags          0x80: not a plane but all frames, one below another; 0x40: all frames side by side. The
 *                  axes and the plane do not count then.
 *
 * The pixels' width and height in the description are those of the source's x and y, the depth is cleared.
 *   -1   an axis that is none, or the same axis twice
 *   -15  the joined frames are longer than 2^31 - 1 pixels
 * A run along joined frames stops at the end of each; calls from there on go on in the next frame. Reads,
 * writes and block transfers are served as the source serves them, in its data types; pixels cannot be mapped
 * (imapset -11). */
int32_t qvimage_def2from3(qvimage *image, qvimage3 *source, uint32_t xaxis, uint32_t yaxis, int32_t plane,
                          uint8_t flags);

/* Presents an image whose values pass through tables: values read are replaced by their entries in the read
 * tables, values written by theirs in the write tables. Device names "QVIMLUT2" and "QVIMLUT3". For sources
 * of unsigned integers of up to 32 bits and up to 4 components.
 *
 *   readtables, writetables
 *               four pointers each, one a component; those beyond the components used may be null. A table
 *               has entries of the source's pixie type and one for each index: 2^i_bitsused, or, unmasked, as
 *               many as the pixie type has values. The tables must outlive the view.
 *   r0 ... w3   the same pointers one by one
 *   pixies      0: the source's components, each through its tables. 1 to 4: a source of one component is
 *               shown in pseudo-colour with so many components, each its value through a table of its own.
 *               Such a view can only be read, unless it has one component.
 *   pixelhint   of a pseudo-colour image; its component count (the low four bits) is at most 4
 *   reserved    0
 *   flags       1: no more than three tables, the fourth component passes unchanged; 2: unmasked, the index
 *               is the whole pixie whatever bits are used, as far as the source does not call the others
 *               undefined. Without it, and where not all bits are used, the index is the value modulo
 *               2^i_bitsused
 *
 *   -1    a null array; a null table of a component used; a source of 5 or more components; a request for
 *         pseudo-colour other than the above
 *   -19   another data type
 * The view presents clean numbers at the low end of the pixie, in the machine's byte order. ioset: -19 a data
 * type that it does not present without conversion, -21 a colourmask other than one component or all, -1 a
 * scan order other than x and y. imapset: -11. */
int32_t qvimage_lut2(qvimage *image, qvimage *source, uint8_t sharewindow, const void *const readtables[4],
                     const void *const writetables[4], int32_t pixies, int32_t pixelhint, uint32_t reserved,
                     uint32_t flags);
int32_t qvimage_lut2a(qvimage *image, qvimage *source, uint8_t sharewindow, const void *r0, const void *r1,
                      const void *r2, const void *r3, const void *w0, const void *w1, const void *w2,
                      const void *w3, int32_t pixies, int32_t pixelhint, uint32_t reserved, uint32_t flags);
int32_t qvimage_lut3(qvimage3 *image, qvimage3 *source, uint8_t sharewindow, const void *const readtables[4],
                     const void *const writetables[4], int32_t pixies, int32_t pixelhint, uint32_t reserved);
int32_t qvimage_lut3a(qvimage3 *image, qvimage3 *source, uint8_t sharewindow, const void *r0, const void *r1,
                      const void *r2, const void *r3, const void *w0, const void *w1, const void *w2,
                      const void *w3, int32_t pixies, int32_t pixelhint, uint32_t reserved);

/* Presents a table, stored as an image of one row, with another number of entries. Device name "QVIMLUT".
 *
 *   source     one row, its width a power of two
 *   entries    a power of two, at most 2^30. More than the source has: each of its entries repeats. Fewer:
 *              the first of those that become one (decimate not 0), or the first so many of the table (0)
 *
 *   -1   a source or a number of entries other than these
 * Writes go where reads come from: of entries that repeat one, the last one written stays. ioset: -19 a pixie
 * type other than the source's, -21 a colourmask beyond its components, -11 a scan order that the image has
 * not. imapset: -11. */
int32_t qvimage_lutconvert(qvimage *image, qvimage *source, uint32_t entries, uint32_t decimate);

/* Presents a 2-D image as a 3-D one that is one frame deep, frame 0. Device name "QVIM2to3". The window of a
 * view that shares is the source's in x and y. Data types, components, block transfers and mappings are the
 * source's; so are scan orders: there are no runs along z (-11, the source's answer). */
int32_t qvimage_def3from2(qvimage3 *image, qvimage *source, uint8_t sharewindow);

/* Presents a 3-D image with its frames renumbered circularly: frame z is the source's frame (z + frameoffset)
 * modulo the depth, whatever the sign of the offset. Device name "QVIM3to3".
 *
 *   frameoffset   any number
 *   reserved1, 2  no effect
 *   sharewindow   0: the frames of the source's window of this moment are renumbered. The record's imdim is
 *                 the source's; its window at first is what the source's window holds. Wider ones get no
 *                 pixels beyond that, deeper ones the same frames again. Not 0: all frames of the source are,
 *                 and those that its window has not are not served.
 *
 *   -1   the source has no frames
 * Data types, components and block transfers are the source's. Mappings are too, of runs along x or y that
 * stay within a line (imapset along z: -11); where the offset changes nothing, of all the source maps. */
int32_t qvimage3_def3from3(qvimage3 *image, qvimage3 *source, int32_t frameoffset, uint32_t reserved1,
                           uint32_t reserved2, uint8_t sharewindow);

/* Presents every xperiod-th pixel of every yperiod-th line, beginning at (xphase, yphase), of an image with
 * one component. Device name "QVIMDECI". The size is the source's window of this moment divided by the
 * periods, remainders dropped.
 *
 *   ignored   no effect
 *
 *   -1   a period of 0, a phase that is not less than its period, no pixel left, more than one component; at
 *        ioset: a scan order that is neither x nor y
 *   -19  pixies other than 8- and 16-bit integers
 * Writes touch no pixel that the view does not show. Data types are the source's. Pixels cannot be mapped. */
int32_t qvimage_decimate(qvimage *image, qvimage *source, uint32_t ignored, uint32_t xperiod,
                         uint32_t yperiod, uint32_t xphase, uint32_t yphase);

/* Presents an image of 8- or 16-bit integers transposed, mirrored, or both. Device name "QVIMROTA".
 *
 *   flags   1: transposed: the view's x runs along the source's y, and sizes, and the pixels' width and
 *           height, change places; 4: mirrored in x; 2: mirrored in y (x and y of the view). So 6 turns by
 *           180 degrees, and 1 with one of the others turns by 90 degrees: 5 clockwise, 3 counter-clockwise.
 *   sharewindow   not 0: the window has the source's numbers, those of x and y exchanged when transposed, and
 *                 what it holds is mirrored within it.
 *
 *   -19  pixies of other types
 * ioset:
 *   -21  colourmask selects no component
 *   -11  a scan order that is neither x nor y
 * Data types, components and block transfers are the source's. With flags 0, mappings are too; else imapset
 * is -11. */
int32_t qvimage_rotate_filt(qvimage *image, qvimage *source, uint8_t sharewindow, uint32_t flags);

/* Presents an image with one line of each pair in the place of both: as the fields of an interlaced frame.
 * Device name "QVIMYOdd".
 *
 *   selector   1: odd lines (1, 1, 3, 3, ...), 0: even ones (0, 0, 2, 2, ...), counted in the whole image.
 *              Where the line is not in the source's window - the last of an odd number of lines, or the
 *              first in a shared window - the next one of its kind that is there takes its place.
 *
 *   -1   odd lines of an image one line high; other selectors
 * What is written to a line of the view is seen in both lines. Data types, components and block transfers are
 * the source's; so are mappings of runs along x within a line (imapset along y: -11). */
int32_t qvimage_yodd(qvimage *image, qvimage *source, uint8_t sharewindow, uint32_t selector);

/* Presents the mean of the frames of a 3-D image, of those in its window of this moment: sums divided by
 * their number, rounded to nearest, halves up. Device name "QVIMSTAK". Read-only: writes move nothing.
 *
 * The record's imdim is that of the source in x and y, and so is its window at first; it begins at the
 * source's window, and where that holds no pixels there are none here. The description says host order, no
 * undefined bits, and values at the least significant end where pixies are not full.
 *   -19  pixies other than 8- and 16-bit integers
 *   -15  more frames than 32-bit sums hold: 2^24 for 8-bit pixies, 65537 for 16-bit ones
 * ioset serves every request for the type: values at either end, either byte order. Another type is -19.
 * Pixels cannot be mapped. */
int32_t qvimage_stack(qvimage *image, qvimage3 *source);

/* Presents an image unchanged and notes whether its pixels have been read or written through this record.
 * Device name "QVIMCAM".
 *
 *   nomapping   not 0: pixels cannot be mapped (imapset -11)
 *   sharewindow   0: the record's imdim is the source's; its window at first is what the source's window of
 *                 this moment holds, and wider ones get no pixels beyond that.
 *
 * aeiou with the code 'c' << 8 | 'm' (0x636D) answers the notes: 0x8000 pixels were read, 0x4000 they were
 * written. Runs count when they move pixels, block transfers as reads with QVIM_OP_READ and else as writes;
 * imap as what imapset's mode announced with the same two bits, or as both. Nothing but a new construction
 * clears them. The view does not appear in chain counts. */
int32_t qvimage_cachemonitor(qvimage *image, qvimage *source, uint8_t sharewindow, uint8_t nomapping);

QVIM_END_DECLS

#endif
