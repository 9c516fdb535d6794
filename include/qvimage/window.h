/* Windows: checks, access lengths, coordinate advance. What every kind of image uses, and what a program that
 * writes a kind of its own needs.
 *
 * A window spans [nw, se); W, H and D below are its extents se - nw along x, y and z. A record may be passed
 * wherever a window is expected: its window is its first member. Positions are relative to the window: (0, 0)
 * is nw. Functions whose names begin with qvim3 are those of 3-D images; what is said of the 2-D ones holds
 * for them with z added. Pointers must not be null unless a function says so.
 *
 * Nothing here keeps state; functions that take constant pointers only may be called from any thread. */
#ifndef QVIMAGE_WINDOW_H
#define QVIMAGE_WINDOW_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* --- checks --- */

/* Are both (all three) dimensions other than 0? 1 or 0; negative ones pass. */
int32_t qvimchkxy(const int32_t dims[2]);
int32_t qvim3chkxyz(const int32_t dims[3]);

/* Does the point, in the coordinates of the window's corners, lie in the window, a point at se included? 1 or
 * 0. */
int32_t qvimchkxye(const qvywindow *window, const qvxypoint *point);
int32_t qvim3chkxyze(const qvyzwindow *window, const qvxyzpoint *point);

/* The same with se excluded: does a pixel of the window lie at the point? 1 or 0. */
int32_t qvimchkxyi(const qvywindow *window, const qvxypoint *point);
int32_t qvim3chkxyzi(const qvyzwindow *window, const qvxyzpoint *point);

/* Is this a window? 1 when it has pixels, 0 when it is empty (valid), QVERR_USAGE when nw is negative or
 * beyond se. */
int32_t qvimchkwind(const qvywindow *window);
int32_t qvim3chkwind(const qvyzwindow *window);

/* Does inner lie in outer? As qvimchkwind(inner), and QVERR_USAGE when it reaches outside or outer is no
 * window. */
int32_t qvimchkwindsub(const qvywindow *outer, const qvywindow *inner);
int32_t qvim3chkwindsub(const qvyzwindow *outer, const qvyzwindow *inner);

/* Does the image's window lie in the image? As qvimchkwindsub; QVERR_USAGE for a null pointer. */
int32_t qvimchkimage(const qvimage *image);
int32_t qvim3chkimage(const qvimage3 *image);

/* Does one of b's corner points lie in a? 1 or 0. The corner points are taken from nw and se as they stand,
 * so this is not a test for common pixels: windows that only touch may answer 1, windows that cross like the
 * strokes of a plus sign answer 0. */
int32_t qvimchkwindoverlap(const qvywindow *a, const qvywindow *b);
int32_t qvim3chkwindoverlap(const qvyzwindow *a, const qvyzwindow *b);

/* Copies the x and y corners of a 3-D window. */
void qvimwind3to2(const qvyzwindow *window3, qvywindow *window2);

/* What the slot xwind of every kind does first. *window points to a window or is null, and is set:
 *
 *   's'      the window given (null: the whole image) becomes the image's window. Returns 1 and sets
 *            *window to the image's window. If it reaches outside the image: the window becomes empty,
 *            every transfer slot moves nothing from then on (qvimnullwind), *window null, returns 0
 *   'w'      copies the image's window to the one given, if any; sets *window to the image's own;
 *            returns 0
 *   'i'      the same with the image's full extent
 *   others   sets *window to null, returns 0
 *
 * A kind puts its own set-up slots back after a result of 1. */
int32_t qvimxwind(qvimage *image, qvywindow **window, int32_t letter);
int32_t qvim3xwind(qvimage3 *image, qvyzwindow **window, int32_t letter);

/* --- access lengths --- */

/* How many pixels a run has from a position of the window to its end. The name says along which axis it goes,
 * whether it wraps, and whether the position is checked:
 *
 *   nowrap   to the end of the line: W - x along x, H - y along y, D - z along z
 *   wrap     on to the end of the window, line after line: (W - x) + (H - y - 1) W along x,
 *            (H - y) + (W - x - 1) H along y. In 3-D the other axes follow in ascending order: along x by
 *            y and z, along y by x and z, along z by x and y
 *   1        a single pixel: 1, or 0 where the position on the scanned axis is its extent
 *   chk      0 for positions outside the window, negative ones included; without it the result for such a
 *            position has no meaning */
