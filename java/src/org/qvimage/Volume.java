package org.qvimage;

import java.awt.Rectangle;
import java.nio.ByteBuffer;

/**
 * Planes of pixels: in memory, of a file, of a numbered series of files, or a view over another volume.
 * Otherwise as {@link Image}.
 */
public final class Volume extends Pixels {
  private static final int ALONG_X = 0;
  private static final int ALONG_Y = 2;
  private static final int ALONG_Z = 4;

  private final int depth;

  Volume(Object peer, Record record) {
    super(peer, record);
    depth = extent("z");
  }

  /**
   * Planes.
   *
   * @return how many there are
   */
  public int depth() { return depth; }

  private int checked(int z) {
    if (z < 0 || z >= depth) throw new IllegalArgumentException("no plane " + z + ": there are " + depth);
    return z;
  }

  // --- pixels in memory ---

  /**
   * Makes a volume in memory whose pixels are all 0.
   *
   * @param width pixels in a row
   * @param height rows of a plane
   * @param depth planes
   * @param format what a pixel is made of
   * @return the volume
   */
  public static Volume allocate(int width, int height, int depth, PixelFormat format) {
    return Memory.allocate(format, width, height, depth).volume();
  }

  /**
   * Makes a volume of the pixels in a buffer, without a copy, which stays reachable as long as it is needed.
   *
   * @param pixels a direct buffer; the first pixel is at its position. Memory that others free, as closed
   *     arenas do, must outlast the image and its views
   * @param width pixels in a row
   * @param height rows of a plane
   * @param depth planes, which follow each other without gaps
   * @param pitch bytes from a row to the next, 0 for rows without gaps
   * @param format what a pixel is made of; components are in the machine's byte order
   * @return the volume
   */
  public static Volume over(
      ByteBuffer pixels, int width, int height, int depth, int pitch, PixelFormat format) {
    return Memory.over(pixels, pitch, format, width, height, depth).volume();
  }

  // --- pixels ---

