import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.concurrent.atomic.AtomicReference;
import java.util.stream.Stream;
import org.qvimage.Image;
import org.qvimage.Images;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;
import org.qvimage.Volume;

/** Closing, forgetting, threads. Runs in a small heap that is collected often. */
class LifetimeTest extends Checks {
  private static Path file;

  public static void main(String[] arguments) throws Exception {
    file = Paths.get(arguments[0], "fuzz/corpus/jpeg/colours.jpg").toRealPath();
    run(LifetimeTest.class);
  }

  /** How often the file is open in this process. */
  private static long open() throws IOException {
    long count = 0;
    try (Stream<Path> descriptors = Files.list(Paths.get("/proc/self/fd"))) {
      for (Path descriptor : (Iterable<Path>) descriptors::iterator) {
        if (Files.isSymbolicLink(descriptor) && Files.readSymbolicLink(descriptor).equals(file)) count++;
      }
    }
    return count;
  }

  private static byte[] pixels(Image image) {
    byte[] pixels = new byte[image.width() * image.height() * image.format().components()];
    image.read(image.area(), pixels);
    return pixels;
  }

  private static void closed(String what, Runnable call) {
    try {
      call.run();
      fail(what + " works after closing");
    } catch (IllegalStateException expected) {
      if (!expected.getMessage().contains("closed")) fail(what + ": " + expected.getMessage());
    }
  }

  static void testClosed() throws IOException {
    Image picture = Images.open(file), turned = picture.rotate(90), part = turned.component(0);
    byte[] all = pixels(picture);
    equal("open", 1L, open());
    part.close();
    part.close();
    closed("a view", () -> pixels(part));
    equal("beside it", all.length, pixels(turned).length);
    picture.close();
    picture.close();
    equal("closed", 0L, open());
    equal("isClosed", true, picture.isClosed());
    equal("isClosed of a view", false, turned.isClosed());
    equal("width", turned.height(), picture.width());
    closed("read", () -> pixels(picture));
    closed("write", () -> picture.write(picture.area(), all));
    closed("read through a view", () -> pixels(turned));
    closed("a new view", () -> turned.rotate(90));
    closed("toBufferedImage", picture::toBufferedImage);
    turned.close();

    Volume volume = Images.openVolume(file);
    Image plane = volume.plane(0);
    volume.close();
    equal("closed through its view", 0L, open());
    closed("a plane", () -> pixels(plane));
    Image memory = Image.allocate(2, 2, PixelFormat.grey(PixelType.UINT8));
    memory.close();
    closed("buffer", memory::buffer);
  }

  /** Makes garbage and has it collected until the condition holds. */
  private static void collect(String what, Wanted condition) throws Exception {
    for (int i = 0; i < 200 && !condition.holds(); i++) {
      System.gc();
      Thread.sleep(20);
    }
    if (!condition.holds()) fail(what);
  }

  interface Wanted {
    boolean holds() throws Exception;
  }

  static void testForgotten() throws Exception {
    for (int i = 0; i < 300; i++) Images.open(file).rotate(90);
    collect("files stay open", () -> open() == 0);
    Image view = Images.open(file).rotate(90).rotate(-90);
    ByteBuffer memory = Image.allocate(100, 100, PixelFormat.grey(PixelType.UINT8)).buffer();
    for (int i = 0; i < 20; i++) {
      System.gc();
      Thread.sleep(5);
    }
    equal("a view keeps its source", 1L, open());
    try (Image again = Images.open(file)) {
      equal("its pixels", pixels(again), pixels(view));
    }
    equal("a buffer keeps its memory", (byte) 0, memory.put(9999, (byte) 0).get(9999));
  }

  /** Runs the work in so many threads, and passes on what one of them throws. */
  private static void inThreads(int count, Wanted work) throws Exception {
    AtomicReference<Throwable> failed = new AtomicReference<>();
    List<Thread> threads = new ArrayList<>();
    for (int i = 0; i < count; i++) {
      Thread thread = new Thread(() -> {
        try {
          if (!work.holds()) failed.set(new AssertionError("other pixels"));
        } catch (Throwable e) {
          failed.set(e);
        }
      });
      threads.add(thread);
      thread.start();
    }
    for (Thread thread : threads) thread.join();
    if (failed.get() != null) throw new AssertionError(failed.get());
  }

  static void testThreads() throws Exception {
    Image shared = Images.open(file);
    byte[] wanted = pixels(shared), turned = pixels(shared.rotate(180));
    inThreads(4, () -> {
      boolean same = true;
      for (int i = 0; i < 40; i++) {
        try (Image own = Images.open(file)) {
          same &= java.util.Arrays.equals(wanted, pixels(own));
        }
        same &= java.util.Arrays.equals(turned, pixels(shared.rotate(180))); // not closed
        same &= java.util.Arrays.equals(wanted, pixels(shared));
      }
      return same;
    });
    shared.close();
    collect("files stay open", () -> open() == 0);
  }

  /** A reader either gets its pixels or is told that the image is closed. */
  static void testClosedMeanwhile() throws Exception {
    for (int round = 0; round < 50; round++) {
      Image image = Images.open(file);
      byte[] wanted = pixels(image);
      AtomicBoolean started = new AtomicBoolean();
      inThreads(2, () -> {
        if (!started.compareAndSet(false, true)) {
          Thread.sleep(1);
          image.close();
          return true;
        }
        try {
          while (true) {
            if (!java.util.Arrays.equals(wanted, pixels(image))) return false;
          }
        } catch (IllegalStateException closed) {
          return true;
        }
      });
    }
  }
}
