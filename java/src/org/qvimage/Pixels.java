package org.qvimage;

import java.awt.Rectangle;
import java.lang.reflect.Array;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.function.BiFunction;

/** What {@link Image} and {@link Volume} have in common: an owned record, its size and its pixels. */
public abstract class Pixels implements AutoCloseable {
  private static final int FAULT = 'e';

  final Object peer;
  final Record record;
  private final int dimensions;
  private final PixelFormat format;
  private final int width;
  private final int height;

  /** Takes a record over that was filled, with its peer. */
  Pixels(Object peer, Record record) {
    this.peer = peer;
    this.record = record;
    dimensions = peer.getClass() == Peers.IMAGE ? 2 : 3;
    Peers.refresh(peer, record.address);
    format = Peers.format(peer);
    width = extent("x");
    height = extent("y");
    record.guard(peer);
  }

  /** How long the window is along an axis. */
  final int extent(String axis) {
    Object window = Peers.get(peer, "wind");
    return (int) Peers.get(window, "se" + axis) - (int) Peers.get(window, "nw" + axis);
  }

  /**
   * Pixels in a row.
   *
   * @return the width
   */
  public final int width() { return width; }

  /**
   * Rows.
   *
   * @return the height
   */
  public final int height() { return height; }

  /**
   * What a pixel is made of.
   *
   * @return the format
   */
  public final PixelFormat format() { return format; }

  /**
   * All pixels, of a volume those of any plane.
   *
   * @return a rectangle at (0, 0)
   */
  public final Rectangle area() { return new Rectangle(width, height); }

  /**
   * Was this closed? Sources are not asked.
   *
   * @return true after {@link #close}
   */
  public final boolean isClosed() { return record.isClosed(); }

  /** Frees what is owned, and closes the file if this opened one. Views over it cannot be used any more. */
  @Override
  public final void close() {
    synchronized (record.lock) {
      try {
        record.close();
      } finally {
        Peers.detach(peer);
      }
    }
  }

  // --- pixels in memory ---

  /**
   * The pixels themselves, of an image in memory whose bytes fit a buffer: changes on either side are seen on
   * the other. The buffer can be used after the image was closed.
   *
   * @return a buffer from the first pixel on, in the machine's byte order
   * @throws UnsupportedOperationException for other images
   */
  public final ByteBuffer buffer() {
    synchronized (record.lock) {
      record.check();
      if (!(record.kept instanceof ByteBuffer))
        throw new UnsupportedOperationException("no pixels in a buffer");
      return ((ByteBuffer) record.kept).duplicate().order(ByteOrder.nativeOrder());
    }
  }

  // --- transfers ---

  /** Moves pixels of a plane between the image and an array. */
  final void moveArray(boolean write, PixelType type, Rectangle area, int z, Object pixels) {
    long room = Array.getLength(pixels);
    long needed = (long) area.width * area.height * format.components();
    if (room < needed)
      throw new IllegalArgumentException("the array has " + room + " of " + needed + " components");
    move(write, type.request(), area, z, pixels, null, 0);
  }

  /** Moves pixels between the image and a direct buffer from its position on, which advances. */
  final void moveBuffer(boolean write, Rectangle area, int z, ByteBuffer pixels) {
    if (!pixels.isDirect()) throw new IllegalArgumentException("not a direct buffer");
    if (!write && pixels.isReadOnly()) throw new IllegalArgumentException("a read-only buffer");
    long needed = (long) area.width * area.height * format.bytes();
    if (pixels.remaining() < needed)
      throw new IllegalArgumentException("the buffer has " + pixels.remaining() + " of " + needed + " bytes");
    int position = pixels.position();
    move(write, format.type().request(), area, z, null, pixels, position);
    pixels.position(position + (int) needed);
  }

  final void move(
      boolean write, int request, Rectangle area, int z, Object array, ByteBuffer buffer, long offset) {
    if (area.x < 0 || area.y < 0 || area.width < 0 || area.height < 0 || area.width > width - area.x
        || area.height > height - area.y)
      throw new IllegalArgumentException("not inside " + width + " x " + height + ": " + area);
    long wanted = (long) area.width * area.height;
    synchronized (record.lock) {
      record.check();
      if (write && record.readOnly) throw new UnsupportedOperationException("the view can only be read");
      int all = (int) ((1L << format.components()) - 1);
      long moved = Direct.move(peer, record.address, dimensions, write, !record.mayBlock, request, all,
          area.x, area.y, z, area.width, area.height, array, buffer, offset);
      if (moved < 0) throw new ImageException((int) moved, record.file, Direct.reason());
      if (moved < wanted) throw shortOf(moved, wanted, write);
    }
  }

  /** Why fewer pixels were moved than asked for. */
  private RuntimeException shortOf(long moved, long wanted, boolean write) {
    String reason = Direct.reason();
    int code = command(FAULT, 1, 1);
    String count = moved + " of " + wanted + " pixels were " + (write ? "written" : "read");
    if (code < 0)
      return new ImageException(code, record.file, reason.isEmpty() ? count : reason + "; " + count);
    if (write) return new UnsupportedOperationException("the image can only be read");
    return new IllegalStateException(count);
  }

  /** The bit of a component. */
  final int mask(int component) {
    if (component < 0 || component >= format.components())
      throw new IllegalArgumentException("no component " + component + ": there are " + format.components());
    return 1 << component;
  }

  /** A question or command by code. The lock must be held. */
  final int command(int code, int arg1, int arg2) {
    try {
      return dimensions == 2 ? (int) Peers.AEIOU.invokeExact(peer, code, arg1, arg2)
                             : (int) Peers.AEIOU_3.invokeExact(peer, code, arg1, arg2);
    } catch (Throwable failed) {
      throw Peers.failure(failed, record.file);
    }
  }

  // --- construction ---

  /** A constructor of a peer. */
  interface Build {
    int on(Object peer) throws Throwable;
  }

  /** Makes an image or volume over a record; what the constructor refuses closes the record. */
  static <T extends Pixels> T make(
      Class<?> peerType, Record record, Build constructor, BiFunction<Object, Record, T> owner) {
    boolean made = false;
    try {
      Object peer = Peers.peer(peerType, record.address);
      int ignored = constructor.on(peer);
      T pixels = owner.apply(peer, record);
      made = true;
      return pixels;
    } catch (Throwable failed) {
      throw Peers.failure(failed, record.file);
    } finally {
      if (!made) record.close();
    }
  }

  /** A 2-D view over this. */
  final Image image(Build constructor) { return image(constructor, false, null); }

  final Image image(Build constructor, boolean readOnly, Object kept) {
    synchronized (record.lock) { return make(Peers.IMAGE, view(readOnly, kept), constructor, Image::new); }
  }

  /** A 3-D view over this. */
  final Volume volume(Build constructor) { return volume(constructor, false, null); }

  final Volume volume(Build constructor, boolean readOnly, Object kept) {
    synchronized (record.lock) { return make(Peers.VOLUME, view(readOnly, kept), constructor, Volume::new); }
  }

  private Record view(boolean readOnly, Object kept) {
    record.check();
    Record view = new Record(record);
    view.readOnly |= readOnly;
    view.kept = kept;
    return view;
  }
}
