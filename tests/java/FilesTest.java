import java.awt.image.BufferedImage;
import java.awt.image.IndexColorModel;
import java.io.File;
import java.io.FileOutputStream;
import java.io.OutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import javax.imageio.ImageIO;

/** Files and series of files: made by the command, read and written through the natives. */
class FilesTest extends Images {
  static Path folder;

  public static void main(String[] arguments) throws Exception {
    folder = Files.createTempDirectory("qvimage");
    Runtime.getRuntime().addShutdownHook(new Thread(() -> {
      for (File file : folder.toFile().listFiles()) file.delete();
      folder.toFile().delete();
    }));
    run(FilesTest.class);
  }

  interface Open {
    int on(Jqvimage3 image, long[] handle, String path) throws Exception;
  }

  interface Done {
    int on(Jqvimage3 image, long[] handle) throws Exception;
  }

  interface OpenSeries {
    int on(Jqvimage3 image, long[] handle, Jqvimage frame, Jqvimage lut, String pattern, long bufsize,
        int first, int last, int writeback, int locking) throws Exception;
  }

  static final int WIDTH = 8, HEIGHT = 5;

  static String path(String name) { return folder.resolve(name).toString(); }

  /** An anymap of two frames. */
  static String anymap(String name, int components, Values values) throws Exception {
    try (OutputStream file = new FileOutputStream(path(name))) {
      file.write(("P" + (components == 1 ? 5 : 6) + " " + WIDTH + " " + HEIGHT + " 255\n").getBytes());
      for (int value : values(WIDTH, HEIGHT, 2, components, values)) file.write(value);
    }
    return path(name);
  }

  /** Has the command make files of another format. */
  static void convert(String... words) throws Exception {
    List<String> command = new ArrayList<>();
    command.add(System.getProperty("qvimage.tool"));
    command.add("convert");
    command.addAll(Arrays.asList(words));
    equal("qvimage convert", 0, new ProcessBuilder(command).inheritIO().start().waitFor());
  }

  static void testReaders() throws Exception {
    reader("tiff", Jqvimage3::qvimage3_tiffseq, Jqvimage3::qvimage3_tiffseqdone, 1);
    reader("fits", Jqvimage3::qvimage3_fitsseq, Jqvimage3::qvimage3_fitsseqdone, 1);
    reader("pgm", Jqvimage3::qvimage3_pgmseq, Jqvimage3::qvimage3_pgmseqdone, 1);
    reader("avi", Jqvimage3::qvimage3_aviseq, Jqvimage3::qvimage3_aviseqdone, 3);
  }

  static void reader(String name, Open open, Done done, int components) throws Exception {
    Values values = (x, y, z, c) -> 100 * z + 16 * y + x + c;
    String function = "qvimage3_" + name + "read", path = path("reader file.bin");
    convert(
        anymap("frames", components, values), path, "--quiet", "--format", name.equals("pgm") ? "pnm" : name);
    Jqvimage3 image = volume();
    long[] handle = new long[1];
    equal(name, 0, open.on(image, handle, path));
    equal(name + " handle", true, handle[0] != 0);
    equal(name + " size", "0,0,0-" + WIDTH + "," + HEIGHT + ",2", text(image.wind));
    Values wanted = (x, y, z, c) -> values.at(x, y, z, components - 1 - c); // films: blue comes first
    equal(name + " pixels", values(WIDTH, HEIGHT, 2, components, wanted), read(image));
    equal(name + " done", 0, done.on(image, handle));
    equal(name + " handle", 0L, handle[0]);
    equal(name + " then", "NULL3 0,0,0-0,0,0", image.devname + " " + text(image.wind));
    thrown(name + " done twice", -1, function + "done", () -> done.on(image, handle));

    long[] none = {0};
    thrown(name + " of no file", -13, function, () -> open.on(volume(), none, path + ".none"));
    equal(name + " handle of no file", 0L, none[0]);
    thrown(name + " of null", -1, function, () -> open.on(volume(), none, null));
    for (String odd : new String[] {path + "\0", "\0", "half \uD83D", "\uDE00 half"})
      thrown(name + " of an odd name", -1, function, () -> open.on(volume(), none, odd));
    Jqvimage3 nowhere = new Jqvimage3();
    equal(name + " without a record", 0, open.on(nowhere, handle, path));
    equal(name + " without a record", "NULL3", nowhere.devname);
    done.on(nowhere, handle);
    Files.write(folder.resolve("garbage"), new byte[100]);
    thrown(name + " of garbage", -10, function, () -> open.on(volume(), none, path("garbage")));
  }

