package org.qvimage;

import java.lang.invoke.MethodHandle;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.MethodType;
import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.nio.file.Path;

/**
 * The peer classes, which have no package and so cannot be named here: handles of their methods, with objects
 * in the place of their types. The constant names are those of the methods.
 */
final class Peers {
  static final Class<?> IMAGE = find("Jqvimage");
  static final Class<?> VOLUME = find("Jqvimage3");
  private static final Class<?> WINDOW = find("Jqvywindow");
  private static final Class<?> WINDOW3 = find("Jqvyzwindow");
  private static final Class<?> DATA = find("Jqvimagedata");
  private static final Class<?> ERROR = find("JqverrnoException");

  static { checkVersion(); }

  private static final MethodHandle MESG = method(find("Jqverrno"), "mesg");
  private static final MethodHandle CSIZE = method(IMAGE, "csize");
  private static final MethodHandle PIXELALLOC = method(IMAGE, "pixelalloc");
  private static final MethodHandle PIXELFREE = method(IMAGE, "pixelfree");

  static final MethodHandle MEMORY = method(IMAGE, "qvimage_memory3");
  static final MethodHandle CONVERTER = method(IMAGE, "qvimage_converter");
  static final MethodHandle DECIMATE = method(IMAGE, "qvimage_decimate");
  static final MethodHandle YODD = method(IMAGE, "qvimage_yodd");
  static final MethodHandle STACK = method(IMAGE, "qvimage_stack");
  static final MethodHandle CACHEMONITOR = method(IMAGE, "qvimage_cachemonitor");
  static final MethodHandle DEF2FROM3 = method(IMAGE, "qvimage_def2from3");
  static final MethodHandle ROTATE = method(IMAGE, "qvimage_rotate");
  static final MethodHandle LUT = method(IMAGE, "qvimage_lut");
  static final MethodHandle LUTCONVERT = method(IMAGE, "qvimage_lutconvert");
  static final MethodHandle BEYER4 = method(IMAGE, "qvimage_Beyer4");
  static final MethodHandle COLORSLICE = method(IMAGE, "qvimage_colorslice");
  static final MethodHandle COLORCONVERTER = method(IMAGE, "qvimage_colorconverter");
  static final MethodHandle XWIND = method(IMAGE, "xwindpeer");
  static final MethodHandle AEIOU = method(IMAGE, "aeiou");
  private static final MethodHandle CTOJ = method(IMAGE, "CtoJ");

  static final MethodHandle MEMORY_3 = method(VOLUME, "qvimage3_memory3");
  static final MethodHandle CONVERTER_3 = method(VOLUME, "qvimage3_converter");
  static final MethodHandle COLORSLICE_3 = method(VOLUME, "qvimage3_colorslice");
  static final MethodHandle COLORCONVERTER_3 = method(VOLUME, "qvimage3_colorconverter");
  static final MethodHandle BEYER4_3 = method(VOLUME, "qvimage3_Beyer4");
  static final MethodHandle DEF3FROM2 = method(VOLUME, "qvimage_def3from2");
  static final MethodHandle DEF3FROM3 = method(VOLUME, "qvimage3_def3from3");
  static final MethodHandle LUT_3 = method(VOLUME, "qvimage3_lut");
  static final MethodHandle XWIND_3 = method(VOLUME, "xwindpeer");
  static final MethodHandle AEIOU_3 = method(VOLUME, "aeiou");
  private static final MethodHandle CTOJ_3 = method(VOLUME, "CtoJ");

  private Peers() {}

  private static Class<?> find(String name) {
    try {
      return Class.forName(name);
    } catch (ClassNotFoundException missing) {
      throw new NoClassDefFoundError(name + " is not on the class path: it is in qvimage.jar");
    }
  }

  private static void checkVersion() {
    String version;
    try {
      method(IMAGE, "pixelptrsize").invoke(); // loads the library
      version = Direct.version();
    } catch (UnsatisfiedLinkError older) {
      throw new UnsatisfiedLinkError("the native library cannot be used: " + older.getMessage());
    } catch (Throwable failed) {
      throw unexpected(failed);
    }
    if (!version.equals(Version.NAME))
      throw new UnsatisfiedLinkError(
          "the native library is qvimage " + version + ", the jar is " + Version.NAME);
  }

  /** The method of that name, natives and objects of the peers taken as objects. */
  static MethodHandle method(Class<?> peer, String name) {
    try {
      for (Method method : peer.getDeclaredMethods()) {
        if (!method.getName().equals(name)) continue;
        method.setAccessible(true);
        MethodHandle handle = MethodHandles.lookup().unreflect(method);
        return handle.asType(withObjects(handle.type()));
      }
      throw new NoSuchMethodError(peer.getName() + '.' + name + ": qvimage.jar is of another version");
    } catch (IllegalAccessException failed) {
      throw unexpected(failed);
    }
  }

