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
