import java.lang.reflect.Method;
import java.util.function.IntUnaryOperator;

/** Images that tests are made on. Records and pixels stay until the program ends. */
class Images extends Checks {
  static final int GREY = 1, BGR = 3, BAYER4 = 52, RGB = 67;
  static final int LOW = 0x200;
  static final int WRAP = 0x40;

  /** The value of a component: by its coordinates. */
  interface Values {
    int at(int x, int y, int z, int component);
  }

  static Jqvimage image() throws Exception {
    Jqvimage made = new Jqvimage();
    made.peeradrs = Jqvimage.pixelalloc(1, Jqvimage.csize());
    return made;
  }

  static Jqvimage3 volume() throws Exception {
    Jqvimage3 made = new Jqvimage3();
    made.peer3adrs = Jqvimage.pixelalloc(1, Jqvimage3.csize());
    return made;
  }

  static Jqvywindow extent(int x, int y) {
    Jqvywindow made = new Jqvywindow();
    made.sex = x;
    made.sey = y;
    return made;
  }

  static Jqvyzwindow extent(int x, int y, int z) {
    Jqvyzwindow made = new Jqvyzwindow();
    made.sex = x;
    made.sey = y;
    made.sez = z;
    return made;
  }

  static long memory(int type, int components, int x, int y, int z, Values values) throws Exception {
    int size = Jqvimage.pixelsize(type);
    long address = Jqvimage.pixelalloc(1, (long) size * components * x * y * z + 8), at = address;
    for (int value : values(x, y, z, components, values)) {
      long rest = Jqvimage.pixelgetlong(at, 0) & -1L << 8 * size;
      Jqvimage.pixelsetlong(at, 0, rest | value);
      at += size;
    }
    return address;
  }

  static Jqvimage image(int type, int bits, int components, int hint, int x, int y, Values values)
      throws Exception {
    Jqvimage made = image();
    long pixels = memory(type, components, x, y, 1, values);
    made.qvimage_memory(pixels, extent(x, y), 0, type, bits, components, hint, 0);
    return made;
  }

  static Jqvimage3 volume(int type, int bits, int components, int hint, int x, int y, int z, Values values)
      throws Exception {
    Jqvimage3 made = volume();
    long pixels = memory(type, components, x, y, z, values);
    made.qvimage3_memory(pixels, extent(x, y, z), 0, type, bits, components, hint, 0);
    return made;
  }

  /** A table of 16-bit entries. */
  static long table(int entries, IntUnaryOperator entry) throws Exception {
    return memory(2, 1, entries, 1, 1, (x, y, z, c) -> entry.applyAsInt(x));
  }

  static int all(int components) { return (1 << components) - 1; }

  /** All components of all pixels, in order; of the type that the image has, at the low end. */
  static int[] read(Jqvimage im) throws Exception {
    int x = im.wind.sex - im.wind.nwx, y = im.wind.sey - im.wind.nwy, pixels = x * y;
    equal(im.devname + " ioset", 1, im.ioset(WRAP, im.d.pixietype | LOW, all(im.d.pixies)));
    equal(im.devname + " iolen", true, im.iolen(pixels, 0, 0) > 0);
    int[] values = new int[pixels * im.d.pixies];
    for (int done = 0, moved; done < pixels; done += moved) {
      int left = (pixels - done) * im.d.pixies;
      byte[] bytes = new byte[left];
      short[] shorts = new short[left];
      moved = im.d.pixietype == 1 ? im.ioread_byte(0, bytes, pixels - done, done % x, done / x)
                                  : im.ioread_short(0, shorts, pixels - done, done % x, done / x);
      if (moved <= 0) throw new Exception(im.devname + " moved " + moved + " at " + done);
      for (int i = 0; i < moved * im.d.pixies; i++)
        values[done * im.d.pixies + i] = im.d.pixietype == 1 ? bytes[i] & 0xFF : shorts[i] & 0xFFFF;
    }
    return values;
  }

  static int[] read(Jqvimage3 im) throws Exception {
    int x = im.wind.sex - im.wind.nwx, y = im.wind.sey - im.wind.nwy, z = im.wind.sez - im.wind.nwz;
    equal(im.devname + " ioset", 1, im.ioset(0, im.d.pixietype | LOW, all(im.d.pixies)));
    equal(im.devname + " iolen", x, im.iolen(x, 0, 0, 0));
    int n = im.d.pixies * x;
    int[] values = new int[n * y * z];
    for (int line = 0; line < y * z; line++) {
      byte[] bytes = new byte[n];
      short[] shorts = new short[n];
      int moved = im.d.pixietype == 1 ? im.ioread_byte(0, bytes, x, 0, line % y, line / y)
                                      : im.ioread_short(0, shorts, x, 0, line % y, line / y);
      equal(im.devname + " moved", x, moved);
      for (int i = 0; i < n; i++)
        values[line * n + i] = im.d.pixietype == 1 ? bytes[i] & 0xFF : shorts[i] & 0xFFFF;
    }
    return values;
  }

  /** What the native "ioread_...", "iorite_..." or "iowait_..." for such an array answers at the origin. */
  static int move(Object peer, String slot, Object array, int count) throws Exception {
    String name = slot + "_" + array.getClass().getComponentType().getName();
    for (Method method : peer.getClass().getDeclaredMethods()) {
      if (!method.getName().equals(name)) continue;
      Object[] arguments = new Object[method.getParameterTypes().length];
      java.util.Arrays.fill(arguments, 0);
      arguments[1] = array;
      if (arguments.length > 2) arguments[2] = count;
      return (Integer) method.invoke(peer, arguments);
    }
    throw new NoSuchMethodException(name);
  }

  static int[] values(int x, int y, int z, int components, Values values) {
    int[] all = new int[x * y * z * components];
    for (int i = 0; i < all.length; i++) {
      int pixel = i / components;
      all[i] = values.at(pixel % x, pixel / x % y, pixel / x / y, i % components);
    }
    return all;
  }

  static String text(Jqvywindow w) { return w.nwx + "," + w.nwy + "-" + w.sex + "," + w.sey; }

  static String text(Jqvyzwindow w) {
    return w.nwx + "," + w.nwy + "," + w.nwz + "-" + w.sex + "," + w.sey + "," + w.sez;
  }

  static String text(Jqvimagedata d) {
    return d.pixietype + " x" + d.pixies + " hint " + d.pixelhint + " bits " + d.i_bitsused + " "
        + d.i_bitsxsb + " " + d.i_dirtyread + " " + d.i_dirtyrite + " " + d.i_endian + " range "
        + d.r_minvalue + " " + d.r_maxvalue;
  }

  static String text(Jqvimagefacts f) {
    return f.pixiesize + " " + f.pixelsize + " " + f.pixieuint + " " + f.pixiereal;
  }

  static String text(Jqvimagehints h) {
    return h.pixelwidth + " " + h.pixelheight + " " + h.pixeldepth + " " + h.widthunits + " " + h.heightunits
        + " " + h.depthunits;
  }
}
