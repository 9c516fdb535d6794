/**
 * A 2-D image: the Java side of a native record. The record is memory of {@link #csize} bytes that the
 * program allocates ({@code peeradrs = pixelalloc(1, csize())}) and frees once no view over it is used; one
 * of the constructors fills it in. Without a record an object works as a null image.
 *
 * <p>Addresses are used as they are: memory that was freed or never was one ends the process. The package
 * {@code org.qvimage} has classes that own what they use.
 */
class Jqvimage {
  static { Jqverrno.load(); }

  /** Address of the record, 0 where there is none. */
  public long peeradrs;

  /** The full extent and the current window. */
  public Jqvywindow imdim = new Jqvywindow(), wind = new Jqvywindow();

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
   * Asks or sets up by number.
   *
   * @param id 0 for a text with the build's date, time and platform; 2 to set up logging by the
   *     environment variable {@code JQVIMAGEPEERLOG}
   * @return the text, else null
   */
  public static native String peerVersionId(int id);

  /**
   * Does nothing.
   *
   * @return 0
   */
  public static native int peerHeapStatus();

  /**
   * Bytes of a native address.
   *
   * @return 8
   */
  public static native int pixelptrsize();

  /**
   * Bytes of a component.
   *
   * @param type a data type: 1, 2, 4, 8, 16 or 32
   * @return the bytes, or 0 for a type that is none
   */
  public static native int pixelsize(int type);

  /**
   * Bytes of a record: what a peer's memory needs.
   *
   * @return 452
   */
  public static native int csize();

  /**
   * Allocates memory that is all 0, for records, pixels or tables. It is nobody's: free it by
   * {@link #pixelfree}.
   *
   * @param type a data type; 1 for bytes
   * @param count how many components
   * @return the address
   * @throws JqverrnoException -2 where memory is short, and for a size of 0
   */
  public static native long pixelalloc(int type, long count) throws JqverrnoException;

  /**
   * Frees memory of {@link #pixelalloc}.
   *
   * @param address what that answered; nothing happens for 0
   */
  public static native void pixelfree(long address);

  /**
   * Copies memory to memory.
   *
   * @param destination where to; nothing happens for 0
   * @param source where from; nothing happens for 0
   * @param type a data type
   * @param count how many components
   */
  public static native void pixelcopy(long destination, long source, int type, long count);

  /**
   * Sets memory to 0.
   *
   * @param address the memory; nothing happens for 0
   * @param offset the first byte
   * @param length how many bytes
   */
  public static native void pixelzero(long address, long offset, long length);

  /**
   * Stores 32 bits.
   *
   * @param address the memory; nothing happens for 0
   * @param offset the first byte
   * @param value what is stored
   */
  public static native void pixelsetint(long address, long offset, int value);

  /**
   * Loads 32 bits.
   *
   * @param address the memory
   * @param offset the first byte
   * @return the value, 0 for address 0
   */
  public static native int pixelgetint(long address, long offset);

  /**
   * Stores 64 bits.
   *
   * @param address the memory; nothing happens for 0
   * @param offset the first byte
   * @param value what is stored
   */
  public static native void pixelsetlong(long address, long offset, long value);

  /**
   * Loads 64 bits.
   *
   * @param address the memory
   * @param offset the first byte
   * @return the value, 0 for address 0
   */
  public static native long pixelgetlong(long address, long offset);

  /**
   * Makes a record refer to a source.
   *
   * @param record the record's address
   * @param source that of its source; nothing happens where one of both is 0
   * @param index which of its sources, 0 to 3; nothing happens for others
   */
  public static native void setfilterip(long record, long source, int index);

  /**
   * The source that a record refers to.
   *
   * @param record the record's address
   * @param index which of its sources, 0 to 3
   * @return the reference, or 0
   */
  public static native long getfilterip(long record, int index);

  /**
   * Does a record refer to a record of the same array, by its distance?
   *
   * @param record the record's address
   * @param index which of its sources, 0 to 3
   * @return whether the reference is one from -128 to -1
   */
  public static native boolean isfilterstack(long record, int index);

  /**
   * Copies what a record says of its image into this object's fields.
   *
   * @param record the record's address; nothing happens for 0
   */
  public native void CtoJ(long record);