  /** Names are given to the system as Java's own classes give them. */
  static void testNames() throws Exception {
    for (String name : new String[] {"\u00E4\u00F6.pgm", "\u20AC.pgm", "\uD83D\uDE00.pgm"}) {
      Path path;
      try {
        path = folder.resolve(name);
      } catch (java.nio.file.InvalidPathException e) {
        continue; // no such name in this locale
      }
      Files.copy(Paths.get(anymap("plain.pgm", 1, (x, y, z, c) -> x)), path);
      long[] handle = new long[1];
      Jqvimage3 image = volume();
      equal(name, 0, image.qvimage3_pgmseq(handle, path.toString()));
      image.qvimage3_pgmseqdone(handle);
    }
  }

  static void testSeries() throws Exception {
    series("tiff", Jqvimage3::qvimage3_buftiffseq, Jqvimage3::qvimage3_buftiffseqdone);
    series("fits", Jqvimage3::qvimage3_buffitsseq, Jqvimage3::qvimage3_buffitsseqdone);
    series("pgm", Jqvimage3::qvimage3_bufpgmseq, Jqvimage3::qvimage3_bufpgmseqdone);
    series("bin", Jqvimage3::qvimage3_bufbinseq, Jqvimage3::qvimage3_bufbinseqdone);
    series("bmp", Jqvimage3::qvimage3_bufbmpseq, Jqvimage3::qvimage3_bufbmpseqdone);
    series("jpeg", Jqvimage3::qvimage3_bufjpegseq, Jqvimage3::qvimage3_bufjpegseqdone);
  }

  static void series(String format, OpenSeries open, Done done) throws Exception {
    String name = "buf" + format + "seq", pattern = path("f?." + format);
    Values values = (x, y, z, c) -> 40 * z + 64; // JPEG keeps what does not change within a picture
    if (format.equals("bin")) {
      for (int z = 0; z < 2; z++) {
        byte[] pixels = new byte[WIDTH * HEIGHT];
        Arrays.fill(pixels, (byte) values.at(0, 0, z, 0));
        Files.write(folder.resolve("f" + (7 + z) + ".bin"), pixels);
      }
    } else {
      convert(anymap("frames", 1, values), "series:" + pattern + ":7-",
          format.equals("jpeg") ? "--quality=100" : "--quiet");
    }
    Jqvimage frame = image(1, 8, 1, GREY, WIDTH, HEIGHT, (x, y, z, c) -> 0);
    Jqvimage3 series = volume();
    long[] handle = new long[1];
    equal(name, 0, open.on(series, handle, frame, null, pattern, 0, 7, 8, 1, 1));
    equal(name + " keeps its frame", true, series.filter[0] == frame && series.filter[1] == null);
    equal(name + " size", "0,0,0-" + WIDTH + "," + HEIGHT + ",2", text(series.wind));
    equal(name + " pixels", values(WIDTH, HEIGHT, 2, 1, values), read(series));
    byte[] white = new byte[WIDTH], back = new byte[WIDTH];
    Arrays.fill(white, (byte) 255);
    series.ioset(0, 1, 1);
    for (int y = 0; y < HEIGHT; y++)
      equal(name + " written", WIDTH, series.iorite_byte(0, white, WIDTH, 0, y, 0));
    equal(name + " saved", 0, series.aeiou('f', 0, 0));
    equal(name + " other frame", 0, series.aeiou('p', 1, 0));
    equal(name + " no such frame", true, series.aeiou('p', 2, 0) < 0);
    equal(name + " read back", WIDTH, series.ioread_byte(0, back, WIDTH, 0, HEIGHT - 1, 0));
    equal(name + " read back", white, back);
    equal(name + " error", 0, series.aeiou('e', 0, 0));

    // a file moved into the series, named by either form of text
    for (boolean as_bytes : new boolean[] {false, true}) {
      String path = path("another");
      Files.copy(folder.resolve("f8." + format), folder.resolve("another"));
      int code = as_bytes ? series.aeiou_ts('r', 0, 0, path.getBytes()) : series.aeiou_r('r', 0, 0, path);
      equal(name + " replaced", 0, code);
      equal(name + " moved", false, new File(path).exists());
    }
    equal(name + " of no text", -1, series.aeiou_r('r', 0, 0, null));
    equal(name + " of no bytes", -1, series.aeiou_ts('r', 0, 0, null));
    thrown(name + " of an odd name", -1, "aeiou_r", () -> series.aeiou_r('r', 0, 0, "\0"));

    OpenSeries other = format.equals("bin") ? Jqvimage3::qvimage3_bufpgmseq : Jqvimage3::qvimage3_bufbinseq;
    thrown(name + " of other handles", -64, "qvimage3_" + (format.equals("bin") ? "bufpgmseq" : "bufbinseq"),
        () -> other.on(volume(), handle, frame, null, pattern, 0, 7, 8, 0, 0));
    equal(name + " done", 0, done.on(series, handle));
    equal(name + " handle", 0L, handle[0]);
    thrown(name + " done twice", -1, "qvimage3_" + name + "done", () -> done.on(series, handle));
    thrown(name + " without a frame", -1, "qvimage3_" + name,
        () -> open.on(volume(), new long[1], null, null, pattern, 0, 7, 8, 1, 0));
    thrown(name + " without a pattern", -1, "qvimage3_" + name,
        () -> open.on(volume(), new long[1], frame, null, null, 0, 7, 8, 1, 0));
    thrown(name + " the other way round", -1, "qvimage3_" + name,
        () -> open.on(volume(), new long[1], frame, null, pattern, 0, 8, 7, 1, 0));
  }

