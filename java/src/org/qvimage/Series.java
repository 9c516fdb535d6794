package org.qvimage;

import java.lang.invoke.MethodHandle;
import java.nio.file.Path;

/** Numbered files as the planes of a volume, one of them in memory. */
final class Series {
  private static final int SAVE = 'f';

  private final MethodHandle open;
  private final MethodHandle done;

  private Series(String format) {
    open = Peers.method(Peers.VOLUME, "qvimage3_buf" + format + "seq");
    done = Peers.method(Peers.VOLUME, "qvimage3_buf" + format + "seqdone");
  }

  private static final Series TIFF = new Series("tiff");
  private static final Series BMP = new Series("bmp");
  private static final Series JPEG = new Series("jpeg");
  private static final Series FITS = new Series("fits");
  private static final Series PNM = new Series("pgm");
  static final Series RAW = new Series("bin");

  /** Files of the format that the device name of an open one tells. */
  static Series of(String device) {
    switch (device) {
      case "TIFF": return TIFF;
      case "JPEG": return JPEG;
      case "QVIMBMP": return BMP;
      case "QVIMFITS": return FITS;
      case "QVIMPGM": return PNM;
      default: throw new UnsupportedOperationException("no series of such files: " + device);
    }
  }

  /** The planes, whose pixels pass through the frame, which is the volume's from then on. */
  Volume volume(Path pattern, int first, int last, boolean save, Image frame) {
    synchronized (frame.record.lock) {
      long[] handle = new long[1];
      Record record = new Record(frame.record);
      record.ownsSource = true;
      record.mayBlock = true;
      record.readOnly = !save;
      record.file = pattern;
      long address = record.address;
      record.onClose(() -> close(address, handle, save, pattern));
      return Pixels.make(Peers.VOLUME, record,
          peer
          -> (int) open.invokeExact(
              peer, handle, frame.peer, (Object) null, pattern.toString(), 0L, first, last, save ? 1 : 0, 0),
          Volume::new);
    }
  }

  /** Saves the frame in memory, if it was changed, and ends the series, come what may. */
  private void close(long record, long[] handle, boolean save, Path pattern) {
    if (handle[0] == 0) return;
    Object peer = Peers.peer(Peers.VOLUME, record);
    try {
      int code = save ? (int) Peers.AEIOU_3.invokeExact(peer, SAVE, 0, 0) : 0;
      ImageException failed = code < 0 ? new ImageException(code, pattern, Direct.reason()) : null;
      int ignored = (int) done.invokeExact(peer, handle);
      if (failed != null) throw failed;
    } catch (Throwable thrown) {
      throw Peers.failure(thrown, pattern);
    }
  }
}