  /**
   * Packs pixels of 3 bytes into integers, the first byte lowest and 255 on top: what AWT takes as red, green
   * and blue are pixels that have their blue first.
   *
   * @param source pixels of 3 bytes
   * @param destination receives an integer a pixel
   * @param offset the first one in it
   * @param count how many; no more than both arrays hold
   */
  public static native void RGBToAwt(byte[] source, int[] destination, int offset, int count);

  /**
   * Packs pixels of 4 bytes into integers, the first byte lowest, with 255 in the place of the last: blue
   * first, as {@link #RGBToAwt}.
   *
   * @param source pixels of 4 bytes
   * @param destination receives an integer a pixel
   * @param offset the first one in it
   * @param count how many; no more than both arrays hold
   */
  public static native void RGBXToAwt(byte[] source, int[] destination, int offset, int count);

  /**
   * Can pixels in the form of that word be copied from and to the image byte by byte?
   *
   * @param datatype a data type with flags
   * @return 1 or 0
   */
  public native int qvimdatasupported(int datatype);

  /**
   * The name of what components mean.
   *
   * @param hint a pixel hint
   * @return the name, or null
   */
  public static native String hinttostring(int hint);

  /**
   * The name of a unit.
   *
   * @param unit the unit
   * @return the name, or null
   */
  public static native String unittostring(int unit);

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_byte(int mode, byte[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_short(int mode, short[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_int(int mode, int[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_float(int mode, float[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels from the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer receives the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int ioread_double(int mode, double[] buffer, int count, int x, int y)
      throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_byte(int mode, byte[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_short(int mode, short[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_int(int mode, int[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_float(int mode, float[] buffer, int count, int x, int y) throws JqverrnoException;

  /**
   * Moves a run of pixels to the image along the scan of the last {@link #ioset}.
   *
   * @param mode 0
   * @param buffer the pixels
   * @param count how many pixels; no more are moved than the array holds
   * @param x column in the window
   * @param y row in the window
   * @return how many were moved
   * @throws JqverrnoException -5 where the image has no transfers
   */
  public native int iorite_double(int mode, double[] buffer, int count, int x, int y)
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
   * @return that number or less
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int iolen(int count, int x, int y) throws JqverrnoException;

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
   * Asks for the window or sets it, and brings {@link #wind} up to date.
   *
   * @param window the window, or null
   * @param letter 's' to set the window (null: the full extent), which discards set-ups; 'w' or 'i' to
   *     look at the window or the full extent
   * @return 1, or 0 where the window does not fit
   * @throws JqverrnoException -5 where the image cannot tell
   */
  public native int xwindpeer(Jqvywindow window, int letter) throws JqverrnoException;

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
  public native int qvimage_defnull() throws JqverrnoException;

  /**
   * Makes an image of a size without pixels.
   *
   * @param imdim the extents, as a window
   * @param d what a pixel is made of, or null
   * @param h physical size of a pixel, or null
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_defnop(Jqvywindow imdim, Jqvimagedata d, Jqvimagehints h)
      throws JqverrnoException;

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
  public native int qvimage_memory(long buffer, Jqvywindow imdim, int pitch, int pixietype, int bitsused,
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
   * @param pixelwidth width of a pixel
   * @param pixelheight height of a pixel
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_memory2(long buffer, Jqvywindow imdim, int pitch, int pixietype, int bitsused,
      int pixies, int pixelhint, int chaininfo, int units, float pixelwidth, float pixelheight)
      throws JqverrnoException;

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
   * @param pixelwidth width of a pixel
   * @param pixelheight height of a pixel
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_memory3(long buffer, long size, Jqvywindow imdim, int pitch, int pixietype,
      int bitsused, int pixies, int pixelhint, int chaininfo, int units, float pixelwidth, float pixelheight)
      throws JqverrnoException;

  /**
   * Makes an image of pixels in native memory out of complete descriptions.
   *
   * @param buffer address of the pixels
   * @param size bytes of the buffer, 0 where they are not known
   * @param imdim the extents, as a window
   * @param pitch bytes from a line to the next, 0 for lines without gaps
   * @param d what a pixel is made of, or null
   * @param h physical size of a pixel, or null
   * @param chaininfo 0, or what the image contributes to answers of {@link #aeiou}
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_memorydata(long buffer, long size, Jqvywindow imdim, int pitch, Jqvimagedata d,
      Jqvimagehints h, int chaininfo) throws JqverrnoException;

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
  public native int qvimage_converter(
      Jqvimage source, Jqvimagedata d, int sharewindow, int maskundefined, int bits) throws JqverrnoException;

  /**
   * Makes a view of every so many pixels.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param ignored no effect
   * @param xperiod every how many columns
   * @param yperiod every how many lines
   * @param xphase the first column
   * @param yphase the first line
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_decimate(Jqvimage source, int ignored, int xperiod, int yperiod, int xphase,
      int yphase) throws JqverrnoException;

  /**
   * Makes a view in which odd or even lines stand for both.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @param selector 1 for odd lines, 0 for even ones
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_yodd(Jqvimage source, int sharewindow, int selector) throws JqverrnoException;

  /**
   * Makes a view of the mean of all planes.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_stack(Jqvimage3 source) throws JqverrnoException;

  /**
   * Makes a view that notes reads and writes.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @param nomapping 1 to forbid mappings
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_cachemonitor(Jqvimage source, int sharewindow, int nomapping)
      throws JqverrnoException;

  /**
   * Makes a view of a plane, or of all planes side by side.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param xaxis the source's axis along x: 0 its x, 2 its y, 4 its z
   * @param yaxis the source's axis along y
   * @param plane the position along the third axis
   * @param flags 0; 0x80 for all planes one below another, 0x40 side by side
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_def2from3(Jqvimage3 source, int xaxis, int yaxis, int plane, int flags)
      throws JqverrnoException;

  /**
   * Makes a view turned or mirrored.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param sharewindow 0 to present the source's window as an image of its own, 1 to share its window
   * @param flags 1 to exchange x and y, 4 to mirror in x, 2 in y; 5 is a quarter clockwise, 6 a half, 3 a
   *     quarter back
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_rotate(Jqvimage source, int sharewindow, int flags) throws JqverrnoException;

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
   * @param flags 1 for three tables at most, 2 to look up whole components whatever bits are used
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_lut(Jqvimage source, int sharewindow, long r0, long r1, long r2, long r3, long w0,
      long w1, long w2, long w3, int pixies, int pixelhint, int flags) throws JqverrnoException;

  /**
   * Makes a view of a table, an image of one row, with another number of entries.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param entries how many, a power of two
   * @param decimate 1 to spread them over the table, 0 for its first ones
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_lutconvert(Jqvimage source, int entries, int decimate) throws JqverrnoException;

  /**
   * Makes a view of raw values behind a mosaic of colour filters as pixels of four components.
   *
   * @param source the image presented, which stays in element 0 of {@link #filter}
   * @param mode 0 to present the source's window as an image of its own, 1 to share its window
   * @param phase where red lies in a cell: bit 0 its column, bit 1 its row
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_Beyer4(Jqvimage source, int mode, int phase) throws JqverrnoException;

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
  public native int qvimage_colorslice(Jqvimage source, int mode, int mask, int reserved)
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
  public native int qvimage_colorconverter(Jqvimage source, int hint, int mode) throws JqverrnoException;

  /**
   * Makes an image of a window or pixmap of X11 with a client-side image.
   *
   * @param dims the extents, as a window
   * @param display address of the connection to the X server
   * @param image address of a client-side image
   * @param drawable a window or pixmap
   * @param visual address of its visual, or 0
   * @param colormap its colour map, or 0
   * @param hint what is presented
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_hDC(Jqvywindow dims, long display, long image, long drawable, long visual,
      long colormap, int hint) throws JqverrnoException;

  /**
   * Makes an image of a client-side image of X11.
   *
   * @param dims the extents, as a window
   * @param display address of the connection to the X server
   * @param image address of a client-side image
   * @param visual address of its visual, or 0
   * @param colormap its colour map, or 0
   * @param hint what is presented
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_hXImage(Jqvywindow dims, long display, long image, long visual, long colormap,
      int hint) throws JqverrnoException;

  /**
   * Makes an image of a window or pixmap of X11.
   *
   * @param dims the extents, as a window
   * @param display address of the connection to the X server
   * @param drawable a window or pixmap
   * @param visual address of its visual, or 0
   * @param colormap its colour map, or 0
   * @param hint what is presented
   * @return 0 or more
   * @throws JqverrnoException what the library answers
   */
  public native int qvimage_hXDrawable(Jqvywindow dims, long display, long drawable, long visual,
      long colormap, int hint) throws JqverrnoException;
}
