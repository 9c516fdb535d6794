import java.awt.Color;
import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.Comparator;
import java.util.stream.Stream;
import javax.imageio.ImageIO;
import org.qvimage.Hint;
import org.qvimage.Image;
import org.qvimage.ImageException;
import org.qvimage.Images;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;
import org.qvimage.Volume;

/** Files of all formats, those that Java writes among them. */
class FilesTest extends Checks {
  private static Path folder;
  private static Path sources;

  public static void main(String[] arguments) throws Exception {
    sources = Paths.get(arguments[0]);
    folder = Files.createTempDirectory("qvimage");
    Runtime.getRuntime().addShutdownHook(new Thread(FilesTest::clear));
    run(FilesTest.class);
  }

  private static void clear() {
    try (Stream<Path> files = Files.walk(folder)) {
      files.sorted(Comparator.reverseOrder()).forEach(file -> file.toFile().delete());
    } catch (IOException e) {
      System.out.println(e);
    }
  }

  private static final int WIDTH = 7, HEIGHT = 5;

  /** A picture in colours that differ everywhere. */
  private static BufferedImage colours() {
    BufferedImage picture = new BufferedImage(WIDTH, HEIGHT, BufferedImage.TYPE_3BYTE_BGR);
    for (int y = 0; y < HEIGHT; y++) {
      for (int x = 0; x < WIDTH; x++) picture.setRGB(x, y, new Color(30 * x, 50 * y, 10 * x + y).getRGB());
    }
    return picture;
  }

  private static void same(String what, BufferedImage wanted, BufferedImage got) {
    int w = wanted.getWidth(), h = wanted.getHeight();
    equal(what, wanted.getRGB(0, 0, w, h, null, 0, w), got.getRGB(0, 0, w, h, null, 0, w));
  }

  /** Frames of a binary anymap: pixel (x, y) of frame z is 10 z + x + y. */
  private static Path frames(String name, int count) throws IOException {
    ByteArrayOutputStream file = new ByteArrayOutputStream();
    file.write(("P5\n" + WIDTH + " " + HEIGHT + "\n255\n").getBytes(StandardCharsets.US_ASCII));
    for (int z = 0; z < count; z++) {
      for (int i = 0; i < WIDTH * HEIGHT; i++) file.write(10 * z + i % WIDTH + i / WIDTH);
    }
    return Files.write(folder.resolve(name), file.toByteArray());
  }

  /** What ImageIO writes is what is read, whatever the name of the file. */
  static void testPictures() throws IOException {
    for (String format : new String[] {"bmp", "tiff"}) {
      Path file = folder.resolve("picture");
      if (!ImageIO.write(colours(), format, file.toFile())) fail("ImageIO does not write " + format);
      try (Image picture = Images.open(file)) {
        equal("size of " + format, new Rectangle(WIDTH, HEIGHT), picture.area());
        equal("format of " + format, PixelFormat.rgb(PixelType.UINT8), picture.format());
        same(format, colours(), picture.toBufferedImage());
      }
      try (Volume pages = Images.openVolume(file)) {
        equal("pages of " + format, 1, pages.depth());
        same("page of " + format, colours(), pages.plane(0).toBufferedImage());
      }
    }
  }

  /** Frames in files of every format that has several, made by the command. */
  static void testFrames() throws Exception {
    String tool = System.getProperty("qvimage.tool", "");
    if (tool.isEmpty()) return;
    Path source = frames("source.pgm", 3), file = folder.resolve("frames");
    byte[] bytes = new byte[WIDTH * HEIGHT];
    for (String format : new String[] {"pnm", "tiff", "fits", "avi"}) {
      Process convert = new ProcessBuilder(
          tool, "convert", "--quiet", "--format", format, source.toString(), file.toString())
                            .inheritIO()
                            .start();
      equal("qvimage convert", 0, convert.waitFor());
      try (Volume all = Images.openVolume(file); Image last = Images.open(file, 2)) {
        equal(format + ": frames", 3, all.depth());
        all.component(0).read(all.area(), 1, bytes);
        equal(format + ": frame 1", (byte) (10 + 6 + 4), bytes[WIDTH * HEIGHT - 1]);
        last.component(0).read(last.area(), bytes);
        equal(format + ": frame 2", (byte) (20 + 6 + 4), bytes[WIDTH * HEIGHT - 1]);
      }
    }
  }

