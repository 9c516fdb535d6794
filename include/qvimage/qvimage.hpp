// The library for C++20 programs: images, chains of views and open files as values and owners. One include
// gives all of it and the C interface; nothing is to be linked but the library.
//
//   qvimage/cxx/status.hpp   how calls end: status, result<T>, the exception error
//   qvimage/cxx/image.hpp    images, access to their pixels, images over memory
//   qvimage/cxx/chain.hpp    chains of views, qvimage/cxx/views.hpp the views
//   qvimage/cxx/files.hpp    open files, of a known format or of any
//   qvimage/cxx/save.hpp     images into files, in one call or frame by frame
//   qvimage/cxx/series.hpp   numbered files as a volume that can be written
//   qvimage/cxx/formats.hpp  the formats by signature and name
//
// It compiles with and without exceptions and RTTI, and adds nothing to what C code does: a row is the
// calls of the record's slots that C code makes.
#pragma once

#include <qvimage/cxx/chain.hpp>
#include <qvimage/cxx/files.hpp>
#include <qvimage/cxx/formats.hpp>
#include <qvimage/cxx/image.hpp>
#include <qvimage/cxx/save.hpp>
#include <qvimage/cxx/series.hpp>
#include <qvimage/cxx/status.hpp>
#include <qvimage/cxx/views.hpp>
#include <qvimage/qvimage.h>
