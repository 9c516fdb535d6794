package org.qvimage;

import java.nio.ByteBuffer;

/**
 * Pixels in memory that are about to become an image: in a buffer, or beyond its limits in memory of the
 * library.
 */
final class Memory {
  private final int width;
  private final int height;
  private final int depth;
  private final PixelFormat format;
  private final int pitch;
  private final long bytes;
  private final ByteBuffer buffer;

  private Memory(
      int width, int height, int depth, PixelFormat format, int pitch, long bytes, ByteBuffer buffer) {
    this.width = width;
    this.height = height;
    this.depth = depth;
    this.format = format;
    this.pitch = pitch;
    this.bytes = bytes;
    this.buffer = buffer;
  }

  static Memory allocate(PixelFormat format, int width, int height, int depth) {
    long bytes = size(format, 0, width, height, depth);
    ByteBuffer buffer = bytes > Integer.MAX_VALUE ? null : ByteBuffer.allocateDirect((int) bytes);
    return new Memory(width, height, depth, format, 0, bytes, buffer);
  }

  static Memory over(ByteBuffer pixels, int pitch, PixelFormat format, int width, int height, int depth) {
    if (!pixels.isDirect()) throw new IllegalArgumentException("not a direct buffer");
    if (pixels.isReadOnly()) throw new IllegalArgumentException("a read-only buffer");
    long bytes = size(format, pitch, width, height, depth);
    if (bytes > pixels.remaining())
      throw new IllegalArgumentException("the buffer has " + pixels.remaining() + " of " + bytes + " bytes");
    return new Memory(width, height, depth, format, pitch, bytes, pixels.slice());
  }

  /** The bytes of all rows. */
  private static long size(PixelFormat format, int pitch, int width, int height, int depth) {
    if (width < 1 || height < 1 || depth < 1)
      throw new IllegalArgumentException("an image of " + width + " x " + height + " x " + depth);
    try {
      return rows(format, pitch, width, height, depth);
    } catch (ArithmeticException tooLarge) {
      throw new IllegalArgumentException("an image of " + width + " x " + height + " x " + depth, tooLarge);
    }
  }

  private static long rows(PixelFormat format, int pitch, int width, int height, int depth) {
    long row = Math.multiplyExact((long) width, (long) format.bytes());
    if (pitch != 0 && pitch < row)
      throw new IllegalArgumentException("a row of " + row + " bytes in " + pitch);
    return Math.multiplyExact(Math.multiplyExact(pitch == 0 ? row : pitch, (long) height), (long) depth);
  }

  Image image() {
    Record record = record();
    Object size = Peers.window(0, 0, width, height);
    return Pixels.make(Peers.IMAGE, record,
        peer
        -> (int) Peers.MEMORY.invokeExact(peer, address(record), bytes, size, pitch, format.type().code,
            bits(), format.components(), format.hint().code, 0, 0, 0f, 0f),
        Image::new);
  }

  Volume volume() {
    Record record = record();
    Object size = Peers.window(0, 0, 0, width, height, depth);
    return Pixels.make(Peers.VOLUME, record,
        peer
        -> (int) Peers.MEMORY_3.invokeExact(peer, address(record), bytes, size, pitch, format.type().code,
            bits(), format.components(), format.hint().code, 0, 0, 0, 0f, 0f, 0f),
        Volume::new);
  }

  private int bits() { return format.type().isInteger() ? format.bits() : 0; }

  private Record record() {
    Record record = new Record(null);
    record.kept = buffer;
    if (buffer != null) return record;
    try {
      record.memory = Peers.allocate(bytes);
      return record;
    } finally {
      if (record.memory == 0) record.close();
    }
  }

  private long address(Record record) { return buffer == null ? record.memory : Direct.address(buffer); }
}
