package org.qvimage;

import java.net.URI;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;

/** Opens files: any format that the library reads, found by what the file holds, whatever its name. */
public final class Images {
  private static final int BAD_FORMAT = -10;

  private Images() {}

  /**
   * Opens the first page of a file.
   *
   * @param file a TIFF, JPEG, PBM, PGM, PPM, BMP, icon, FITS or AVI file
   * @return its picture, to be read only; closing it closes the file
   * @throws ImageException where the file is not there, is of no known format, or cannot be read
   */
  public static Image open(Path file) { return open(file, 0); }

  /**
   * Opens a page of a file.
   *
   * @param file the file
   * @param page which page or frame, from 0
   * @return its picture, to be read only; closing it closes the file
   * @throws ImageException where the file or the page is not there, or cannot be read
   */
  public static Image open(Path file, int page) {
    if (page < 0) throw new IllegalArgumentException("no page " + page);
    Pixels opened = openAs(2, file, page);
    if (opened instanceof Image) return (Image) opened;
    Volume all = (Volume) opened;
    return owner(all, () -> {
      if (page < all.depth()) return all.plane(page);
      throw new ImageException(
          BAD_FORMAT, file, "there is no page " + (page + 1) + "; the file has " + all.depth());
    });
  }

  /**
   * Opens all pages of a file, which must be alike.
   *
   * @param file the file
   * @return its pages or frames as planes, to be read only; closing it closes the file
   * @throws ImageException where the file is not there, is of no known format, or cannot be read
   */
  public static Volume openVolume(Path file) {
    Pixels opened = openAs(3, file, 0);
    if (opened instanceof Volume) return (Volume) opened;
    Image picture = (Image) opened;
    return owner(picture, picture::volume);
  }

  /**
   * Opens a numbered series of files as the planes of a volume, one of which is in memory at a time. Another
   * plane is loaded when pixels of it are asked for. All files are of the size of the first; one of other
   * bits or colours is converted.
   *
   * @param pattern the files' path; each question mark stands for a digit of the number
   * @param first number of the first file
   * @param last number of the last file
   * @param save whether planes can be written: a changed one is saved when another is asked for, and when the
   *     volume is closed
   * @return the planes
   * @throws ImageException where the first file cannot be read
   */
  public static Volume openSeries(Path pattern, int first, int last, boolean save) {
    int[] size = new int[2];
    PixelFormat format;
    String device;
    try (Pixels file = openAs(2, numbered(pattern, first), 0)) {
      size[0] = file.width();
      size[1] = file.height();
      format = file.format();
      device = (String) Peers.get(file.peer, "devname");
    }
    return series(Series.of(device), pattern, first, last, save, Image.allocate(size[0], size[1], format));
  }

  /**
   * Opens a numbered series of files that hold nothing but pixels, as {@link #openSeries}.
   *
   * @param pattern the files' path; each question mark stands for a digit of the number
   * @param first number of the first file
   * @param last number of the last file
   * @param save whether planes can be written
   * @param width pixels in a row
   * @param height rows of a plane
   * @param format what a pixel is made of
   * @return the planes
   */
  public static Volume openRawSeries(
      Path pattern, int first, int last, boolean save, int width, int height, PixelFormat format) {
    return series(Series.RAW, pattern, first, last, save, Image.allocate(width, height, format));
  }

  private static Volume series(Series format, Path pattern, int first, int last, boolean save, Image frame) {
    boolean opened = false;
    try {
      Volume volume = format.volume(pattern, first, last, save, frame);
      opened = true;
      return volume;
    } finally {
      if (!opened) frame.close();
    }
  }

  /** The path with a number's digits in the places of question marks, from the right. */
  private static Path numbered(Path pattern, int number) {
    StringBuilder path = new StringBuilder(pattern.toString());
    for (int i = path.length() - 1, rest = number; i >= 0; i--) {
      if (path.charAt(i) != '?') continue;
      path.setCharAt(i, (char) ('0' + rest % 10));
      rest /= 10;
    }
    return pattern.getFileSystem().getPath(path.toString());
  }

  private interface Make<T extends Pixels> {
    T view();
  }

  /** A view that closes its source when it is closed. */
  private static <T extends Pixels> T owner(Pixels source, Make<T> make) {
    boolean made = false;
    try {
      T view = make.view();
      view.record.ownsSource = true;
      made = true;
      return view;
    } finally {
      if (!made) source.close();
    }
  }

  private static Pixels openAs(int dimensions, Path file, int page) {
    byte[] path = bytes(file);
    long[] handle = new long[2];
    Record record = new Record(null);
    record.file = file;
    record.mayBlock = true;
    record.readOnly = true;
    boolean opened = false;
    try {
      int found = Direct.open(path, dimensions, page, record.address, handle);
      if (found < 0) throw new ImageException(found, file, Direct.reason());
      long address = record.address;
      record.onClose(() -> Direct.close(address, handle));
      Object peer = Peers.peer(found == 2 ? Peers.IMAGE : Peers.VOLUME, address);
      Pixels pixels = found == 2 ? new Image(peer, record) : new Volume(peer, record);
      opened = true;
      return pixels;
    } finally {
      if (!opened) record.close();
    }
  }

  /** A path in the bytes that the system knows it by: not all of them can be told by a string. */
  static byte[] bytes(Path file) {
    URI uri = file.toAbsolutePath().toUri();
    if (!"file".equals(uri.getScheme()))
      throw new IllegalArgumentException("not a file of the system: " + uri);
    byte[] escaped = uri.getRawPath().getBytes(StandardCharsets.US_ASCII);
    byte[] path = new byte[escaped.length];
    int length = 0;
    for (int i = 0; i < escaped.length; i++) {
      boolean isEscape = escaped[i] == '%';
      path[length++] = isEscape ? (byte) (digit(escaped[i + 1]) << 4 | digit(escaped[i + 2])) : escaped[i];
      if (isEscape) i += 2;
    }
    return java.util.Arrays.copyOf(path, length);
  }

  private static int digit(byte hexadecimal) { return Character.digit(hexadecimal, 16); }
}
