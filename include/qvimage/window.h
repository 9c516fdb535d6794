/* Windows: checks, access lengths, coordinate advance. */
#ifndef QVIMAGE_WINDOW_H
#define QVIMAGE_WINDOW_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

int32_t qvimchkxy(const int32_t dims[2]);
int32_t qvimchkxye(const qvywindow *window, const qvxypoint *point);
int32_t qvimchkxyi(const qvywindow *window, const qvxypoint *point);
int32_t qvimchkwind(const qvywindow *window);
int32_t qvimchkwindsub(const qvywindow *outer, const qvywindow *inner);
int32_t qvimchkimage(const qvimage *image);
int32_t qvimchkwindoverlap(const qvywindow *a, const qvywindow *b);
int32_t qvim3chkxyz(const int32_t dims[3]);
int32_t qvim3chkxyze(const qvyzwindow *window, const qvxyzpoint *point);
int32_t qvim3chkxyzi(const qvyzwindow *window, const qvxyzpoint *point);
int32_t qvim3chkwind(const qvyzwindow *window);
int32_t qvim3chkwindsub(const qvyzwindow *outer, const qvyzwindow *inner);
int32_t qvim3chkimage(const qvimage3 *image);
int32_t qvim3chkwindoverlap(const qvyzwindow *a, const qvyzwindow *b);
void    qvimwind3to2(const qvyzwindow *window3, qvywindow *window2);
int32_t qvimxwind(qvimage *image, qvywindow **window, int32_t letter);
int32_t qvim3xwind(qvimage3 *image, qvyzwindow **window, int32_t letter);

typedef uint64_t qvimacclen_fn(const qvywindow *window, int32_t x, int32_t y);
typedef uint64_t qvim3acclen_fn(const qvyzwindow *window, int32_t x, int32_t y, int32_t z);
qvimacclen_fn qvimacclenxscannowrap, qvimacclenyscannowrap, qvimacclenxscanwrap, qvimacclenyscanwrap,
  qvimacclenxscanchknowrap, qvimacclenyscanchknowrap, qvimacclenxscanchkwrap, qvimacclenyscanchkwrap,
  qvimacclenxscan1, qvimacclenyscan1, qvimacclenxscanchk1, qvimacclenyscanchk1;
qvim3acclen_fn qvim3acclenxscannowrap, qvim3acclenyscannowrap, qvim3acclenzscannowrap,
  qvim3acclenxscanwrap, qvim3acclenyscanwrap, qvim3acclenzscanwrap,
  qvim3acclenxscanchknowrap, qvim3acclenyscanchknowrap, qvim3acclenzscanchknowrap,
  qvim3acclenxscanchkwrap, qvim3acclenyscanchkwrap, qvim3acclenzscanchkwrap,
  qvim3acclenxscan1, qvim3acclenyscan1, qvim3acclenzscan1,
  qvim3acclenxscanchk1, qvim3acclenyscanchk1, qvim3acclenzscanchk1;
qvimacclen_fn  *qvimacclenfunc(const qvimage *image, uint32_t mode);
qvimacclen_fn  *qvimacclen1func(const qvimage *image, uint32_t mode);
qvim3acclen_fn *qvim3acclenfunc(const qvimage3 *image, uint32_t mode);
qvim3acclen_fn *qvim3acclen1func(const qvimage3 *image, uint32_t mode);
uint64_t qvimacclen(const qvywindow *window, int32_t x, int32_t y, uint32_t mode);
uint64_t qvimacclenchk(const qvywindow *window, int32_t x, int32_t y, uint32_t mode);
uint64_t qvim3acclen(const qvyzwindow *window, int32_t x, int32_t y, int32_t z, uint32_t mode);
uint64_t qvim3acclenchk(const qvyzwindow *window, int32_t x, int32_t y, int32_t z, uint32_t mode);

void qvimnewcoordxscan(const qvywindow *window, int32_t *x, int32_t *y, uint32_t n);
void qvimnewcoordyscan(const qvywindow *window, int32_t *x, int32_t *y, uint32_t n);
void qvimnewcoordxscan1(const qvywindow *window, int32_t *x, int32_t *y, int32_t d);
void qvimnewcoordyscan1(const qvywindow *window, int32_t *x, int32_t *y, int32_t d);
void qvim3newcoordxscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);
void qvim3newcoordyscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);
void qvim3newcoordzscan(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, uint32_t n);
void qvim3newcoordxscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);
void qvim3newcoordyscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);
void qvim3newcoordzscan1(const qvyzwindow *window, int32_t *x, int32_t *y, int32_t *z, int32_t d);

QVIM_END_DECLS

#endif
