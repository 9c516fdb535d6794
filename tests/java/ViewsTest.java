/** Constructors of images in memory and of views: what the objects say afterwards, and their pixels. */
class ViewsTest extends Images {
  public static void main(String[] arguments) throws Exception { run(ViewsTest.class); }

  interface Make2 {
    int on(Jqvimage view) throws Exception;
  }

  interface Make3 {
    int on(Jqvimage3 view) throws Exception;
  }

  static final int METER = 109, INCH = 188, FLOAT = 16;

  static Jqvimagedata real() {
    Jqvimagedata d = new Jqvimagedata();
    d.pixietype = FLOAT;
    d.pixies = 2;
    d.pixelhint = 2;
    d.r_minvalue = -1.5f;
    d.r_maxvalue = 2.5f;
    d.i_bitsused = 77; // of no meaning here
    return d;
  }

  static Jqvimagehints hints() {
    Jqvimagehints h = new Jqvimagehints();
    h.pixelwidth = 0.5f;
    h.pixelheight = 0.25f;
    h.pixeldepth = 4;
    h.widthunits = h.heightunits = INCH;
    h.depthunits = METER;
    return h;
  }

  static final String SHORTS = "2 x1 hint 1 bits 12 512 0 0 0 range 0.0 0.0", SHORT_FACTS = "2 2 true false",
                      REALS = "16 x2 hint 2 bits 0 0 0 0 0 range -1.5 2.5", REAL_FACTS = "4 8 false true",
                      NO_HINTS = "0.0 0.0 0.0 0 0 0", SIZE = "0.5 0.25 0.0 188 188 0",
                      SIZE3 = "0.5 0.25 4.0 188 188 109",
                      NOTHING = "0 x0 hint 0 bits 0 0 0 0 0 range 0.0 0.0", NO_FACTS = "0 0 false false";

  static void image(String device, String extent, String data, String facts, String hints, Make2 make)
      throws Exception {
    Jqvimage v = image();
    equal(device + " answer", 0, make.on(v));
    equal("made", String.join("; ", device, extent, extent, data, facts, hints),
        String.join("; ", v.devname, text(v.imdim), text(v.wind), text(v.d), text(v.f), text(v.h)));
  }

  static void volume(String device, String extent, String data, String facts, String hints, Make3 make)
      throws Exception {
    Jqvimage3 v = volume();
    equal(device + " answer", 0, make.on(v));
    equal("made", String.join("; ", device, extent, extent, data, facts, hints),
        String.join("; ", v.devname, text(v.imdim), text(v.wind), text(v.d), text(v.f), text(v.h)));
  }

