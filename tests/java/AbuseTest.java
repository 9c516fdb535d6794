import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;

/** What programs must not do, and the virtual machine has to outlive. */
class AbuseTest extends Images {
  public static void main(String[] arguments) throws Exception {
    System.load(System.getProperty("qvimage.pending"));
    run(AbuseTest.class);
  }

  /** Calls every native while an exception is pending; answers how many of them left it so. */
  static native int callAll();

  static class Wanted extends RuntimeException { private static final long serialVersionUID = 1; }

  static void testPendingExceptions() { equal("natives that leave an exception alone", 123, callAll()); }

  static final int WIDTH = 12;

  /** Arrays of every type, of lengths that hold no whole number of pixels, whatever runs are set up for. */
  static void testCountsAreLimitedByBytes() throws Exception {
    for (int type : new int[] {1, 2, 4, 8, 16, 32})
      for (int components : new int[] {1, 3, 5}) {
        Jqvimage v = image(type, 0, components, 0, WIDTH, 1, (x, y, z, c) -> 0);
        Jqvimage3 deep = volume(type, 0, components, 0, WIDTH, 1, 1, (x, y, z, c) -> 0);
        Jqvimage view = image();
        view.qvimage_cachemonitor(v, 0, 1);
        for (int selected = 1; selected <= components; selected += 2) {
          v.ioset(0, type, all(selected));
          deep.ioset(0, type, all(selected));
          for (int count : new int[] {0, 1, 4, WIDTH, 4711, Integer.MAX_VALUE, -1, Integer.MIN_VALUE})
            for (int length : new int[] {0, 1, 2, 5, 7, 23, 200})
              for (Object array : new Object[] {new byte[length], new short[length], new int[length],
                       new float[length], new double[length]}) {
                int bytes = array instanceof byte[] ? 1
                    : array instanceof short[]      ? 2
                    : array instanceof double[]     ? 8
                                                    : 4;
                int room = bytes * length / (Jqvimage.pixelsize(type) * selected);
                int wanted = Math.min(Math.min(room, WIDTH), Math.max(count, 0));
                String what = type + " x" + selected + " count " + count + " in " + length + " x " + bytes;
                equal("read " + what, wanted, move(v, "ioread", array, count));
                equal("written " + what, wanted, move(v, "iorite", array, count));
                equal("read from volume " + what, wanted, move(deep, "ioread", array, count));
              }
        }
      }
  }

  /** The set-up that counts is the latest, whoever asked for it: a view, or a window that took it away. */
  static void testSetUpsBehindTheBack() throws Exception {
    Jqvimage v = image(1, 8, 3, RGB, WIDTH, 1, (x, y, z, c) -> 1), view = image();
    view.qvimage_cachemonitor(v, 0, 1);
    byte[] array = new byte[7];
    v.ioset(0, 1, 1);
    equal("one component", 7, v.ioread_byte(0, array, 99, 0, 0));
    view.ioset(0, 1, 7);
    equal("the view's three", 2, v.ioread_byte(0, array, 99, 0, 0));
    equal("through the view", 2, view.ioread_byte(0, array, 99, 0, 0));
    equal("the last byte", 1, (int) array[6]);
    thrown("no set-up", -21, "ioset", () -> v.ioset(0, 1, 8));
    equal("nothing is set up", 0, v.ioread_byte(0, array, 99, 0, 0));
    v.ioset(0, 1, 7);
    v.xwindpeer(null, 's');
    equal("a window", 0, v.ioread_byte(0, array, 99, 0, 0));
  }

  /** A view whose source was set up for other pixels moves nothing until one of them is set up again. */
  static void testSetUpsUnderTheFeet() throws Exception {
    Jqvimage v = image(2, 16, 3, RGB, WIDTH, 1, (x, y, z, c) -> 1), view = image(), top = image();
    view.qvimage_cachemonitor(v, 0, 1);
    top.qvimage_rotate(view, 0, 4);
    short[] array = new short[WIDTH];
    top.ioset(0, 2, 1);
    equal("set up", WIDTH, top.ioread_short(0, array, WIDTH, 0, 0));
    v.ioset(0, 2, 7);
    equal(
        "from above", 0, top.ioread_short(0, array, WIDTH, 0, 0) + view.iorite_short(0, array, WIDTH, 0, 0));
    v.ioset(0, 2, 2);
    equal("for pixels of that size", WIDTH, top.ioread_short(0, array, WIDTH, 0, 0));
    view.ioset(0, 2, 7);
    equal("for more components", 0, top.ioread_short(0, array, WIDTH, 0, 0));
    equal("by itself", WIDTH / 3, view.ioread_short(0, array, WIDTH, 0, 0));
    top.ioset(0, 2, 1);
    equal("again", WIDTH, top.ioread_short(0, array, WIDTH, 0, 0));
  }