typedef uint64_t qvimacclen_fn(const qvywindow *window, int32_t x, int32_t y);
typedef uint64_t qvim3acclen_fn(const qvyzwindow *window, int32_t x, int32_t y, int32_t z);

qvimacclen_fn qvimacclenxscannowrap;
qvimacclen_fn qvimacclenyscannowrap;
qvimacclen_fn qvimacclenxscanwrap;
qvimacclen_fn qvimacclenyscanwrap;
qvimacclen_fn qvimacclenxscanchknowrap;
qvimacclen_fn qvimacclenyscanchknowrap;
qvimacclen_fn qvimacclenxscanchkwrap;
qvimacclen_fn qvimacclenyscanchkwrap;
qvimacclen_fn qvimacclenxscan1;
qvimacclen_fn qvimacclenyscan1;
qvimacclen_fn qvimacclenxscanchk1;
qvimacclen_fn qvimacclenyscanchk1;
qvim3acclen_fn qvim3acclenxscannowrap;
qvim3acclen_fn qvim3acclenyscannowrap;
qvim3acclen_fn qvim3acclenzscannowrap;
qvim3acclen_fn qvim3acclenxscanwrap;
qvim3acclen_fn qvim3acclenyscanwrap;
qvim3acclen_fn qvim3acclenzscanwrap;
qvim3acclen_fn qvim3acclenxscanchknowrap;
qvim3acclen_fn qvim3acclenyscanchknowrap;
qvim3acclen_fn qvim3acclenzscanchknowrap;
qvim3acclen_fn qvim3acclenxscanchkwrap;
qvim3acclen_fn qvim3acclenyscanchkwrap;
qvim3acclen_fn qvim3acclenzscanchkwrap;
qvim3acclen_fn qvim3acclenxscan1;
qvim3acclen_fn qvim3acclenyscan1;
qvim3acclen_fn qvim3acclenzscan1;
qvim3acclen_fn qvim3acclenxscanchk1;
qvim3acclen_fn qvim3acclenyscanchk1;
qvim3acclen_fn qvim3acclenzscanchk1;

/* The routine for a mode word, of which the scan bits, QVIM_WRAP and QVIM_TRUST (unchecked) count; the
 * "1func" forms choose among the single-pixel routines and ignore QVIM_WRAP. The image is not looked at. Scan
 * bits that name no axis of the image answer an unchecked routine along x: refuse such modes before keeping
 * one. */
qvimacclen_fn *qvimacclenfunc(const qvimage *image, uint32_t mode);
qvimacclen_fn *qvimacclen1func(const qvimage *image, uint32_t mode);
qvim3acclen_fn *qvim3acclenfunc(const qvimage3 *image, uint32_t mode);
qvim3acclen_fn *qvim3acclen1func(const qvimage3 *image, uint32_t mode);

/* The length itself for a mode's scan bits and QVIM_WRAP, unchecked and checked; 0 where the scan bits name
 * no axis of the window. */
uint64_t qvimacclen(const qvywindow *window, int32_t x, int32_t y, uint32_t mode);
uint64_t qvimacclenchk(const qvywindow *window, int32_t x, int32_t y, uint32_t mode);
uint64_t qvim3acclen(const qvyzwindow *window, int32_t x, int32_t y, int32_t z, uint32_t mode);
uint64_t qvim3acclenchk(const qvyzwindow *window, int32_t x, int32_t y, int32_t z, uint32_t mode);

/* --- coordinate advance --- */

/* Moves a position on by n pixels along the scanned axis, going on with the next line where one ends, in the
 * order of the wrapping access lengths. One pixel beyond the window's last is where a position ends that has
 * passed it: the last axis is not wrapped. Nothing happens in a window with empty lines. */
void qvimnewcoordxscan(const qvywindow *window, int32_t *x, int32_t *y, uint32_t n);
void qvimnewcoordyscan(const qvywindow *window, int32_t *x, int32_t *y, uint32_t n);
void qvim3newcoordxscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);
void qvim3newcoordyscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);
void qvim3newcoordzscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);

/* Moves a position by one step d, 1 or -1, to the next or the previous line where it leaves this one. */
void qvimnewcoordxscan1(const qvywindow *window, int32_t *x, int32_t *y, int32_t d);
void qvimnewcoordyscan1(const qvywindow *window, int32_t *x, int32_t *y, int32_t d);
void qvim3newcoordxscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);
void qvim3newcoordyscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);
void qvim3newcoordzscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);

QVIM_END_DECLS

#endif
