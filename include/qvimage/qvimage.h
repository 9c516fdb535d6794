/* The whole interface of the library. */
#ifndef QVIMAGE_QVIMAGE_H
#define QVIMAGE_QVIMAGE_H

#include <qvimage/alloc.h>
#include <qvimage/arith.h>
#include <qvimage/avi.h>
#include <qvimage/block.h>
#include <qvimage/bmp.h>
#include <qvimage/bufio.h>
#include <qvimage/codec.h>
#include <qvimage/colour.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/fileinfo.h>
#include <qvimage/fits.h>
#include <qvimage/jpeg.h>
#include <qvimage/kernel.h>
#include <qvimage/log.h>
#include <qvimage/memory.h>
#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>
#include <qvimage/npfpix.h>
#include <qvimage/null.h>
#include <qvimage/pgm.h>
#include <qvimage/progress.h>
#include <qvimage/raw.h>
#include <qvimage/record.h>
#include <qvimage/series.h>
#include <qvimage/tiff.h>
#include <qvimage/types.h>
#include <qvimage/utility.h>
#include <qvimage/views.h>
#include <qvimage/window.h>
#include <qvimage/x11.h>

#endif