  static void testColourMaps() throws Exception {
    byte[] red = new byte[256], green = new byte[256], blue = new byte[256];
    for (int i = 0; i < 256; i++) {
      red[i] = (byte) i;
      green[i] = (byte) (i + 1);
      blue[i] = (byte) (i + 2);
    }
    IndexColorModel colours = new IndexColorModel(8, 256, red, green, blue);
    BufferedImage indexed = new BufferedImage(WIDTH, HEIGHT, BufferedImage.TYPE_BYTE_INDEXED, colours);
    ImageIO.write(indexed, "bmp", new File(path("m0.bmp")));
    Jqvimage frame = image(1, 8, 1, 17, WIDTH, HEIGHT, (x, y, z, c) -> 0);
    Jqvimage map = image(1, 8, 3, BGR, 256, 1, (x, y, z, c) -> 0);
    Jqvimage3 series = volume(), maps = volume();
    long[] handle = new long[1];
    String pattern = path("m?.bmp");
    equal("series", 0, series.qvimage3_bufbmpseq(handle, frame, map, pattern, 0, 0, 0, 0, 0));
    equal("keeps both", true, series.filter[0] == frame && series.filter[1] == map);
    equal("maps", 0, maps.qvimage3_bufbmplutseq(series, map));
    equal("keeps both", true, maps.filter[0] == series && maps.filter[1] == map);
    equal("loaded", 0, maps.aeiou('p', 0, 0));
    equal("entries", values(256, 1, 1, 3, (x, y, z, c) -> x + 2 - c & 0xFF), read(maps));
    thrown("another map", -1, "qvimage3_bufbmplutseq", () -> volume().qvimage3_bufbmplutseq(series, frame));
    thrown("of TIFF", -1, "qvimage3_buftifflutseq", () -> volume().qvimage3_buftifflutseq(series, map));
    thrown("no series", -1, "qvimage3_buftifflutseq", () -> volume().qvimage3_buftifflutseq(null, null));
    series.qvimage3_bufbmpseqdone(handle);
  }

  /** A handle that Java does not ask for is not told; one element is all that is looked at. */
  static void testHandles() throws Exception {
    String path = anymap("handles.pgm", 1, (x, y, z, c) -> x);
    equal("null", 0, volume().qvimage3_pgmseq(null, path));
    equal("empty", 0, volume().qvimage3_pgmseq(new long[0], path));
    long[] three = {0, 7, 8};
    Jqvimage3 image = volume();
    image.qvimage3_pgmseq(three, path);
    equal("others", "7 8", three[1] + " " + three[2]);
    thrown("of another format", -64, "qvimage3_tiffreaddone", () -> image.qvimage3_tiffseqdone(three));
    image.qvimage3_pgmseqdone(three);
    for (Done done : new Done[] {Jqvimage3::qvimage3_tiffseqdone, Jqvimage3::qvimage3_pgmseqdone})
      for (long[] none : new long[][] {null, {}, {0}}) {
        try {
          done.on(volume(), none);
          fail("closed nothing");
        } catch (JqverrnoException e) {
          equal("code", -1, e.code);
        }
      }
  }
}
