/* TIFF and BigTIFF files. */
#ifndef QVIMAGE_TIFF_H
#define QVIMAGE_TIFF_H

#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

typedef struct tiffhandle tiffhandle;

int32_t qvimage_tiffwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage, qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder);
int32_t qvimage3_tiffwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage, qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder);
int32_t qvimage_tiffwriteopen(tiffhandle **h, int32_t bands, const uint32_t size[2], const qvimagedata *d, const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage, qvimagefileinfo *options);
int32_t qvimage_tiffwritesetup(tiffhandle **h, qvimage *image, qvimage *palette, qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder, int32_t newpage);
int32_t qvimage_tiffwriteifdinit(tiffhandle **h);
int32_t qvimage_tiffwritedata(tiffhandle **h, qvimagecallback callback, qvimage *image, int32_t band);
int32_t qvimage_tiffwriteifdfini(tiffhandle **h);
int32_t qvimage_tiffclose(tiffhandle **h);
int32_t qvimage_tifffini(tiffhandle **h, int32_t bands);
int32_t qvimage_tifferror(tiffhandle **h);
int32_t qvimage_tifffileopened(tiffhandle **h);

int32_t qvimage_tiffread(qvimage *image, qvimage *palette, tiffhandle **h, const char *path, const char *fopenmode, int64_t bufsize, uint64_t page, uint32_t infoonly);
int32_t qvimage_tiffreaddone(qvimage *image, qvimage *palette, tiffhandle **h);
int32_t qvimage3_tiffread(qvimage3 *image, qvimage *palette, tiffhandle **h, const char *path, const char *fopenmode, int64_t bufsize, uint32_t infoonly);
int32_t qvimage3_tiffreaddone(qvimage3 *image, qvimage *palette, tiffhandle **h);
int32_t qvimage_tiffreadinfo(tiffhandle *h, qvimagefileinfo *info, uint64_t page);
int32_t qvimage_tiffinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize, uint64_t page);
int64_t qvimage_tiffinfoN(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode, int64_t bufsize, int64_t first);
void    qvimage_tiffinfodone(qvimagefileinfo *info);

QVIM_END_DECLS

#endif