  /**
   * Reads the pixels of a rectangle, row behind row, as 8-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, byte[] pixels) {
    moveArray(false, PixelType.UINT8, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle, row behind row, as 16-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, short[] pixels) {
    moveArray(false, PixelType.UINT16, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle, row behind row, as 32-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, int[] pixels) {
    moveArray(false, PixelType.UINT32, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle, row behind row, as 64-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, long[] pixels) {
    moveArray(false, PixelType.UINT64, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle, row behind row, in single precision.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, float[] pixels) {
    moveArray(false, PixelType.FLOAT32, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle, row behind row, in double precision.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int z, double[] pixels) {
    moveArray(false, PixelType.FLOAT64, area, checked(z), pixels);
  }

  /**
   * Reads the pixels of a rectangle into a direct buffer, in the image's own type and the machine's byte
   * order.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the buffer, used from its position on, which advances
   * @throws ImageException where reading fails
   */
  public void read(Rectangle area, int z, ByteBuffer pixels) { moveBuffer(false, area, checked(z), pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, as 8-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, byte[] pixels) {
    moveArray(true, PixelType.UINT8, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle, row behind row, as 16-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, short[] pixels) {
    moveArray(true, PixelType.UINT16, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle, row behind row, as 32-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, int[] pixels) {
    moveArray(true, PixelType.UINT32, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle, row behind row, as 64-bit integers.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, long[] pixels) {
    moveArray(true, PixelType.UINT64, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle, row behind row, in single precision.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, float[] pixels) {
    moveArray(true, PixelType.FLOAT32, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle, row behind row, in double precision.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int z, double[] pixels) {
    moveArray(true, PixelType.FLOAT64, area, checked(z), pixels);
  }

  /**
   * Writes the pixels of a rectangle from a direct buffer, in the image's own type and the machine's byte
   * order.
   *
   * @param area where they are
   * @param z the plane
   * @param pixels the buffer, used from its position on, which advances
   * @throws ImageException where writing fails
   */
  public void write(Rectangle area, int z, ByteBuffer pixels) { moveBuffer(true, area, checked(z), pixels); }
  /**
   * Saves the plane of a series that is in memory, if it was changed. Nothing happens to other volumes.
   *
   * @throws ImageException where the file cannot be written
   */
  public void flush() {
    synchronized (record.lock) {
      record.check();
      int code = command('f', 0, 0);
      if (code < 0) throw new ImageException(code, record.file, Direct.reason());
    }
  }

  // --- planes ---

  /**
   * Presents a plane.
   *
   * @param z which, from 0
   * @return the view
   */
  public Image plane(int z) { return slice(ALONG_X, ALONG_Y, checked(z), 0); }

  /**
   * Presents a cut through all planes along a row: z runs down.
   *
   * @param y the row
   * @return the view
   */
  public Image cutAlongRow(int y) { return slice(ALONG_X, ALONG_Z, y, 0); }

  /**
   * Presents a cut through all planes along a column: z runs down.
   *
   * @param x the column
   * @return the view
   */
  public Image cutAlongColumn(int x) { return slice(ALONG_Y, ALONG_Z, x, 0); }

  /**
   * Presents all planes side by side, or one below another.
   *
   * @param below whether one is below another
   * @return the view
   */
  public Image montage(boolean below) { return slice(ALONG_X, ALONG_Y, 0, below ? 0x80 : 0x40); }

  private Image slice(int x, int y, int at, int flags) {
    return image(view -> (int) Peers.DEF2FROM3.invokeExact(view, peer, x, y, at, flags));
  }

  /**
   * Presents the mean of all planes. For 8- and 16-bit integers; read only.
   *
   * @return the view
   */
  public Image mean() { return image(view -> (int) Peers.STACK.invokeExact(view, peer), true, null); }

  /**
   * Presents the planes in a circle from another one on.
   *
   * @param first the plane that becomes plane 0
   * @return the view
   */
  public Volume from(int first) {
    return volume(view -> (int) Peers.DEF3FROM3.invokeExact(view, peer, first, 0, 0, 0));
  }

  /**
   * Presents a part of some planes.
   *
   * @param area the part of each
   * @param first the first plane
   * @param planes how many
   * @return the view
   */
  public Volume crop(Rectangle area, int first, int planes) {
    if (area.isEmpty() || !area().contains(area) || planes < 1 || first < 0 || planes > depth - first)
      throw new IllegalArgumentException("no part of " + width() + " x " + height() + " x " + depth + ": "
          + area + ", " + planes + " from " + first);
    Object window = Peers.window(area.x, area.y, first, area.width, area.height, planes);
    return volume(view -> {
      int code = (int) Peers.DEF3FROM3.invokeExact(view, peer, 0, 0, 0, 0);
      return code < 0 ? code : (int) Peers.XWIND_3.invokeExact(view, window, (int) 's');
    });
  }

  // --- other views, as of an image ---

  /**
   * Presents pixels with another number of bits, as {@link Image#converter(int)}.
   *
   * @param bits 1 to 32
   * @return the view
   */
  public Volume converter(int bits) {
    PixelFormat wanted = PixelFormat.of(PixelType.ofBits(bits), format().components(), format().hint());
    Object data = Peers.data(wanted.withBits(bits), 0);
    return volume(view -> (int) Peers.CONVERTER_3.invokeExact(view, peer, data, 0, 0, bits));
  }

  /**
   * Presents pixels in another type, as {@link Image#converter(PixelType)}.
   *
   * @param type the type
   * @return the view
   */
  public Volume converter(PixelType type) {
    Object data = Peers.data(format().as(type), format().largest());
    return volume(view -> (int) Peers.CONVERTER_3.invokeExact(view, peer, data, 0, 0, 0));
  }

  /**
   * Presents one component.
   *
   * @param index which, from 0
   * @return the view
   */
  public Volume component(int index) {
    int mask = mask(index);
    return volume(view -> (int) Peers.COLORSLICE_3.invokeExact(view, peer, 0, mask, 0));
  }

  /**
   * Presents colours in another interpretation, as {@link Image#colours}.
   *
   * @param hint what the components shall mean
   * @return the view
   */
  public Volume colours(Hint hint) {
    return volume(view -> (int) Peers.COLORCONVERTER_3.invokeExact(view, peer, hint.code, 0));
  }

  /**
   * Presents raw values behind a mosaic of colour filters, as {@link Image#bayer}.
   *
   * @param redX column of red in a cell of two by two, 0 or 1
   * @param redY its row
   * @return the view
   */
  public Volume bayer(int redX, int redY) {
    int phase = (redX & 1) | (redY & 1) << 1;
    return volume(view -> (int) Peers.BEYER4_3.invokeExact(view, peer, 0, phase), true, null);
  }

  /**
   * Presents values looked up in tables, one a component, as {@link Image#lookup}.
   *
   * @param tables arrays of the volume's type; entry v takes the place of value v
   * @return the view
   */
  public Volume lookup(Object... tables) {
    if (tables.length != format().components())
      throw new IllegalArgumentException("not a table for each component: " + tables.length);
    Tables kept = new Tables(format(), tables);
    long[] t = kept.addresses;
    return volume(view
        -> (int) Peers.LUT_3.invokeExact(view, peer, 0, t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], 0, 0),
        true, kept);
  }
}
