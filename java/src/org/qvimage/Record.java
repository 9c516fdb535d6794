package org.qvimage;

import java.lang.ref.PhantomReference;
import java.lang.ref.ReferenceQueue;
import java.nio.file.Path;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;

/**
 * A native record with what it owns: an open file, memory. It lives until its image is closed, or its peer is
 * unreachable, and no record refers to it any more. Records that refer to each other share a lock, under
 * which everything is done with them.
 *
 * <p>It knows its peer only through a reference that does not keep it: who calls a native passes the peer,
 * which is reachable so long, and with it the peers of its sources.
 */
final class Record {
  /** Closes what an image has opened. Knows its record only by the address. */
  interface Closer {
    void close();
  }

  private static final ReferenceQueue<Object> UNREACHABLE = new ReferenceQueue<>();
  private static final Set<Guard> GUARDS = ConcurrentHashMap.newKeySet();

  static {
    Thread reaper = new Thread(Record::reap, "qvimage reaper");
    reaper.setDaemon(true);
    reaper.setContextClassLoader(null);
    reaper.start();
  }

  private static final class Guard extends PhantomReference<Object> {
    final Record record;

    Guard(Object peer, Record record) {
      super(peer, UNREACHABLE);
      this.record = record;
    }
  }

  final Object lock;
  final long address;
  final Record source;
  /** The file that pixels come from, or null. */
  Path file;
  /** Whether a transfer may block, as over a file. */
  boolean mayBlock;
  /** Whether pixels cannot be written, whatever the library would do. */
  boolean readOnly;
  /** Whether the source is closed together with this. */
  boolean ownsSource;
  /** What native code refers to: buffers of pixels and tables. */
  Object kept;
  /** Pixels that are freed with the record; 0 where there are none. */
  long memory;
  private Closer closer;
  private Guard guard;
  private boolean closed;
  private int uses = 1;

  /** A record over a source, or over none. The lock of the source must be held. */
  Record(Record source) {
    this.source = source;
    lock = source == null ? new Object() : source.lock;
    address = Peers.allocateRecord();
    if (source == null) return;
    source.uses++;
    file = source.file;
    mayBlock = source.mayBlock;
    readOnly = source.readOnly;
  }

  /** Ends with the peer, if not before. */
  void guard(Object peer) {
    guard = new Guard(peer, this);
    GUARDS.add(guard);
  }

  void onClose(Closer what) { closer = what; }

  /** Throws where this or a source is closed. */
  void check() {
    for (Record record = this; record != null; record = record.source) {
      if (!record.closed) continue;
      throw new IllegalStateException(
          record == this ? "the image is closed" : "the source of the view is closed");
    }
  }

  /** Closes it; a second time nothing happens. */
  void close() {
    synchronized (lock) {
      if (closed) return;
      closed = true;
      if (guard != null) {
        GUARDS.remove(guard);
        guard.clear();
      }
      try {
        if (closer != null) closer.close();
      } finally {
        if (ownsSource) source.close();
        release();
      }
    }
  }

  boolean isClosed() {
    synchronized (lock) { return closed; }
  }

  private void release() {
    if (--uses > 0) return;
    Peers.free(address);
    Peers.free(memory);
    kept = null;
    if (source != null) source.release();
  }

  private static void reap() {
    while (true) {
      try {
        ((Guard) UNREACHABLE.remove()).record.close();
      } catch (Throwable nobodyWaitsForIt) {
        // The next one may fare better.
      }
    }
  }
}