  /** No promise of a program makes positions outside the window reach memory. */
  static void testPositions() throws Exception {
    final int TRUST = 0x2000;
    Jqvimage v = image(1, 8, 1, GREY, WIDTH, 1, (x, y, z, c) -> 1);
    Jqvimage3 deep = volume(1, 8, 1, GREY, WIDTH, 1, 1, (x, y, z, c) -> 1);
    v.ioset(TRUST, 1, 1);
    deep.ioset(TRUST, 1, 1);
    byte[] array = new byte[8];
    for (int at : new int[] {-1, WIDTH, 1 << 30, Integer.MAX_VALUE, Integer.MIN_VALUE}) {
      equal("x " + at, 0, v.ioread_byte(0, array, 8, at, 0) + v.iorite_byte(0, array, 8, at, 0));
      equal("y " + at, 0, at == 0 ? 0 : v.ioread_byte(0, array, 8, 0, at) + v.iolen(8, 0, at));
      equal("z " + at, 0, deep.ioread_byte(0, array, 8, 0, 0, at) + deep.iorite_byte(0, array, 8, at, 0, 0));
    }
  }

  /** Every native with nothing: no record, zeros, nulls; with objects that are empty; with odd numbers. */
  static void testNothing() throws Exception {
    for (Class<?> peer : new Class<?>[] {Jqvimage.class, Jqvimage3.class, Jqverrno.class})
      for (Method method : peer.getDeclaredMethods()) {
        if (!Modifier.isNative(method.getModifiers())) continue;
        Class<?>[] types = method.getParameterTypes();
        for (int number : new int[] {0, 1, -1, Integer.MIN_VALUE, Integer.MAX_VALUE})
          for (boolean nulls : new boolean[] {true, false})
            for (int record = 0; record < 2; record++) {
              Object[] arguments = new Object[types.length];
              for (int i = 0; i < types.length; i++) arguments[i] = nothing(types[i], number, nulls);
              if (method.getName().equals("pixelalloc")) arguments[1] = 0L;
              Object self = peer == Jqverrno.class ? null : peer.getDeclaredConstructor().newInstance();
              if (record == 1 && self instanceof Jqvimage) self = image();
              if (record == 1 && self instanceof Jqvimage3) self = volume();
              try {
                method.invoke(self, arguments);
              } catch (InvocationTargetException e) {
                if (!(e.getCause() instanceof JqverrnoException)) fail(method + ": " + e.getCause());
              }
            }
      }
  }

  static Object nothing(Class<?> type, int number, boolean nulls) throws Exception {
    if (type == int.class) return number;
    if (type == long.class) return 0L;
    if (type == float.class) return (float) number;
    if (nulls) return null;
    if (type == String.class) return "";
    if (type.isArray()) return java.lang.reflect.Array.newInstance(type.getComponentType(), number & 3);
    return type.getDeclaredConstructor().newInstance();
  }

  /** Memory of a record that no constructor filled has no slots. */
  static void testRecordsWithoutSlots() throws Exception {
    Jqvimage v = image();
    Jqvimage3 deep = volume();
    Object[][] table = {{"ioread_byte", (Call) () -> v.ioread_byte(0, new byte[1], 1, 0, 0)},
        {"ioread_double", (Call) () -> deep.ioread_double(0, null, 1, 0, 0, 0)},
        {"iorite_short", (Call) () -> v.iorite_short(0, new short[1], 1, 0, 0)},
        {"iorite_int", (Call) () -> deep.iorite_int(0, new int[1], 1, 0, 0, 0)},
        {"iowait_float", (Call) () -> v.iowait_float(0, new float[1])},
        {"iowait_byte", (Call) () -> deep.iowait_byte(0, new byte[1])},
        {"ioset", (Call) () -> v.ioset(0, 1, 1)}, {"iolen", (Call) () -> deep.iolen(1, 0, 0, 0)},
        {"aeiou", (Call) () -> v.aeiou('I', 0, 0)}, {"aeiou_r", (Call) () -> deep.aeiou_r('I', 0, 0, "")},
        {"aeiou_ts", (Call) () -> deep.aeiou_ts('I', 0, 0, new byte[1])},
        {"xwindpeer", (Call) () -> v.xwindpeer(null, 's')}};
    for (Object[] row : table) thrown("no slot", -5, (String) row[0], (Call) row[1]);
  }

