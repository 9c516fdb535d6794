package org.qvimage;

import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.nio.ByteBuffer;

/**
 * A picture: pixels in memory, of a file, or a view over another image. Views are made by the methods that
 * answer an image; nothing is computed before pixels are read, and what is written to a view reaches the
 * pixels below. See {@linkplain org.qvimage the package} for closing, failures and threads.
 */
public final class Image extends Pixels {
  Image(Object peer, Record record) { super(peer, record); }

  // --- pixels in memory ---

  /**
   * Makes an image in memory whose pixels are all 0.
   *
   * @param width pixels in a row
   * @param height rows
   * @param format what a pixel is made of
   * @return the image
   */
  public static Image allocate(int width, int height, PixelFormat format) {
    return Memory.allocate(format, width, height, 1).image();
  }

  /**
   * Makes an image of the pixels in a buffer, without a copy, which stays reachable as long as it is needed.
   *
   * @param pixels a direct buffer; the first pixel is at its position. Memory that others free, as closed
   *     arenas do, must outlast the image and its views
   * @param width pixels in a row
   * @param height rows
   * @param pitch bytes from a row to the next, 0 for rows without gaps
   * @param format what a pixel is made of; components are in the machine's byte order
   * @return the image
   */
  public static Image over(ByteBuffer pixels, int width, int height, int pitch, PixelFormat format) {
    return Memory.over(pixels, pitch, format, width, height, 1).image();
  }

  // --- pixels ---

  /**
   * Reads the pixels of a rectangle, row behind row, as 8-bit integers.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, byte[] pixels) { moveArray(false, PixelType.UINT8, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle, row behind row, as 16-bit integers.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, short[] pixels) { moveArray(false, PixelType.UINT16, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle, row behind row, as 32-bit integers.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, int[] pixels) { moveArray(false, PixelType.UINT32, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle, row behind row, as 64-bit integers.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, long[] pixels) { moveArray(false, PixelType.UINT64, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle, row behind row, in single precision.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, float[] pixels) { moveArray(false, PixelType.FLOAT32, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle, row behind row, in double precision.
   *
   * @param area where they are
   * @param pixels receives the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where reading fails
   */
  public void read(Rectangle area, double[] pixels) { moveArray(false, PixelType.FLOAT64, area, 0, pixels); }

