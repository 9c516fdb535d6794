package org.qvimage;

import java.nio.ByteBuffer;

/**
 * The functions of the library that the peers do not have: files of any format, rectangles in arrays and
 * direct buffers, reasons. The library registers them when it is loaded; {@link Peers} sees to it that it is
 * of the same version.
 *
 * <p>An argument {@code peer} is not looked at: while it stands in the call the collector leaves it alone,
 * and with it the record.
 */
final class Direct {
  private Direct() {}

  /** The library's version, such as "1.0.0". */
  static native String version();

  /** Why the thread's last call failed, in words; empty when it did not. */
  static native String reason();

  /** Where a direct buffer's first byte lies, whatever its position; 0 for other buffers and for null. */
  static native long address(ByteBuffer buffer);

  /**
   * Opens a file of any format that the library knows by its first bytes.
   *
   * @param path the file's name in the bytes of the system
   * @param dimensions 2 to have a page, 3 to have all of them, where the format leaves the choice
   * @param page the page, from 0, where a page is opened
   * @param record 452 bytes to fill
   * @param handle receives two numbers for {@link #close}
   * @return the dimensions of what was opened, 2 or 3, or a negative code
   */
  static native int open(byte[] path, int dimensions, int page, long record, long[] handle);

  /** Closes what {@link #open} opened and leaves a null image in the record. Once closed, nothing happens. */
  static native int close(long record, long[] handle);

  /**
   * Moves a rectangle of a 2-D image ({@code z} is not looked at) or of a plane of a 3-D one, row behind row.
   *
   * @param dimensions 2 or 3: what the record is
   * @param write whether pixels go to the image
   * @param pinned whether arrays may be pinned: not where the image reads or writes files
   * @param type a data type word, as of {@code ioset}
   * @param mask the selected components
   * @param array an array of components, or null
   * @param buffer a direct buffer in place of the array
   * @param offset where the first pixel is in it, in bytes
   * @return how many pixels were moved, or a negative code: of the set-up, or -1 for pixels that do not fit
   */
  static native long move(Object peer, long record, int dimensions, boolean write, boolean pinned, int type,
      int mask, int x, int y, int z, int width, int height, Object array, ByteBuffer buffer, long offset);
}