  static void testImagesInMemory() throws Exception {
    long at = Jqvimage.pixelalloc(1, 2000);
    Jqvywindow size = extent(8, 5), moved = extent(11, 7);
    moved.nwx = 3;
    moved.nwy = 2; // the same extent
    Jqvimagehints h = hints();
    image("NULL2", "0,0-0,0", NOTHING, NO_FACTS, NO_HINTS, v -> v.qvimage_defnull());
    image("NULL2", "0,0-8,5", REALS, REAL_FACTS, SIZE3, v -> v.qvimage_defnop(size, real(), h));
    image("NULL2", "0,0-0,0", NOTHING, NO_FACTS, NO_HINTS, v -> v.qvimage_defnop(null, null, null));
    image("QVIMMEM", "0,0-8,5", SHORTS, SHORT_FACTS, NO_HINTS,
        v -> v.qvimage_memory(at, moved, 0, 2, 12, 1, 1, 0));
    image("QVIMMEM", "0,0-8,5", SHORTS, SHORT_FACTS, SIZE,
        v -> v.qvimage_memory2(at, size, 20, 2, 12, 1, 1, 0, INCH, 0.5f, 0.25f));
    image("QVIMMEM", "0,0-8,5", SHORTS, SHORT_FACTS, SIZE,
        v -> v.qvimage_memory3(at, 80, size, 0, 2, 12, 1, 1, 0, INCH, 0.5f, 0.25f));
    image("QVIMMEM", "0,0-8,5", REALS, REAL_FACTS, SIZE3,
        v -> v.qvimage_memorydata(at, 320, size, 0, real(), h, 0));

    Jqvyzwindow box = extent(8, 5, 3);
    volume("NULL3", "0,0,0-0,0,0", NOTHING, NO_FACTS, NO_HINTS, v -> v.qvimage3_defnull());
    volume("QVIMMEM3", "0,0,0-8,5,3", SHORTS, SHORT_FACTS, NO_HINTS,
        v -> v.qvimage3_memory(at, box, 0, 2, 12, 1, 1, 0));
    volume("QVIMMEM3", "0,0,0-8,5,3", SHORTS, SHORT_FACTS, SIZE3,
        v -> v.qvimage3_memory2(at, box, 0, 2, 12, 1, 1, 0, INCH, METER, 0.5f, 0.25f, 4));
    volume("QVIMMEM3", "0,0,0-8,5,3", SHORTS, SHORT_FACTS, SIZE3,
        v -> v.qvimage3_memory3(at, 240, box, 0, 2, 12, 1, 1, 0, INCH, METER, 0.5f, 0.25f, 4));
    volume("QVIMMEM3", "0,0,0-8,5,3", REALS, REAL_FACTS, SIZE3,
        v -> v.qvimage3_memorydata(at, 960, box, 0, 0, real(), h, 0));
  }

  static int grey(int x, int y, int z) { return 1000 * z + 100 * y + 3 * x; }

  static int colour(int x, int y, int z, int c) { return 50 * c + 10 * z + 7 * y + x; }

  /** A view as it must become: its source, device, size, components and values. */
  static void view(Object source, String device, int width, int height, int components, Make2 make,
      Values values) throws Exception {
    Jqvimage v = image();
    equal(device + " answer", 0, make.on(v));
    equal("device", device, v.devname);
    equal(device + " size", "0,0-" + width + "," + height, text(v.wind));
    equal(device + " keeps its source", true, v.filter[0] == source);
    equal(device + " pixels", values(width, height, 1, components, values), read(v));
  }

  static void view3(Object source, String device, int depth, int components, Make3 make, Values values)
      throws Exception {
    Jqvimage3 v = volume();
    equal(device + " answer", 0, make.on(v));
    equal("device", device, v.devname);
    equal(device + " size", "0,0,0-6,4," + depth, text(v.wind));
    equal(device + " keeps its source", true, v.filter[0] == source);
    equal(device + " pixels", values(6, 4, depth, components, values), read(v));
  }