  static void testSeries() throws IOException {
    for (int i = 8; i <= 11; i++) frames(String.format("series%02d", i), 1);
    Path pattern = folder.resolve("series??");
    byte[] bytes = new byte[WIDTH * HEIGHT];
    Rectangle pixel = new Rectangle(2, 3, 1, 1);
    try (Volume series = Images.openSeries(pattern, 8, 11, true)) {
      equal("files", 4, series.depth());
      for (int z = 0; z < 4; z++) series.write(pixel, z, new byte[] {(byte) (200 + z)});
      series.plane(1).read(pixel, bytes);
      equal("written", (byte) 201, bytes[0]);
    }
    for (int z = 0; z < 4; z++) {
      try (Image file = Images.open(folder.resolve(String.format("series%02d", 8 + z)))) {
        file.read(file.area(), bytes);
        equal("saved", (byte) (200 + z), bytes[2 + 3 * WIDTH]);
        equal("beside it", (byte) 6, bytes[3 + 3 * WIDTH]);
      }
    }
    try (Volume series = Images.openSeries(pattern, 8, 12, false)) {
      series.write(pixel, 0, new byte[1]);
      fail("files that are only read were written to");
    } catch (UnsupportedOperationException expected) {
    }
    try (Volume series = Images.openSeries(pattern, 8, 12, false)) {
      fails("a file that is not there", -13, pattern, "0 of 1 pixels", () -> series.read(pixel, 4, bytes));
    }
    fails("no first file", -13, folder.resolve("series07"), "No such",
        () -> Images.openSeries(pattern, 7, 8, true));

    Files.write(folder.resolve("raw1"), new byte[] {1, 2, 3, 4, 5, 6});
    PixelFormat grey = PixelFormat.grey(PixelType.UINT8);
    Volume raw = Images.openRawSeries(folder.resolve("raw?"), 1, 1, true, 3, 2, grey);
    raw.read(raw.area(), 0, bytes);
    equal("raw", (byte) 6, bytes[5]);
    raw.write(new Rectangle(0, 1, 1, 1), 0, new byte[] {9});
    raw.flush();
    equal("raw, saved", new byte[] {1, 2, 3, 9, 5, 6}, Files.readAllBytes(folder.resolve("raw1")));
    raw.write(new Rectangle(1, 1), 0, new byte[] {7});
    Files.delete(folder.resolve("raw1"));
    Files.createDirectory(folder.resolve("raw1"));
    try {
      raw.close();
      fail("saved to a folder");
    } catch (ImageException expected) {
      equal("file", folder.resolve("raw?"), expected.file());
    }
    equal("closed", true, raw.isClosed());
  }

  private static void fails(String what, int code, Path file, String reason, Runnable call) {
    try {
      call.run();
      fail(what + " did not fail");
    } catch (ImageException e) {
      equal(what + ": code", code, e.code());
      equal(what + ": file", file, e.file());
      if (!e.reason().contains(reason)) fail(what + ": " + e.reason());
      if (!e.getMessage().startsWith(file + ": ") || !e.getMessage().endsWith(e.reason()))
        fail(e.getMessage());
    }
  }

  static void testFailures() throws IOException {
    Path none = folder.resolve("none"),
         text = Files.write(folder.resolve("text"), new byte[] {'h', 'e', 'y'});
    Path empty = Files.write(folder.resolve("empty"), new byte[0]), frames = frames("two", 2);
    fails("no file", -13, none, "No such file", () -> Images.open(none));
    fails("a folder", -7, folder, "directory", () -> Images.openVolume(folder));
    fails("a text", -10, text, "no known format", () -> Images.open(text));
    fails("nothing", -10, empty, "empty", () -> Images.open(empty));
    fails("page 3 of 2", -10, frames, "no page 3", () -> Images.open(frames, 2));
    Path jpeg = sources.resolve("fuzz/corpus/jpeg/grey.jpg");
    fails("page 2 of 1", -10, jpeg, "no page 2", () -> Images.open(jpeg, 1));
    try (Image picture = Images.open(frames)) {
      picture.write(new Rectangle(1, 1), new byte[1]);
      fail("a file was written to");
    } catch (UnsupportedOperationException expected) {
    }
  }

  /** A file that is cut off while it is open delivers what it has, then tells. */
  static void testDamaged() throws IOException {
    int side = 400;
    Path file = folder.resolve("cut.bmp");
    ImageIO.write(new BufferedImage(side, side, BufferedImage.TYPE_BYTE_GRAY), "bmp", file.toFile());
    byte[] bytes = Files.readAllBytes(file), pixels = new byte[side * side];
    try (Image picture = Images.open(file); Image turned = picture.rotate(90)) {
      Files.write(file, Arrays.copyOf(bytes, bytes.length - side)); // the first row is the file's last
      picture.read(new Rectangle(0, side / 2, side, side / 2), pixels);
      fails("a row cut off", -7, file, "shorter; 0 of 400 pixels were read",
          () -> picture.read(new Rectangle(side, 1), pixels));
      fails("once more, turned", -7, file, " of 160000 pixels", () -> turned.read(turned.area(), pixels));
      picture.read(new Rectangle(0, side - 1, side, 1), pixels);
    }
  }

  /** Names that are no text, and names that look like an escaped one. */
  static void testNames() throws Exception {
    Path plain = frames("a b%41+?.pgm", 1), odd = Files.createDirectory(folder.resolve("odd"));
    try (Image picture = Images.open(plain)) {
      equal("width", WIDTH, picture.width());
    }
    Process copy =
        new ProcessBuilder("sh", "-c", "cp \"$1\" \"$(printf 'x\\344\\377.pgm')\"", "-", plain.toString())
            .directory(odd.toFile())
            .inheritIO()
            .start();
    equal("cp", 0, copy.waitFor());
    try (DirectoryStream<Path> files = Files.newDirectoryStream(odd)) {
      for (Path file : files) {
        try (Image picture = Images.open(file)) {
          equal("width", WIDTH, picture.width());
        }
        Files.delete(file);
      }
    }
  }
}