  private static MethodType withObjects(MethodType type) {
    MethodType general = type;
    for (int i = 0; i < type.parameterCount(); i++) {
      Class<?> parameter = type.parameterType(i);
      if (!parameter.isPrimitive() && !parameter.isArray() && parameter != String.class)
        general = general.changeParameterType(i, Object.class);
    }
    return general;
  }

  // --- objects ---

  /** A peer over a record. */
  static Object peer(Class<?> type, long record) {
    Object peer = create(type);
    set(peer, type == IMAGE ? "peeradrs" : "peer3adrs", record);
    return peer;
  }

  /** Takes a peer's record away: from then on it is a null image. */
  static void detach(Object peer) { set(peer, peer.getClass() == IMAGE ? "peeradrs" : "peer3adrs", 0L); }

  /** Brings a peer's fields up to date. */
  static void refresh(Object peer, long record) {
    try {
      if (peer.getClass() == IMAGE)
        CTOJ.invokeExact(peer, record);
      else
        CTOJ_3.invokeExact(peer, record);
    } catch (Throwable failed) {
      throw unexpected(failed);
    }
  }

  static Object window(int x, int y, int width, int height) {
    Object window = create(WINDOW);
    set(window, "nwx", x);
    set(window, "nwy", y);
    set(window, "sex", x + width);
    set(window, "sey", y + height);
    return window;
  }

  static Object window(int x, int y, int z, int width, int height, int depth) {
    Object window = create(WINDOW3);
    set(window, "nwx", x);
    set(window, "nwy", y);
    set(window, "nwz", z);
    set(window, "sex", x + width);
    set(window, "sey", y + height);
    set(window, "sez", z + depth);
    return window;
  }

  static Object data(PixelFormat format, double largest) {
    Object data = create(DATA);
    set(data, "pixietype", format.type().code);
    set(data, "pixies", format.components());
    set(data, "pixelhint", format.hint().code);
    if (format.type().isInteger()) {
      set(data, "i_bitsused", format.bits());
      set(data, "i_bitsxsb", format.bits() == 8 * format.type().bytes() ? 0x300 : 0x200);
    } else {
      set(data, "r_maxvalue", (float) largest);
    }
    return data;
  }

  /** What a peer says of its pixels. */
  static PixelFormat format(Object peer) {
    Object data = get(peer, "d");
    PixelType type = PixelType.of((int) get(data, "pixietype"));
    Hint hint = Hint.of((int) get(data, "pixelhint"));
    PixelFormat format = PixelFormat.of(type, (int) get(data, "pixies"), hint);
    return type.isInteger() ? format.withBits((int) get(data, "i_bitsused")) : format;
  }

  /** The value of a field. */
  static Object get(Object object, String name) {
    try {
      return field(object, name).get(object);
    } catch (IllegalAccessException failed) {
      throw unexpected(failed);
    }
  }

  private static void set(Object object, String name, Object value) {
    try {
      field(object, name).set(object, value);
    } catch (IllegalAccessException failed) {
      throw unexpected(failed);
    }
  }

  private static Field field(Object object, String name) {
    try {
      Field field = object.getClass().getDeclaredField(name);
      field.setAccessible(true);
      return field;
    } catch (NoSuchFieldException failed) {
      throw unexpected(failed);
    }
  }

  private static Object create(Class<?> type) {
    try {
      java.lang.reflect.Constructor<?> constructor = type.getDeclaredConstructor();
      constructor.setAccessible(true);
      return constructor.newInstance();
    } catch (ReflectiveOperationException failed) {
      throw unexpected(failed);
    }
  }

  // --- memory and failures ---

  /** Memory for a record, all 0. */
  static long allocateRecord() {
    try {
      return allocate((int) CSIZE.invokeExact());
    } catch (Throwable failed) {
      throw failure(failed, null);
    }
  }

  /** So many bytes, all 0. */
  static long allocate(long bytes) {
    try {
      return (long) PIXELALLOC.invokeExact(PixelType.UINT8.code, bytes);
    } catch (Throwable failed) {
      throw failure(failed, null);
    }
  }

  static void free(long address) {
    try {
      PIXELFREE.invokeExact(address);
    } catch (Throwable failed) {
      throw unexpected(failed);
    }
  }

  /** The text of a code. */
  static String text(int code) {
    try {
      return (String) MESG.invokeExact(code);
    } catch (Throwable failed) {
      throw unexpected(failed);
    }
  }

  /** What a peer threw, as this package throws it. Call it before anything else reaches the library. */
  static RuntimeException failure(Throwable thrown, Path file) {
    if (!ERROR.isInstance(thrown)) throw unexpected(thrown);
    return new ImageException((int) get(thrown, "code"), file, Direct.reason());
  }

  /** Errors and unchecked exceptions go on as they are; others cannot be. */
  static RuntimeException unexpected(Throwable thrown) {
    if (thrown instanceof Error) throw(Error) thrown;
    if (thrown instanceof RuntimeException) throw(RuntimeException) thrown;
    return new IllegalStateException(thrown);
  }
}
