import java.awt.image.BufferedImage;
import java.awt.image.IndexColorModel;
import java.io.ByteArrayOutputStream;
import java.io.File;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import javax.imageio.ImageIO;

/** Files and series of files: written by the tests or by Java's own classes, read through the natives. */
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

  static int grey(int x, int y, int z) { return 100 * z + 16 * y + x; }

  static final int WIDTH = 8, HEIGHT = 5;

  static byte[] pixels(int frame) {
    byte[] all = new byte[WIDTH * HEIGHT];
    for (int i = 0; i < all.length; i++) all[i] = (byte) grey(i % WIDTH, i / WIDTH, frame);
    return all;
  }

  static byte[] joined(byte[]... parts) {
    ByteArrayOutputStream all = new ByteArrayOutputStream();
    for (byte[] part : parts) all.write(part, 0, part.length);
    return all.toByteArray();
  }

  static byte[] text(String text) { return text.getBytes(StandardCharsets.US_ASCII); }

  static byte[] pgm(int frame) {
    return joined(text("P5\n" + WIDTH + " " + HEIGHT + "\n255\n"), pixels(frame));
  }

  static byte[] fits(int... frames) {
    StringBuilder cards = new StringBuilder();
    String[] keys = {"SIMPLE  =                    T", "BITPIX  =                    8",
        "NAXIS   =                    3", "NAXIS1  =                    " + WIDTH,
        "NAXIS2  =                    " + HEIGHT, "NAXIS3  =                    " + frames.length, "END"};
    for (String key : keys) cards.append(String.format("%-80s", key));
    byte[] all = text(String.format("%-2880s", cards));
    for (int frame : frames) all = joined(all, pixels(frame));
    return joined(all, new byte[(2880 - all.length % 2880) % 2880]);
  }

  static ByteBuffer little(int size) { return ByteBuffer.allocate(size).order(ByteOrder.LITTLE_ENDIAN); }

  /** A page a frame. */
  static byte[] tiff(int... frames) {
    int page = 2 + 9 * 12 + 4 + WIDTH * HEIGHT;
    ByteBuffer out = little(8 + frames.length * page);
    out.put(text("II")).putShort((short) 42).putInt(8);
    for (int i = 0; i < frames.length; i++) {
      int data = out.position() + 2 + 9 * 12 + 4;
      int[][] entries = {{256, WIDTH}, {257, HEIGHT}, {258, 8}, {259, 1}, {262, 1}, {273, data}, {277, 1},
          {278, HEIGHT}, {279, WIDTH * HEIGHT}};
      out.putShort((short) entries.length);
      for (int[] entry : entries)
        out.putShort((short) entry[0]).putShort((short) 4).putInt(1).putInt(entry[1]);
      out.putInt(i + 1 < frames.length ? data + WIDTH * HEIGHT : 0).put(pixels(frames[i]));
    }
    return out.array();
  }

  static byte[] chunk(String name, byte[]... parts) {
    byte[] data = joined(parts);
    return joined(text(name), little(4).putInt(data.length).array(), data, new byte[data.length % 2]);
  }

  /** Frames of 24 bits a pixel, rows from the lowest up. */
  static byte[] avi(int... frames) {
    byte[] header = little(56)
                        .putInt(40000)
                        .putInt(0)
                        .putInt(0)
                        .putInt(0)
                        .putInt(frames.length)
                        .putInt(0)
                        .putInt(1)
                        .putInt(0)
                        .putInt(WIDTH)
                        .putInt(HEIGHT)
                        .array();
    byte[] stream = little(56)
                        .put(text("vidsDIB "))
                        .putInt(0)
                        .putInt(0)
                        .putInt(0)
                        .putInt(1)
                        .putInt(25)
                        .putInt(0)
                        .putInt(frames.length)
                        .array();
    byte[] format =
        little(40).putInt(40).putInt(WIDTH).putInt(HEIGHT).putShort((short) 1).putShort((short) 24).array();
    byte[] movie = text("movi");
    for (int frame : frames) {
      ByteBuffer rows = little(3 * WIDTH * HEIGHT);
      for (int y = HEIGHT - 1; y >= 0; y--)
        for (int x = 0; x < WIDTH; x++)
          for (int c = 0; c < 3; c++) rows.put((byte) (grey(x, y, frame) + c));
      movie = joined(movie, chunk("00db", rows.array()));
    }
    byte[] headers = chunk("LIST", text("hdrl"), chunk("avih", header),
        chunk("LIST", text("strl"), chunk("strh", stream), chunk("strf", format)));
    return chunk("RIFF", text("AVI "), headers, chunk("LIST", movie));
  }

  static String write(String name, byte[] bytes) throws Exception {
    return Files.write(folder.resolve(name), bytes).toString();
  }

  static void testReaders() throws Exception {
    Object[][] table = {{"tiffseq", tiff(0, 1), (Open) Jqvimage3::qvimage3_tiffseq,
                            (Done) Jqvimage3::qvimage3_tiffseqdone, 1},
        {"fitsseq", fits(0, 1), (Open) Jqvimage3::qvimage3_fitsseq, (Done) Jqvimage3::qvimage3_fitsseqdone,
            1},
        {"pgmseq", joined(pgm(0), pixels(1)), (Open) Jqvimage3::qvimage3_pgmseq,
            (Done) Jqvimage3::qvimage3_pgmseqdone, 1},
        {"aviseq", avi(0, 1), (Open) Jqvimage3::qvimage3_aviseq, (Done) Jqvimage3::qvimage3_aviseqdone, 3}};
    for (Object[] row : table) {
      String name = (String) row[0], reader = "qvimage3_" + name.replace("seq", "read");
      String path = write("reader file.bin", (byte[]) row[1]);
      Open open = (Open) row[2];
      Done done = (Done) row[3];
      Jqvimage3 image = volume();
      long[] handle = new long[1];
      equal(name, 0, open.on(image, handle, path));
      equal(name + " handle", true, handle[0] != 0);
      equal(name + " size", "0,0,0-" + WIDTH + "," + HEIGHT + ",2", text(image.wind));
      int components = (Integer) row[4];
      Values wanted = (x, y, z, c) -> (grey(x, y, z) & 0xFF) + c & 0xFF;
      equal(name + " pixels", values(WIDTH, HEIGHT, 2, components, wanted), read(image));
      equal(name + " done", 0, done.on(image, handle));
      equal(name + " handle", 0L, handle[0]);
      equal(name + " then", "NULL3 0,0,0-0,0,0", image.devname + " " + text(image.wind));
      thrown(name + " done twice", -1, reader + "done", () -> done.on(image, handle));

      long[] none = {0};
      thrown(name + " of no file", -13, reader, () -> open.on(volume(), none, path + ".none"));
      equal(name + " handle of no file", 0L, none[0]);
      thrown(name + " of null", -1, reader, () -> open.on(volume(), none, null));
      for (String odd : new String[] {path + "\0", "\0", "half \uD83D", "\uDE00 half"})
        thrown(name + " of an odd name", -1, reader, () -> open.on(volume(), none, odd));
      String garbage = write("garbage", new byte[100]);
      equal(name + " of garbage", true, open(open, garbage) < 0);
      Jqvimage3 nowhere = new Jqvimage3();
      equal(name + " without a record", 0, open.on(nowhere, handle, path));
      equal(name + " without a record", "NULL3", nowhere.devname);
      done.on(nowhere, handle);
    }
  }

  static int open(Open open, String path) throws Exception {
    try {
      return open.on(volume(), new long[1], path);
    } catch (JqverrnoException e) {
      return e.code;
    }
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
      Files.write(path, pgm(0));
      long[] handle = new long[1];
      Jqvimage3 image = volume();
      equal(name, 0, image.qvimage3_pgmseq(handle, path.toString()));
      image.qvimage3_pgmseqdone(handle);
    }
  }

  static byte[] encoded(String format, BufferedImage image) throws Exception {
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    if (!ImageIO.write(image, format, out)) throw new Exception("no writer of " + format);
    return out.toByteArray();
  }

  static BufferedImage picture(int frame) {
    BufferedImage made = new BufferedImage(WIDTH, HEIGHT, BufferedImage.TYPE_3BYTE_BGR);
    for (int y = 0; y < HEIGHT; y++)
      for (int x = 0; x < WIDTH; x++) made.setRGB(x, y, 0x010101 * (grey(x, y, frame) & 0xFF));
    return made;
  }

  /** JPEG keeps colours that do not change within a picture. */
  static BufferedImage plain(int frame) {
    BufferedImage made = new BufferedImage(WIDTH, HEIGHT, BufferedImage.TYPE_BYTE_GRAY);
    java.util.Arrays.fill(((java.awt.image.DataBufferByte) made.getRaster().getDataBuffer()).getData(),
        (byte) (40 * frame + 64));
    return made;
  }

  static void testSeries() throws Exception {
    Values usual = (x, y, z, c) -> grey(x, y, z) & 0xFF;
    Object[][] table = {{"tiff", tiff(0), tiff(1), (OpenSeries) Jqvimage3::qvimage3_buftiffseq,
                            (Done) Jqvimage3::qvimage3_buftiffseqdone, 1, usual},
        {"fits", fits(0), fits(1), (OpenSeries) Jqvimage3::qvimage3_buffitsseq,
            (Done) Jqvimage3::qvimage3_buffitsseqdone, 1, usual},
        {"pgm", pgm(0), pgm(1), (OpenSeries) Jqvimage3::qvimage3_bufpgmseq,
            (Done) Jqvimage3::qvimage3_bufpgmseqdone, 1, usual},
        {"bin", pixels(0), pixels(1), (OpenSeries) Jqvimage3::qvimage3_bufbinseq,
            (Done) Jqvimage3::qvimage3_bufbinseqdone, 1, usual},
        {"bmp", encoded("bmp", picture(0)), encoded("bmp", picture(1)),
            (OpenSeries) Jqvimage3::qvimage3_bufbmpseq, (Done) Jqvimage3::qvimage3_bufbmpseqdone, 3, usual},
        {"jpeg", encoded("jpg", plain(0)), encoded("jpg", plain(1)),
            (OpenSeries) Jqvimage3::qvimage3_bufjpegseq, (Done) Jqvimage3::qvimage3_bufjpegseqdone, 1,
            (Values) (x, y, z, c) -> 40 * z + 64}};
    for (Object[] row : table) {
      String name = "buf" + row[0] + "seq";
      write("f7." + row[0], (byte[]) row[1]);
      write("f8." + row[0], (byte[]) row[2]);
      String pattern = folder.resolve("f?." + row[0]).toString();
      OpenSeries open = (OpenSeries) row[3];
      Done done = (Done) row[4];
      int components = (Integer) row[5];
      Jqvimage frame =
          image(1, 8, components, components == 1 ? GREY : BGR, WIDTH, HEIGHT, (x, y, z, c) -> 0);
      Jqvimage3 series = volume();
      long[] handle = new long[1];
      equal(name, 0, open.on(series, handle, frame, null, pattern, 0, 7, 8, 1, 1));
      equal(name + " keeps its frame", true, series.filter[0] == frame && series.filter[1] == null);
      equal(name + " size", "0,0,0-" + WIDTH + "," + HEIGHT + ",2", text(series.wind));
      equal(name + " pixels", values(WIDTH, HEIGHT, 2, components, (Values) row[6]), read(series));
      byte[] white = new byte[WIDTH * components], back = new byte[WIDTH * components];
      java.util.Arrays.fill(white, (byte) 255);
      series.ioset(0, 1, all(components));
      for (int y = 0; y < HEIGHT; y++)
        equal(name + " written", WIDTH, series.iorite_byte(0, white, WIDTH, 0, y, 0));
      equal(name + " saved", 0, series.aeiou('f', 0, 0));
      equal(name + " other frame", 0, series.aeiou('p', 1, 0));
      equal(name + " no such frame", true, series.aeiou('p', 2, 0) < 0);
      equal(name + " read back", WIDTH, series.ioread_byte(0, back, WIDTH, 0, HEIGHT - 1, 0));
      equal(name + " read back", white, back);
      equal(name + " error", 0, series.aeiou('e', 0, 0));

      // a file moved into the series, named by either form of text
      byte[] another = Files.readAllBytes(folder.resolve("f8." + row[0]));
      for (boolean as_bytes : new boolean[] {false, true}) {
        String path = write("another", another);
        int code = as_bytes ? series.aeiou_ts('r', 0, 0, path.getBytes()) : series.aeiou_r('r', 0, 0, path);
        equal(name + " replaced", 0, code);
        equal(name + " moved", false, new File(path).exists());
      }
      equal(name + " of no text", -1, series.aeiou_r('r', 0, 0, null));
      equal(name + " of no bytes", -1, series.aeiou_ts('r', 0, 0, null));
      thrown(name + " of an odd name", -1, "aeiou_r", () -> series.aeiou_r('r', 0, 0, "\0"));

      thrown(name + " of other handles", -64,
          "qvimage3_" + (name.startsWith("bufbin") ? "bufpgmseq" : "bufbinseq"), () -> {
            Jqvimage3 other = volume();
            return name.startsWith("bufbin")
                ? other.qvimage3_bufpgmseq(handle, frame, null, pattern, 0, 7, 8, 0, 0)
                : other.qvimage3_bufbinseq(handle, frame, null, pattern, 0, 7, 8, 0, 0);
          });
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
    write("m0.bmp", encoded("bmp", indexed));
    Jqvimage frame = image(1, 8, 1, 17, WIDTH, HEIGHT, (x, y, z, c) -> 0);
    Jqvimage map = image(1, 8, 3, BGR, 256, 1, (x, y, z, c) -> 0);
    Jqvimage3 series = volume(), maps = volume();
    long[] handle = new long[1];
    String pattern = folder.resolve("m?.bmp").toString();
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
    String path = write("handles.pgm", pgm(0));
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