  static void testViews() throws Exception {
    Jqvimage flat = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> grey(x, y, 0));
    Jqvimage row8 = image(2, 12, 1, GREY, 8, 1, (x, y, z, c) -> grey(x, 0, 0));
    Jqvimage rgb = image(1, 8, 3, RGB, 6, 4, (x, y, z, c) -> colour(x, y, 0, c));
    Jqvimage3 deep = volume(2, 12, 1, GREY, 6, 4, 3, (x, y, z, c) -> grey(x, y, z));
    Jqvimage3 rgb3 = volume(1, 8, 3, RGB, 6, 4, 3, (x, y, z, c) -> colour(x, y, z, c));
    long mirror = table(4096, i -> 4095 - i);
    view(flat, "QVIMCONV", 6, 4, 1,
        v -> v.qvimage_converter(flat, null, 0, 0, 8), (x, y, z, c) -> grey(x, y, 0) >> 4);
    view(flat, "QVIMDECI", 3, 2, 1,
        v -> v.qvimage_decimate(flat, 0, 2, 2, 1, 0), (x, y, z, c) -> grey(2 * x + 1, 2 * y, 0));
    view(flat, "QVIMYOdd", 6, 4, 1, v -> v.qvimage_yodd(flat, 0, 1), (x, y, z, c) -> grey(x, y | 1, 0));
    view(deep, "QVIMSTAK", 6, 4, 1, v -> v.qvimage_stack(deep), (x, y, z, c) -> grey(x, y, 1));
    view(flat, "QVIMCAM", 6, 4, 1, v -> v.qvimage_cachemonitor(flat, 0, 1), (x, y, z, c) -> grey(x, y, 0));
    view(
        deep, "QVIM3to2", 3, 6, 1, v -> v.qvimage_def2from3(deep, 4, 0, 2, 0), (x, y, z, c) -> grey(y, 2, x));
    view(flat, "QVIMROTA", 4, 6, 1, v -> v.qvimage_rotate(flat, 0, 5), (x, y, z, c) -> grey(y, 3 - x, 0));
    view(flat, "QVIMLUT2", 6, 4, 1,
        v
        -> v.qvimage_lut(flat, 0, mirror, 0, 0, 0, mirror, 0, 0, 0, 0, 0, 0),
        (x, y, z, c) -> 4095 - grey(x, y, 0));
    view(row8, "QVIMLUT", 4, 1, 1, v -> v.qvimage_lutconvert(row8, 4, 1), (x, y, z, c) -> grey(2 * x, 0, 0));
    view(flat, "Bayer*4", 6, 4, 4,
        v -> v.qvimage_Beyer4(flat, 0, 0), (x, y, z, c) -> grey(x & ~1 | c & 1, y & ~1 | c >> 1, 0));
    view(rgb, "ClrSlice", 6, 4, 1,
        v -> v.qvimage_colorslice(rgb, 0, 2, 0), (x, y, z, c) -> colour(x, y, 0, 1));
    view(rgb, "QVIMCLR", 6, 4, 3,
        v -> v.qvimage_colorconverter(rgb, BGR, 0), (x, y, z, c) -> colour(x, y, 0, 2 - c));
    view3(deep, "QVIMCONV", 3, 1,
        v -> v.qvimage3_converter(deep, null, 0, 0, 8), (x, y, z, c) -> grey(x, y, z) >> 4);
    view3(rgb3, "ClrSlice", 3, 1,
        v -> v.qvimage3_colorslice(rgb3, 0, 4, 0), (x, y, z, c) -> colour(x, y, z, 2));
    view3(rgb3, "QVIMCLR3", 3, 3,
        v -> v.qvimage3_colorconverter(rgb3, BGR, 0), (x, y, z, c) -> colour(x, y, z, 2 - c));
    view3(deep, "Bayer*4", 3, 4,
        v -> v.qvimage3_Beyer4(deep, 0, 3), (x, y, z, c) -> grey(x & ~1 | ~c & 1, y & ~1 | 1 - (c >> 1), z));
    view3(flat, "QVIM2to3", 1, 1, v -> v.qvimage_def3from2(flat, 0), (x, y, z, c) -> grey(x, y, 0));
    view3(deep, "QVIM3to3", 3, 1,
        v -> v.qvimage3_def3from3(deep, -1, 0, 0, 0), (x, y, z, c) -> grey(x, y, (z + 2) % 3));
    view3(deep, "QVIMLUT3", 3, 1,
        v
        -> v.qvimage3_lut(deep, 0, mirror, 0, 0, 0, mirror, 0, 0, 0, 0, 0),
        (x, y, z, c) -> 4095 - grey(x, y, z));
  }

  /** Every array type, both ways, in both dimensions: an element a component. */
  static void testArrays() throws Exception {
    Object[][] table = {{1, new byte[] {1, -2, 3, -4, 5}}, {2, new short[] {1, -2, 300, -4, 5}},
        {4, new int[] {1, -2, 300000, -4, 5}}, {16, new float[] {1, -2, 0.5f, Float.MAX_VALUE, 5}},
        {32, new double[] {1, -2, 1e-300, Double.MAX_VALUE, 5}}};
    for (Object[] row : table) {
      int type = (Integer) row[0];
      Jqvimage flat = image(type, 0, 1, GREY, 5, 1, (x, y, z, c) -> 0);
      Jqvimage3 deep = volume(type, 0, 1, GREY, 5, 1, 1, (x, y, z, c) -> 0);
      flat.ioset(0, type, 1);
      deep.ioset(0, type, 1);
      for (Object peer : new Object[] {flat, deep}) {
        Object back = java.lang.reflect.Array.newInstance(row[1].getClass().getComponentType(), 5);
        equal("written", 5, move(peer, "iorite", row[1], 5));
        equal("complete", 1, move(peer, "iowait", row[1], 5));
        equal("read", 5, move(peer, "ioread", back, 5));
        equal("type " + type, row[1], back);
      }
    }
  }

  static void testWindowsHintsAndQueries() throws Exception {
    Jqvimage v = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> grey(x, y, 0));
    Jqvywindow part = extent(5, 3), given = extent(0, 0);
    part.nwx = 2;
    part.nwy = 1;
    equal("set", 1, v.xwindpeer(part, 's'));
    equal("wind", "2,1-5,3", text(v.wind));
    equal("extent", "0,0-6,4", text(v.imdim));
    equal("nothing is set up", 0, v.ioread_short(0, new short[3], 3, 0, 0));
    equal("part", values(3, 2, 1, 1, (x, y, z, c) -> grey(x + 2, y + 1, 0)), read(v));
    equal("asked", 1, v.xwindpeer(given, 'w'));
    equal("the window passed stays as it is", "0,0-0,0", text(given));
    equal("other letter", 0, v.xwindpeer(null, '?'));
    part.sex = 7;
    equal("outside", 0, v.xwindpeer(part, 's'));
    equal("no window", "0,0-0,0", text(v.wind));
    equal("whole", 1, v.xwindpeer(null, 's'));
    equal("whole", "0,0-6,4", text(v.wind));
    v.xhintspeer(hints());
    v.xhintspeer(null);
    v.CtoJ(v.peeradrs);
    equal("hints", SIZE3, text(v.h));
    equal("longest run", 2147483647, v.aeiou('I', 0, 0));
    equal("of bytes, all 32 bits", -1, image(1, 8, 1, GREY, 1, 1, (x, y, z, c) -> 0).aeiou('I', 0, 0));
    equal("supported", 1, v.qvimdatasupported(2 | LOW));
    equal("not supported", 0, v.qvimdatasupported(1));

    Jqvimage3 deep = volume(1, 8, 3, RGB, 4, 3, 2, (x, y, z, c) -> colour(x, y, z, c));
    Jqvyzwindow box = extent(3, 3, 2);
    box.nwx = box.nwy = box.nwz = 1;
    equal("set", 1, deep.xwindpeer(box, 's'));
    equal("wind", "1,1,1-3,3,2", text(deep.wind));
    equal("part", values(2, 2, 1, 3, (x, y, z, c) -> colour(x + 1, y + 1, z + 1, c)), read(deep));
    equal("longest run", 1431655765, deep.aeiou('I', 0, 0));
    deep.xhintspeer(hints());
    deep.CtoJ(deep.peer3adrs);
    equal("hints", SIZE3, text(deep.h));
    equal("supported", 1, deep.qvimdatasupported(1));
  }

  /** Without a display there is none; with headers missing at build time neither. */
  static void testDisplay() throws Exception {
    Jqvywindow size = extent(3, 2);
    Make2[] all = {v
        -> v.qvimage_hDC(size, 0, 0, 0, 0, 0, 0),
        v -> v.qvimage_hXImage(size, 0, 0, 0, 0, 0), v -> v.qvimage_hXDrawable(size, 0, 0, 0, 0, 0)};
    for (Make2 make : all) {
      Jqvimage v = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> 0);
      try {
        make.on(v);
        fail("no exception");
      } catch (JqverrnoException e) {
        equal("function", "qvimage_X11", e.function);
        equal("code", true, e.code == -1 || e.code == -27);
      }
      equal("null image", "NULL2 0,0-0,0 " + NOTHING, v.devname + " " + text(v.wind) + " " + text(v.d));
    }
  }
}