  /**
   * Reads the pixels of a rectangle into a direct buffer, in the image's own type and the machine's byte
   * order.
   *
   * @param area where they are
   * @param pixels the buffer, used from its position on, which advances
   * @throws ImageException where reading fails
   */
  public void read(Rectangle area, ByteBuffer pixels) { moveBuffer(false, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, as 8-bit integers.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, byte[] pixels) { moveArray(true, PixelType.UINT8, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, as 16-bit integers.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, short[] pixels) { moveArray(true, PixelType.UINT16, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, as 32-bit integers.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, int[] pixels) { moveArray(true, PixelType.UINT32, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, as 64-bit integers.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, long[] pixels) { moveArray(true, PixelType.UINT64, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, in single precision.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, float[] pixels) { moveArray(true, PixelType.FLOAT32, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle, row behind row, in double precision.
   *
   * @param area where they are
   * @param pixels the components of the first pixel, of the second, and so on
   * @throws ImageException where the image has other pixels, and where writing fails
   */
  public void write(Rectangle area, double[] pixels) { moveArray(true, PixelType.FLOAT64, area, 0, pixels); }

  /**
   * Writes the pixels of a rectangle from a direct buffer, in the image's own type and the machine's byte
   * order.
   *
   * @param area where they are
   * @param pixels the buffer, used from its position on, which advances
   * @throws ImageException where writing fails
   */
  public void write(Rectangle area, ByteBuffer pixels) { moveBuffer(true, area, 0, pixels); }
  // --- views ---

  /**
   * Presents pixels with another number of bits: the upper ones where there are fewer.
   *
   * @param bits 1 to 32; components become the smallest integers that hold them
   * @return the view
   */
  public Image converter(int bits) {
    PixelFormat wanted = PixelFormat.of(PixelType.ofBits(bits), format().components(), format().hint());
    Object data = Peers.data(wanted.withBits(bits), 0);
    return image(view -> (int) Peers.CONVERTER.invokeExact(view, peer, data, 0, 0, bits));
  }

  /**
   * Presents pixels in another type: floating numbers equal the integers, which are rounded and limited when
   * they are integers again.
   *
   * @param type the type
   * @return the view
   */
  public Image converter(PixelType type) {
    Object data = Peers.data(format().as(type), format().largest());
    return image(view -> (int) Peers.CONVERTER.invokeExact(view, peer, data, 0, 0, 0));
  }

  /**
   * Presents the picture turned. For 8- and 16-bit integers.
   *
   * @param degrees clockwise, a multiple of 90
   * @return the view
   */
  public Image rotate(int degrees) {
    int quarters = Math.floorMod(degrees, 360) / 90;
    if (degrees % 90 != 0) throw new IllegalArgumentException("not a multiple of 90: " + degrees);
    final int[] flags = {0, TRANSPOSED | MIRRORED_X, MIRRORED_X | MIRRORED_Y, TRANSPOSED | MIRRORED_Y};
    return turned(flags[quarters]);
  }

  /**
   * Presents the picture mirrored. For 8- and 16-bit integers.
   *
   * @param horizontally whether left and right change places
   * @param vertically whether top and bottom do
   * @return the view
   */
  public Image mirror(boolean horizontally, boolean vertically) {
    return turned((horizontally ? MIRRORED_X : 0) | (vertically ? MIRRORED_Y : 0));
  }

  /**
   * Presents the picture with rows and columns exchanged. For 8- and 16-bit integers.
   *
   * @return the view
   */
  public Image transpose() { return turned(TRANSPOSED); }

  private static final int TRANSPOSED = 1;
  private static final int MIRRORED_Y = 2;
  private static final int MIRRORED_X = 4;

  private Image turned(int flags) {
    return image(view -> (int) Peers.ROTATE.invokeExact(view, peer, 0, flags));
  }

  /**
   * Presents a part of the picture.
   *
   * @param area the part
   * @return the view
   */
  public Image crop(Rectangle area) {
    if (area.isEmpty() || !area().contains(area))
      throw new IllegalArgumentException("no part of " + width() + " x " + height() + ": " + area);
    Object window = Peers.window(area.x, area.y, area.width, area.height);
    return image(view -> {
      int code = (int) Peers.CACHEMONITOR.invokeExact(view, peer, 0, 0);
      return code < 0 ? code : (int) Peers.XWIND.invokeExact(view, window, (int) 's');
    });
  }

  /**
   * Presents every so many pixels of every so many rows. For one component of 8- or 16-bit integers.
   *
   * @param columns the step from column to column
   * @param rows the step from row to row
   * @return the view
   */
  public Image decimate(int columns, int rows) {
    return image(view -> (int) Peers.DECIMATE.invokeExact(view, peer, 0, columns, rows, 0, 0));
  }

  /**
   * Presents one field of interlaced video: each of its lines stands for two.
   *
   * @param odd whether lines 1, 3, ... stand, else 0, 2, ...
   * @return the view
   */
  public Image field(boolean odd) {
    return image(view -> (int) Peers.YODD.invokeExact(view, peer, 0, odd ? 1 : 0));
  }

  /**
   * Presents one component.
   *
   * @param index which, from 0
   * @return the view
   */
  public Image component(int index) {
    int mask = mask(index);
    return image(view -> (int) Peers.COLORSLICE.invokeExact(view, peer, 0, mask, 0));
  }

  /**
   * Presents colours in another interpretation: from red, green and blue in any order to any other, grey
   * included, and back.
   *
   * @param hint what the components shall mean
   * @return the view
   */
  public Image colours(Hint hint) {
    return image(view -> (int) Peers.COLORCONVERTER.invokeExact(view, peer, hint.code, 0));
  }

  /**
   * Presents raw values behind a mosaic of colour filters as pixels of four components: red, green, green,
   * blue. For 8- and 16-bit integers; read only.
   *
   * @param redX column of red in a cell of two by two, 0 or 1
   * @param redY its row
   * @return the view
   */
  public Image bayer(int redX, int redY) {
    int phase = (redX & 1) | (redY & 1) << 1;
    return image(view -> (int) Peers.BEYER4.invokeExact(view, peer, 0, phase), true, null);
  }

  /**
   * Presents values looked up in tables, one a component. Read only.
   *
   * @param tables arrays of the image's type; entry v takes the place of value v
   * @return the view
   */
  public Image lookup(Object... tables) {
    if (tables.length != format().components())
      throw new IllegalArgumentException("not a table for each component: " + tables.length);
    return lookup(new Tables(format(), tables), 0, Hint.UNKNOWN);
  }

  /**
   * Presents an image of one component in colours that are looked up. Read only.
   *
   * @param red an array of the image's type; entry v is the red that value v is shown with
   * @param green the same for green
   * @param blue the same for blue
   * @return the view
   */
  public Image pseudocolour(Object red, Object green, Object blue) {
    return lookup(new Tables(format(), new Object[] {red, green, blue}), 3, Hint.RGB);
  }

  private Image lookup(Tables tables, int components, Hint hint) {
    long[] t = tables.addresses;
    return image(view
        -> (int) Peers.LUT.invokeExact(
            view, peer, 0, t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], components, hint.code, 0),
        true, tables);
  }

  /**
   * Presents a table, an image of one row and a power of two columns, with another number of entries.
   *
   * @param entries a power of two
   * @param spread where there are fewer: whether they are taken from all of the table, else from its
   *     beginning
   * @return the view
   */
  public Image table(int entries, boolean spread) {
    return image(view -> (int) Peers.LUTCONVERT.invokeExact(view, peer, entries, spread ? 1 : 0));
  }

  /**
   * Presents the picture as a volume of one plane.
   *
   * @return the view
   */
  public Volume volume() { return volume(view -> (int) Peers.DEF3FROM2.invokeExact(view, peer, 0)); }

  // --- AWT ---

  /**
   * Copies the picture for AWT. Grey integers stay so, 8 bits in 8 and more in 16, where they are stretched
   * so that the largest is white; colours become 8 bits of red, green and blue. Floating numbers are shown
   * between the ends of their range.
   *
   * @return a picture of its own
   */
  public BufferedImage toBufferedImage() { return Awt.copy(this); }

  /**
   * Copies the picture for AWT in 8 bits, brightened: what {@code black} is and below becomes black, what
   * {@code white} is and above white.
   *
   * @param black a value of the picture
   * @param white a greater one
   * @return a picture of its own
   */
  public BufferedImage toBufferedImage(double black, double white) { return Awt.copy(this, black, white); }
}
