import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.ThreadLocalRandom;
import java.util.concurrent.atomic.AtomicInteger;

/** Natives on several threads while others fill the heap: the collector runs at any call. */
class StressTest extends Images {
  private static final int SECONDS = 3;

  public static void main(String[] arguments) throws Exception { run(StressTest.class); }

  static void testTransfersWhileMemoryIsCollected() throws Exception {
    Path file = Files.createTempFile("qvimage", ".pgm");
    byte[] frame = new byte[64 * 48];
    for (int i = 0; i < frame.length; i++) frame[i] = (byte) (i * 7);
    try (java.io.OutputStream out = Files.newOutputStream(file)) {
      out.write("P5\n64 48\n255\n".getBytes());
      out.write(frame);
    }
    long end = System.nanoTime() + SECONDS * 1_000_000_000L;
    AtomicInteger rounds = new AtomicInteger();
    List<Thread> threads = new ArrayList<>();
    for (int i = 0; i < 3; i++) threads.add(new Thread(() -> collectable(end)));
    for (int i = 0; i < 3; i++)
      threads.add(new Thread(() -> {
        try {
          while (System.nanoTime() < end) {
            inMemory();
            ofFile(file.toString(), frame);
            ofNothing();
            rounds.incrementAndGet();
          }
        } catch (Throwable e) {
          fail(e.toString());
        }
      }));
    for (Thread thread : threads) thread.start();
    for (Thread thread : threads) thread.join();
    Files.delete(file);
    equal("some rounds", true, rounds.get() > 10);
    System.out.println(rounds + " rounds");
  }

  static void collectable(long end) {
    Object[] kept = new Object[256];
    while (System.nanoTime() < end)
      kept[ThreadLocalRandom.current().nextInt(kept.length)] =
          new byte[ThreadLocalRandom.current().nextInt(20_000)];
  }

  static void inMemory() throws Exception {
    long pixels = Jqvimage.pixelalloc(2, 64 * 48);
    Jqvimage v = image(), view = image();
    v.qvimage_memory(pixels, extent(64, 48), 0, 2, 16, 1, 1, 0);
    view.qvimage_rotate(v, 0, 6);
    v.ioset(WRAP, 2, 1);
    short[] wanted = new short[64 * 48], got = new short[64 * 48];
    for (int i = 0; i < wanted.length; i++) wanted[i] = (short) ThreadLocalRandom.current().nextInt();
    equal("written", wanted.length, v.iorite_short(0, wanted, wanted.length, 0, 0));
    view.ioset(WRAP, 2, 1);
    equal("read", got.length, view.ioread_short(0, got, got.length, 0, 0));
    for (int i = 0; i < got.length; i++)
      if (got[i] != wanted[got.length - 1 - i]) throw new Exception("pixel " + i);
    for (long address : new long[] {pixels, v.peeradrs, view.peeradrs}) Jqvimage.pixelfree(address);
  }

  static void ofFile(String path, byte[] wanted) throws Exception {
    Jqvimage3 file = volume();
    Jqvimage plane = image();
    long[] handle = new long[1];
    file.qvimage3_pgmseq(handle, path);
    plane.qvimage_def2from3(file, 0, 2, 0, 0);
    plane.ioset(WRAP, 1, 1);
    byte[] got = new byte[wanted.length];
    for (int y = 0, moved; y < 48; y += moved / 64) {
      byte[] rows = new byte[wanted.length - 64 * y];
      moved = plane.ioread_byte(0, rows, rows.length, 0, y);
      if (moved <= 0) throw new Exception("row " + y);
      System.arraycopy(rows, 0, got, 64 * y, moved);
    }
    equal("file", wanted, got);
    file.qvimage3_pgmseqdone(handle);
    Jqvimage.pixelfree(file.peer3adrs);
    Jqvimage.pixelfree(plane.peeradrs);
  }

  static void ofNothing() throws Exception {
    Jqvimage none = new Jqvimage();
    thrown("over nothing", -19, "qvimage_rotate_filt", () -> none.qvimage_rotate(null, 0, 0));
  }
}