  /** Without a record the answers are a null image's, and constructors leave one. */
  static void testNoRecord() throws Exception {
    Jqvimage none = new Jqvimage(), v = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> 0), view = image();
    none.qvimage_memory(Jqvimage.pixelalloc(1, 100), extent(5, 5), 0, 1, 8, 1, 1, 0);
    equal("described", "NULL2 0,0-0,0 0", none.devname + " " + text(none.wind) + " " + none.d.pixietype);
    equal("kept", true, none.filter[0] == null);
    equal("rotated", 0,
        none.qvimage_rotate(v, 0, 0) + none.ioset(0, 1, 1) + none.ioread_byte(0, new byte[1], 1, 0, 0));
    equal("rotated", "NULL2", none.devname);
    equal("over a null image", "-19", code(() -> view.qvimage_rotate(none, 0, 0)));
    equal("over null", "-19", code(() -> view.qvimage_rotate(null, 0, 0)));
    equal("over a null image", "0", code(() -> view.qvimage_converter(null, null, 0, 0, 0)));
    equal("answers", 0, view.ioread_byte(0, new byte[4], 4, 0, 0));
    equal("longest run", -1, none.aeiou('I', 0, 0));
    none.CtoJ(0);
    equal("still", "NULL2", none.devname);
    equal("over itself", "0", code(() -> view.qvimage_cachemonitor(view, 0, 0)));
  }

  static String code(Call call) throws Exception {
    try {
      return String.valueOf(call.run());
    } catch (JqverrnoException e) {
      return String.valueOf(e.code);
    }
  }

  static class Shadowing extends Jqvimage {
    public int peeradrs = 4711;
    public String wind = "none";
  }

  /** Objects whose parts are null, short, of another sort, or hidden by a class derived from theirs. */
  static void testOddObjects() throws Exception {
    Jqvimage source = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> x);
    for (Object[] filter : new Object[][] {null, {}, new String[4]}) {
      Jqvimage v = image();
      v.filter = filter;
      v.imdim = v.wind = null;
      v.d = null;
      v.f = null;
      v.h = null;
      equal("made", 0, v.qvimage_rotate(source, 0, 1));
      equal("device", "QVIMROTA", v.devname);
      v.xwindpeer(null, 's');
    }
    Shadowing hidden = new Shadowing();
    ((Jqvimage) hidden).peeradrs = Jqvimage.pixelalloc(1, Jqvimage.csize());
    equal("made", 0, hidden.qvimage_rotate(source, 0, 1));
    equal("wind", "0,0-4,6", text(((Jqvimage) hidden).wind));
    equal("hidden fields", "4711 none", hidden.peeradrs + " " + hidden.wind);
  }

  /** A view whose source was closed moves nothing; one whose source became another image follows it. */
  static void testSourcesThatChange() throws Exception {
    Jqvimage source = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> x), view = image();
    view.qvimage_cachemonitor(source, 0, 1);
    view.ioset(0, 2, 1);
    short[] array = new short[6];
    equal("read", 6, view.ioread_short(0, array, 6, 0, 0));
    source.qvimage_defnull();
    equal("closed", 0, view.ioread_short(0, array, 6, 0, 0));
    equal("closed", "0", code(() -> view.ioset(0, 2, 1)));
    Jqvimage a = image(), b = image();
    a.qvimage_cachemonitor(source, 0, 1);
    b.qvimage_cachemonitor(a, 0, 1);
    Jqvimage.setfilterip(a.peeradrs, b.peeradrs, 0);
    equal("a ring", true, Integer.parseInt(code(() -> b.ioset(0, 2, 1))) <= 0);
    equal("a ring", 0, b.ioread_short(0, array, 6, 0, 0));
  }

  /** Whole states travel by arrays that hold them; texts need no zero at their end. */
  static void testBytesOfQueries() throws Exception {
    Jqvimage3 deep = volume(1, 8, 1, GREY, 4, 3, 2, (x, y, z, c) -> 0);
    for (int code : new int[] {'*' << 8 | 'x', '*' << 8 | 'X'})
      for (int length : new int[] {0, 191, 192}) {
        byte[] bytes = new byte[length], zeros = new byte[length];
        equal("state in " + length, 0, deep.aeiou_ts(code, 0, 0, bytes));
        equal("state in " + length, zeros, bytes);
      }
    equal("longest run", -1, deep.aeiou_ts('I', 0, 0, new byte[0]));
    equal("longest run", -1, deep.aeiou_r('I', 0, 0, "text"));
    thrown("half a character", -1, "aeiou_r", () -> deep.aeiou_r('I', 0, 0, "\uD800"));
  }

  /** What a constructor refuses is thrown, and leaves a null image. */
  static void testSizes() throws Exception {
    long at = Jqvimage.pixelalloc(1, 100);
    Jqvywindow wide = extent(Integer.MAX_VALUE, Integer.MAX_VALUE);
    Jqvimage v = image(2, 12, 1, GREY, 6, 4, (x, y, z, c) -> x);
    thrown("size", -2, "qvimage_memory", () -> v.qvimage_memory(at, wide, 0, 32, 0, 4, 0, 0));
    equal("nothing stays", "NULL2", v.devname);
    thrown("no size", -1, "qvimage_memory", () -> image().qvimage_memory(at, null, 0, 1, 0, 1, 0, 0));
    thrown(
        "no pixels", -1, "qvimage_memory", () -> image().qvimage_memory(0, extent(1, 1), 0, 1, 0, 1, 0, 0));
    thrown("data", -1, "qvimage_memdata",
        () -> image().qvimage_memorydata(at, 100, extent(5, 5), 0, null, null, 0));
    thrown("data", -1, "qvimage3_memdata",
        () -> volume().qvimage3_memorydata(at, 100, extent(5, 5, 5), 0, 0, null, null, 0));
  }
}
