import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;

/** The natives in the log: lines against lines that were written by hand. */
class LogTest extends Images {
  static final Path file = Paths.get(System.getenv("JQVIMAGEPEERLOG"));

  public static void main(String[] arguments) throws Exception {
    Files.deleteIfExists(file);
    run(LogTest.class);
  }

  /** The lines since the last call, without the time that each begins with. */
  static List<String> lines() throws Exception {
    List<String> lines = new ArrayList<>();
    for (String line : Files.readAllLines(file, StandardCharsets.UTF_8)) {
      if (!line.isEmpty() && !line.matches("\\d{13}: .*")) fail("no time: " + line);
      lines.add(line.isEmpty() ? line : line.substring(15));
    }
    Files.delete(file);
    return lines;
  }

  /** An address as the log has it: to the right of 11 columns. */
  static String hex(long address) { return String.format("%10sh", Long.toHexString(address).toUpperCase()); }

  static void testLines() throws Exception {
    long pixels = Jqvimage.pixelalloc(1, 64);
    Jqvimage v = image(), view = image();
    equal("off", false, Files.exists(file));
    Jqvimage.peerVersionId(2);
    List<String> header = lines();
    equal("header", 4, header.size());
    String build = "Date/Time                Build                     : ",
           now = "Date/Time                Current                   : ";
    equal("empty", true, header.get(0).isEmpty() && header.get(1).isEmpty());
    equal("header", true, header.get(2).startsWith(build) && header.get(3).startsWith(now));

    v.qvimage_memory(pixels, extent(4, 3), 0, 1, 8, 1, 1, 0);
    v.ioset(0, 1, 1);
    v.ioread_byte(0, new byte[3], 9, 1, 2);
    v.iolen(9, 1, 2);
    view.qvimage_rotate(v, 0, 5);
    view.xhintspeer(null);
    view.xwindpeer(null, 's');
    Jqvimage.pixelsize(32);
    Jqvimage.pixelzero(pixels, 2, -1);
    Jqvimage.pixelgetlong(pixels, 0);
    thrown("an error", -19, "ioset", () -> view.ioset(0, 16, 1));
    thrown("a file", -13, "qvimage3_pgmread", () -> new Jqvimage3().qvimage3_pgmseq(null, "none.pgm"));
    // Names have 35 columns, or 24 and 10 beside a label; what was returned has 15, a number 11.
    String own = hex(v.peeradrs), its = hex(view.peeradrs), at = hex(pixels);
    String[] wanted = {
        "qvimage_memory                                     :  " + own + " " + at
            + "           4           3           0"
            + "           1           8           1           1           0",
        "qvimage_memory           'ed        ret=          0: ",
        "ioset                                              :  " + own
            + "           0           1           1",
        "ioset                    'ed        ret=          1: ",
        "ioread_byte                                        :  " + own
            + "           0           9           1           2",
        "ioread_byte              'ed        ret=          3: ",
        "iolen                                              :  " + own
            + "           9           1           2",
        "iolen                    'ed        ret=          3: ",
        "qvimage_rotate                                     :  " + its + " " + own
            + "           0           5",
        "qvimage_rotate           'ed        ret=          0: ",
        "xhintspeer                                         :  " + its,
        "xhintspeer               'ed       ",
        "xwindpeer                                          :  " + its + "         115",
        "xwindpeer                'ed        ret=          1: ",
        "Jqvimage_pixelsize                                 :           32",
        "Jqvimage_pixelsize       'ed        ret=          8: ",
        "Jqvimage_pixelzero                                 :  " + at + "          2h FFFFFFFFFFFFFFFFh",
        "Jqvimage_pixelzero       'ed       ",
        "Jqvimage_pixelgetlong                              :  " + at + "          0h",
        "Jqvimage_pixelgetlong    'ed                       : ret=          0h           : ",
        "ioset                                              :  " + its
            + "           0          16           1",
        "ioset                    error                     :          -19",
        "Jqverrno_mesg                                      :          -19",
        "Jqverrno_mesg            'ed       ",
        "ioset                    'ed        ret=        -19: ",
        "qvimage3_pgmseq                                    :           0h          0h none.pgm",
        "qvimage3_pgmread         error                     :          -13",
        "Jqverrno_mesg                                      :          -13",
        "Jqverrno_mesg            'ed       ",
        "qvimage3_pgmseq          'ed        ret=        -13: ",
    };
    equal("lines", String.join("\n", wanted), String.join("\n", lines()));
    linesOfDisplays();
  }

  /** Arguments of the three natives of X11 in the library's order; without a visual nothing is looked at. */
  private static void linesOfDisplays() throws Exception {
    Jqvimage none = new Jqvimage();
    Jqvywindow size = extent(3, 2);
    lineOf("qvimage_hDC", "12h         13h", () -> none.qvimage_hDC(size, 0x11, 0x12, 0x13, 0, 0x15, 6));
    lineOf("qvimage_hXImage", "12h          0h", () -> none.qvimage_hXImage(size, 0x11, 0x12, 0, 0x15, 6));
    lineOf(
        "qvimage_hXDrawable", " 0h         13h", () -> none.qvimage_hXDrawable(size, 0x11, 0x13, 0, 0x15, 6));
  }

  private static void lineOf(String name, String drawn, Call call) throws Exception {
    String wanted = String.format("%-51s:           0h           3           2         11h         ", name)
        + drawn + "          0h         15h           6";
    try {
      call.run();
      fail("no exception");
    } catch (JqverrnoException e) {
      equal("line", wanted, lines().get(0));
    }
  }
}
