/**
 * A 3-D image: the Java side of a native record, as {@link Jqvimage} is of a 2-D one, with the same rules.
 * Helpers for memory and names are those of {@link Jqvimage}.
 */
class Jqvimage3 {
  static { Jqverrno.load(); }

  /** Address of the record, 0 where there is none. */
  public long peer3adrs;

  /** The full extent and the current window. */
  public Jqvyzwindow imdim = new Jqvyzwindow(), wind = new Jqvyzwindow();

  /** What a pixel is made of. */
  public Jqvimagedata d = new Jqvimagedata();

  /** What follows from that. */
  public Jqvimagefacts f = new Jqvimagefacts();

  /** The physical size of a pixel. */
  public Jqvimagehints h = new Jqvimagehints();

  /** The name of the kind of image. */
  public String devname;

  /** The objects that the image is built over; they stay reachable while it is. */
  public Object[] filter = new Object[4];

  /**
   * Bytes of a record: what a peer's memory needs.
   *
   * @return 452
   */
  public static native int csize();

  /**
   * Copies what a record says of its image into this object's fields.
   *
   * @param record the record's address; nothing happens for 0
   */
  public native void CtoJ(long record);

  /**
   * Can pixels in the form of that word be copied from and to the image byte by byte?
   *
   * @param datatype a data type with flags
   * @return 1 or 0
   */
  public native int qvimdatasupported(int datatype);

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_byte(int mode, byte[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_short(int mode, short[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_int(int mode, int[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_float(int mode, float[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_double(int mode, double[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_byte(int mode, byte[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_short(int mode, short[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_int(int mode, int[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_float(int mode, float[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_double(int mode, double[] buffer, int count, int x, int y, int z)
      throws JqverrnoException;

  /**
   * Are all transfers of that array complete? Ask before the array is used for something else.
   *
   * @param mode 0
   * @param buffer the array
   * @return 1 when they are
   * @throws JqverrnoException -5 where the image has none of them
   */
  public native int iowait_byte(int mode, byte[] buffer) throws JqverrnoException;

  /**
   * Are all transfers of that array complete? Ask before the array is used for something else.
   *
   * @param mode 0
   * @param buffer the array
   * @return 1 when they are
   * @throws JqverrnoException -5 where the image has none of them
   */
  public native int iowait_short(int mode, short[] buffer) throws JqverrnoException;

  /**
   * Are all transfers of that array complete? Ask before the array is used for something else.
   *
   * @param mode 0
   * @param buffer the array
   * @return 1 when they are
   * @throws JqverrnoException -5 where the image has none of them
   */
  public native int iowait_int(int mode, int[] buffer) throws JqverrnoException;

  /**
   * Are all transfers of that array complete? Ask before the array is used for something else.
   *
   * @param mode 0
   * @param buffer the array
   * @return 1 when they are
   * @throws JqverrnoException -5 where the image has none of them
   */
  public native int iowait_float(int mode, float[] buffer) throws JqverrnoException;

  /**
   * Are all transfers of that array complete? Ask before the array is used for something else.
   *
   * @param mode 0
   * @param buffer the array
   * @return 1 when they are
   * @throws JqverrnoException -5 where the image has none of them
   */
  public native int iowait_double(int mode, double[] buffer) throws JqverrnoException;

  /**
   * Sets up runs.
   *
   * @param mode the scan: 0 along x, 2 along y, 4 along z (3-D images); plus 0x40 to go on with the next
   *     line
   * @param type a data type, plus 0x100 or 0x200 for significant bits at the high or the low end, 0x400
   *     to accept anything in unused bits, 0x800 for the other byte order
   * @param colourmask bit i selects component i: one run of bits
   * @return 1
   * @throws JqverrnoException what the image does not serve
   */
  public native int ioset(int mode, int type, int colourmask) throws JqverrnoException;

  /**
   * How many pixels one run from there can move.
   *
   * @param count how many are wanted
   * @param x column in the window
   * @param y row in the window
   * @param z plane in the window
   * @return that number or less
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int iolen(int count, int x, int y, int z) throws JqverrnoException;

  /**
   * Questions and commands by code, which kinds of images know or do not.
   *
   * @param code a character, or two
   * @param arg1 as the code says
   * @param arg2 as the code says
   * @return the answer, 0 where the code is not known
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int aeiou(int code, int arg1, int arg2) throws JqverrnoException;

  /**
   * A command with a path, such as 'r' of a series of files.
   *
   * @param code a character, or two
   * @param arg1 as the code says
   * @param arg2 as the code says
   * @param text the path
   * @return the answer, 0 where the code is not known
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int aeiou_r(int code, int arg1, int arg2, String text) throws JqverrnoException;

  /**
   * A question whose answer is bytes.
   *
   * @param code a character, or two
   * @param arg1 as the code says
   * @param arg2 as the code says
   * @param bytes receives the answer
   * @return the answer, 0 where the code is not known
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int aeiou_ts(int code, int arg1, int arg2, byte[] bytes) throws JqverrnoException;

  /**
   * Asks for the window or sets it, and brings {@link #wind} up to date.
   *
   * @param window the window, or null
   * @param letter 's' to set the window (null: the full extent), which discards set-ups; 'w' or 'i' to
   *     look at the window or the full extent
   * @return 1, or 0 where the window does not fit
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int xwindpeer(Jqvyzwindow window, int letter) throws JqverrnoException;

  /**
   * Sets the record's physical size of a pixel.
   *
   * @param hints the size; nothing happens for null
   */
  public native void xhintspeer(Jqvimagehints hints);

  /**
   * Makes the null image: it takes every call and does nothing.
   *
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_defnull() throws JqverrnoException;

  /**
   * Makes an image of pixels in native memory.
   *
   * @param buffer address of the pixels
   * @param imdim the extents, as a window
   * @param pitch bytes from a line to the next, 0 for lines without gaps
   * @param pixietype a data type
   * @param bitsused significant bits, 0 for all
   * @param pixies components of a pixel
   * @param pixelhint what the components mean
   * @param chaininfo 0, or what the image contributes to answers of {@link #aeiou}
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_memory(long buffer, Jqvyzwindow imdim, int pitch, int pixietype, int bitsused,
      int pixies, int pixelhint, int chaininfo) throws JqverrnoException;

  /**
   * Makes an image of pixels in native memory, with the physical size of a pixel.
   *
   * @param buffer address of the pixels
   * @param imdim the extents, as a window
   * @param pitch bytes from a line to the next, 0 for lines without gaps
   * @param pixietype a data type
   * @param bitsused significant bits, 0 for all
   * @param pixies components of a pixel
   * @param pixelhint what the components mean
   * @param chaininfo 0, or what the image contributes to answers of {@link #aeiou}
   * @param units unit of width and height
   * @param depthunits unit of the depth
   * @param pixelwidth width of a pixel
   * @param pixelheight height of a pixel
   * @param pixeldepth depth of a pixel
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_memory2(long buffer, Jqvyzwindow imdim, int pitch, int pixietype, int bitsused,
      int pixies, int pixelhint, int chaininfo, int units, int depthunits, float pixelwidth,
      float pixelheight, float pixeldepth) throws JqverrnoException;

  /**
   * Makes an image of pixels in native memory whose size is checked.
   *
   * @param buffer address of the pixels
   * @param size bytes of the buffer, 0 where they are not known
   * @param imdim the extents, as a window
   * @param pitch bytes from a line to the next, 0 for lines without gaps
   * @param pixietype a data type
   * @param bitsused significant bits, 0 for all
   * @param pixies components of a pixel
   * @param pixelhint what the components mean
   * @param chaininfo 0, or what the image contributes to answers of {@link #aeiou}
   * @param units unit of width and height
   * @param depthunits unit of the depth
   * @param pixelwidth width of a pixel
   * @param pixelheight height of a pixel
   * @param pixeldepth depth of a pixel
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_memory3(long buffer, long size, Jqvyzwindow imdim, int pitch, int pixietype,
      int bitsused, int pixies, int pixelhint, int chaininfo, int units, int depthunits, float pixelwidth,
      float pixelheight, float pixeldepth) throws JqverrnoException;

  /**
   * Makes an image of pixels in native memory out of complete descriptions.
   *
   * @param buffer address of the pixels
   * @param size bytes of the buffer, 0 where they are not known
   * @param imdim the extents, as a window
   * @param pitch bytes from a line to the next, 0 for lines without gaps
   * @param planepitch bytes from a plane to the next, 0 for planes without gaps
   * @param d what a pixel is made of, or null
   * @param h physical size of a pixel, or null
   * @param chaininfo 0, or what the image contributes to answers of {@link #aeiou}
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_memorydata(long buffer, long size, Jqvyzwindow imdim, int pitch, int planepitch,
      Jqvimagedata d, Jqvimagehints h, int chaininfo) throws JqverrnoException;

  /**
   * Makes a view in other data types and numbers of bits.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param d what a pixel is made of, or null
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @param maskundefined 1 to hide bits beyond the significant ones
   * @param bits significant bits presented, 0 for the source's
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_converter(Jqvimage3 source, Jqvimagedata d, int sharewindow, int maskundefined,
      int bits) throws JqverrnoException;

  /**
   * Makes a view of one component.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param mode 0 to present the source's window as an image of its own, 1 to share its window
   * @param mask one bit: the component
   * @param reserved 0
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_colorslice(Jqvimage3 source, int mode, int mask, int reserved)
      throws JqverrnoException;

  /**
   * Makes a view in another interpretation of colours.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param hint what is presented
   * @param mode 0 to present the source's window as an image of its own, 1 to share its window
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_colorconverter(Jqvimage3 source, int hint, int mode) throws JqverrnoException;

  /**
   * Makes a view of raw values behind a mosaic of colour filters as pixels of four components.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param mode 0 to present the source's window as an image of its own, 1 to share its window
   * @param phase where red lies in a cell: bit 0 its column, bit 1 its row
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_Beyer4(Jqvimage3 source, int mode, int phase) throws JqverrnoException;

  /**
   * Makes a view of a picture as an image with one plane.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_def3from2(Jqvimage source, int sharewindow) throws JqverrnoException;

  /**
   * Makes a view whose planes are renumbered in a circle.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param frameoffset which frame becomes frame 0
   * @param reserved1 0
   * @param reserved2 0
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_def3from3(Jqvimage3 source, int frameoffset, int reserved1, int reserved2,
      int sharewindow) throws JqverrnoException;

  /**
   * Makes a view of values looked up in tables, which must outlive it.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @param r0 address of the first component's read table
   * @param r1 of the second's
   * @param r2 of the third's
   * @param r3 of the fourth's
   * @param w0 address of the first component's write table
   * @param w1 of the second's
   * @param w2 of the third's
   * @param w3 of the fourth's
   * @param pixies components of a pixel
   * @param pixelhint what the components mean
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_lut(Jqvimage3 source, int sharewindow, long r0, long r1, long r2, long r3,
      long w0, long w1, long w2, long w3, int pixies, int pixelhint) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of JPEG files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_bufjpegseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of PBM, PGM or PPM files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_bufpgmseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of raw files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_bufbinseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of TIFF files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_buftiffseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of BMP files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_bufbmpseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of a numbered series of FITS files, a plane a file.
   *
   * @param handle one element: 0, and then the open file or series
   * @param framebuffer holds one plane at a time; stays in element 0 of {@link #filter}
   * @param lut receives the planes' colour maps, or null; stays in element 1 of {@link #filter}
   * @param pattern the files' path with '?' in the places of digits
   * @param bufsize bytes of a file's block, 0 for 64 KiB
   * @param first number of the first file
   * @param last number of the last file
   * @param writeback 1 to save changed planes
   * @param locking 1 to lock planes while threads move pixels
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_buffitsseq(long[] handle, Jqvimage framebuffer, Jqvimage lut, String pattern,
      long bufsize, int first, int last, int writeback, int locking) throws JqverrnoException;

  /**
   * Makes an image of the colour maps of a series of TIFF files.
   *
   * @param seq the series
   * @param lut what the series was given
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_buftifflutseq(Jqvimage3 seq, Jqvimage lut) throws JqverrnoException;

  /**
   * Makes an image of the colour maps of a series of BMP files.
   *
   * @param seq the series
   * @param lut what the series was given
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage3_bufbmplutseq(Jqvimage3 seq, Jqvimage lut) throws JqverrnoException;

  /**
   * Closes a JPEG series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_bufjpegseqdone(long[] handle) throws JqverrnoException;

  /**
   * Closes a PBM, PGM or PPM series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_bufpgmseqdone(long[] handle) throws JqverrnoException;

  /**
   * Closes a raw series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_bufbinseqdone(long[] handle) throws JqverrnoException;

  /**
   * Closes a TIFF series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_buftiffseqdone(long[] handle) throws JqverrnoException;

  /**
   * Closes a BMP series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_bufbmpseqdone(long[] handle) throws JqverrnoException;

  /**
   * Closes a FITS series. The plane in memory is not saved: ask for that by 'f'.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_buffitsseqdone(long[] handle) throws JqverrnoException;

  /**
   * Opens a TIFF file, a plane a picture.
   *
   * @param handle one element: 0, and then the open file or series
   * @param path the file
   * @return 0 or more
   * @throws JqverrnoException what the library answers, such as -13 for a file that is not there
   */
  public native int qvimage3_tiffseq(long[] handle, String path) throws JqverrnoException;

  /**
   * Closes a TIFF file.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_tiffseqdone(long[] handle) throws JqverrnoException;

  /**
   * Opens a FITS file, a plane a picture.
   *
   * @param handle one element: 0, and then the open file or series
   * @param path the file
   * @return 0 or more
   * @throws JqverrnoException what the library answers, such as -13 for a file that is not there
   */
  public native int qvimage3_fitsseq(long[] handle, String path) throws JqverrnoException;

  /**
   * Closes a FITS file.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_fitsseqdone(long[] handle) throws JqverrnoException;

  /**
   * Opens a PBM, PGM or PPM file, a plane a picture.
   *
   * @param handle one element: 0, and then the open file or series
   * @param path the file
   * @return 0 or more
   * @throws JqverrnoException what the library answers, such as -13 for a file that is not there
   */
  public native int qvimage3_pgmseq(long[] handle, String path) throws JqverrnoException;

  /**
   * Closes a PBM, PGM or PPM file.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_pgmseqdone(long[] handle) throws JqverrnoException;

  /**
   * Opens an AVI file, a plane a picture.
   *
   * @param handle one element: 0, and then the open file or series
   * @param path the file
   * @return 0 or more
   * @throws JqverrnoException what the library answers, such as -13 for a file that is not there
   */
  public native int qvimage3_aviseq(long[] handle, String path) throws JqverrnoException;

  /**
   * Closes a AVI file.
   *
   * @param handle what the constructor left in it
   * @return 0 or a code
   * @throws JqverrnoException -64 for a handle of something else
   */
  public native int qvimage3_aviseqdone(long[] handle) throws JqverrnoException;
}
