import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.lang.reflect.Array;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import org.qvimage.Hint;
import org.qvimage.Image;
import org.qvimage.ImageException;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;
import org.qvimage.Volume;

/** Images and volumes in memory, and views over them. */
class ImageTest extends Checks {
  public static void main(String[] arguments) throws Exception { run(ImageTest.class); }

  /** What component c of the pixel at (x, y) is. */
  interface Model {
    double at(int x, int y, int c);
  }

  private static final int WIDTH = 6, HEIGHT = 4;

  private static int value(int x, int y, int c) { return 400 * y + 50 * x + 7 * c; }

  /** A picture of value(x, y, c). */
  private static Image picture(int components, Hint hint, int bits) {
    PixelFormat format = PixelFormat.of(PixelType.UINT16, components, hint).withBits(bits);
    Image image = Image.allocate(WIDTH, HEIGHT, format);
    short[] pixels = new short[WIDTH * HEIGHT * components];
    for (int i = 0; i < pixels.length; i++)
      pixels[i] = (short) value(i / components % WIDTH, i / components / WIDTH, i % components);
    image.write(image.area(), pixels);
    return image;
  }

  /** A volume whose plane z is the grey picture, 1000 z brighter. */
  private static Volume planes(int depth) {
    Volume volume = Volume.allocate(WIDTH, HEIGHT, depth, PixelFormat.grey(PixelType.UINT16));
    short[] pixels = new short[WIDTH * HEIGHT];
    for (int z = 0; z < depth; z++) {
      for (int i = 0; i < pixels.length; i++) pixels[i] = (short) (1000 * z + value(i % WIDTH, i / WIDTH, 0));
      volume.write(volume.area(), z, pixels);
    }
    return volume;
  }

  /** Is the image of that size, and are its pixels those of the model? */
  private static void same(String what, int width, int height, Image image, Model model) {
    equal(what + ": width", width, image.width());
    equal(what + ": height", height, image.height());
    int components = image.format().components();
    double[] got = new double[width * height * components], wanted = new double[got.length];
    for (int i = 0; i < wanted.length; i++)
      wanted[i] = model.at(i / components % width, i / components / width, i % components);
    image.converter(PixelType.FLOAT64).read(image.area(), got);
    equal(what, wanted, got);
  }

  static void testViews() {
    Image grey = picture(1, Hint.GREY, 12), rgb = picture(3, Hint.RGB, 16);
    Image bytes = grey.converter(8);
    same("8 bits", 6, 4, bytes, (x, y, c) -> value(x, y, 0) >> 4);
    same("8 bits, turned", 4, 6, bytes.rotate(90), (x, y, c) -> value(y, 3 - x, 0) >> 4);
    same("doubles", 6, 4, grey.converter(PixelType.FLOAT64), (x, y, c) -> value(x, y, 0));
    same("turned back", 4, 6, grey.rotate(-90), (x, y, c) -> value(5 - y, x, 0));
    same("turned a half", 6, 4, rgb.rotate(180), (x, y, c) -> value(5 - x, 3 - y, c));
    same("not turned", 6, 4, grey.rotate(720), (x, y, c) -> value(x, y, 0));
    same("mirrored in x", 6, 4, grey.mirror(true, false), (x, y, c) -> value(5 - x, y, 0));
    same("mirrored in y", 6, 4, grey.mirror(false, true), (x, y, c) -> value(x, 3 - y, 0));
    same("transposed", 4, 6, grey.transpose(), (x, y, c) -> value(y, x, 0));
    Image part = rgb.crop(new Rectangle(1, 2, 3, 2));
    same("part", 3, 2, part, (x, y, c) -> value(x + 1, y + 2, c));
    same("part of a part", 2, 1, part.crop(new Rectangle(1, 1, 2, 1)), (x, y, c) -> value(x + 2, 3, c));
    same("part, turned", 2, 3, part.rotate(90), (x, y, c) -> value(y + 1, 3 - x, c));
    same("decimated", 3, 2, grey.decimate(2, 2), (x, y, c) -> value(2 * x, 2 * y, 0));
    same("odd field", 6, 4, grey.field(true), (x, y, c) -> value(x, y | 1, 0));
    same("even field", 6, 4, grey.field(false), (x, y, c) -> value(x, y & ~1, 0));
    same("green", 6, 4, rgb.component(1), (x, y, c) -> value(x, y, 1));
    same("blue first", 6, 4, rgb.colours(Hint.BGR), (x, y, c) -> value(x, y, 2 - c));
    same("cells", 6, 4, grey.bayer(1, 0), (x, y, c) -> {
      int inX = c == 0 || c == 3 ? 1 - c / 3 : c - 1, inY = c / 2; // red is at (1, 0)
      return value((x & ~1) + inX, (y & ~1) + inY, 0);
    });
    same("one plane", 6, 4, grey.volume().plane(0), (x, y, c) -> value(x, y, 0));
  }

  static void testTables() {
    Image grey = picture(1, Hint.GREY, 12).converter(8);
    byte[] negative = new byte[256], half = new byte[256];
    for (int i = 0; i < 256; i++) {
      negative[i] = (byte) (255 - i);
      half[i] = (byte) (i / 2);
    }
    same("negative", 6, 4, grey.lookup(negative), (x, y, c) -> 255 - (value(x, y, 0) >> 4));
    same("colours", 6, 4, grey.pseudocolour(negative, half, negative),
        (x, y, c) -> c == 1 ? (value(x, y, 0) >> 4) / 2 : 255 - (value(x, y, 0) >> 4));
    same(
        "of planes", 6, 4, grey.volume().lookup(negative).plane(0), (x, y, c) -> 255 - (value(x, y, 0) >> 4));
    Image table = Image.allocate(256, 1, PixelFormat.grey(PixelType.UINT8));
    table.write(table.area(), half);
    same("every 4th entry", 64, 1, table.table(64, true), (x, y, c) -> 4 * x / 2);
    same("first entries", 64, 1, table.table(64, false), (x, y, c) -> x / 2);
    same("entries twice", 512, 1, table.table(512, true), (x, y, c) -> x / 2 / 2);
  }

  static void testPlanes() {
    Volume volume = planes(3);
    equal("depth", 3, volume.depth());
    same("plane", 6, 4, volume.plane(2), (x, y, c) -> 2000 + value(x, y, 0));
    same("plane, turned", 4, 6, volume.plane(1).rotate(90), (x, y, c) -> 1000 + value(y, 3 - x, 0));
    same("along a row", 6, 3, volume.cutAlongRow(2), (x, y, c) -> 1000 * y + value(x, 2, 0));
    same("along a column", 4, 3, volume.cutAlongColumn(5), (x, y, c) -> 1000 * y + value(5, x, 0));
    same("side by side", 18, 4, volume.montage(false), (x, y, c) -> 1000 * (x / 6) + value(x % 6, y, 0));
    same("one below another", 6, 12, volume.montage(true), (x, y, c) -> 1000 * (y / 4) + value(x, y % 4, 0));
    same("mean", 6, 4, volume.mean(), (x, y, c) -> 1000 + value(x, y, 0));
    same("from another on", 6, 4, volume.from(2).plane(1), (x, y, c) -> value(x, y, 0));
    Volume part = volume.crop(new Rectangle(2, 1, 3, 2), 1, 2);
    equal("depth of a part", 2, part.depth());
    same("part", 3, 2, part.plane(1), (x, y, c) -> 2000 + value(x + 2, y + 1, 0));
    same("as bytes", 6, 4, volume.converter(8).plane(2), (x, y, c) -> (2000 + value(x, y, 0)) >> 8);
    same(
        "as doubles", 6, 4, volume.converter(PixelType.FLOAT64).plane(1), (x, y, c) -> 1000 + value(x, y, 0));
  }

  static void testWritesTravelDown() {
    Volume volume = planes(3);
    volume.plane(1)
        .rotate(90)
        .crop(new Rectangle(1, 2, 2, 2))
        .write(new Rectangle(1, 0, 1, 1), new short[] {4711});
    same(
        "through views", 6, 4, volume.plane(1), (x, y, c) -> x == 2 && y == 1 ? 4711 : 1000 + value(x, y, 0));
    Image rgb = picture(3, Hint.RGB, 12);
    rgb.component(1).converter(8).write(new Rectangle(3, 2, 1, 1), new byte[] {(byte) 200});
    same("upper bits", 6, 4, rgb, (x, y, c) -> x == 3 && y == 2 && c == 1 ? 200 << 4 : value(x, y, c));
  }

  /** All types, both ways, a rectangle at a time; what lies around it stays. */
  static void testTypes() throws Exception {
    Rectangle area = new Rectangle(1, 1, 2, 2);
    Object[] arrays = {new byte[] {1, 2, 3, 4, 5, 6, 7, -8}, new short[] {1, 2, 3, 4, 5, 6, 7, -8},
        new int[] {1, 2, 3, 4, 5, 6, 7, -8}, new long[] {1, 2, 3, 4, 5, 6, 7, -8},
        new float[] {1, 2, 3, 4, 5, 6, 7, -8}, new double[] {1, 2, 3, 4, 5, 6, 7, -8}};
    for (PixelType type : PixelType.values()) {
      Volume v = Volume.allocate(4, 3, 2, PixelFormat.of(type, 2, Hint.UNKNOWN));
      Object written = arrays[type.ordinal()];
      Object read = Array.newInstance(written.getClass().getComponentType(), 8);
      Volume.class.getMethod("write", Rectangle.class, int.class, written.getClass())
          .invoke(v, area, 1, written);
      Volume.class.getMethod("read", Rectangle.class, int.class, read.getClass()).invoke(v, area, 1, read);
      equal(type.toString(), written, read);
      ByteBuffer all = v.buffer();
      int pixel = 2 * type.bytes(), row = 4 * pixel, plane = 3 * row;
      for (int i = 0; i < all.capacity(); i++) {
        int x = i % row / pixel, y = i % plane / row;
        boolean inside = i >= plane && area.contains(x, y);
        if (!inside && all.get(i) != 0) fail(type + ": byte " + i + " was written");
      }
    }
  }

  /** An array beyond 16 KiB, and a rectangle beyond what is pinned at a time. */
  static void testLarge() {
    Image image = Image.allocate(9000, 700, PixelFormat.grey(PixelType.UINT16));
    short[] pixels = new short[9000 * 700], again = new short[9000 * 700];
    for (int i = 0; i < pixels.length; i++) pixels[i] = (short) (i * 31);
    image.write(image.area(), pixels);
    image.read(image.area(), again);
    equal("large", pixels, again);
  }

  static void testBuffers() {
    ByteBuffer memory = ByteBuffer.allocateDirect(1000).order(ByteOrder.nativeOrder());
    memory.position(10);
    Image image = Image.over(memory, 5, 4, 16, PixelFormat.grey(PixelType.UINT16));
    memory.putShort(10 + 2 * 16 + 2 * 3, (short) 4711);
    same("not copied", 5, 4, image, (x, y, c) -> x == 3 && y == 2 ? 4711 : 0);
    image.buffer().putShort(0, (short) 5);
    equal("the same memory", (short) 5, memory.getShort(10));
    equal("where it was", 10, memory.position());

    ByteBuffer part = ByteBuffer.allocateDirect(20);
    part.position(3);
    image.read(new Rectangle(2, 2, 2, 2), part);
    equal("advanced", 11, part.position());
    equal("read", (short) 4711, part.order(ByteOrder.nativeOrder()).getShort(5));
    part.flip().position(3);
    image.write(new Rectangle(0, 0, 2, 2), part);
    equal("written", (short) 4711, memory.getShort(12));
    ByteBuffer kept = image.buffer();
    image.close();
    kept.putShort(0, (short) 6);
    equal("after closing", (short) 6, memory.getShort(10));
  }

  private static void refused(Class<? extends Exception> type, String what, Runnable call) {
    try {
      call.run();
      fail(what + " was taken");
    } catch (Exception e) {
      equal(what, type, e.getClass());
    }
  }

  static void testWrongArguments() {
    Class<IllegalArgumentException> argument = IllegalArgumentException.class;
    Image image = picture(3, Hint.RGB, 16);
    PixelFormat grey = PixelFormat.grey(PixelType.UINT8);
    Rectangle[] outside = {new Rectangle(-1, 0, 2, 2), new Rectangle(0, -1, 1, 1), new Rectangle(5, 0, 2, 1),
        new Rectangle(0, 4, 1, 1), new Rectangle(1, 0, Integer.MAX_VALUE, 1), new Rectangle(0, 0, -1, -1)};
    for (Rectangle area : outside) {
      refused(argument, area.toString(), () -> image.read(area, new short[1000]));
      refused(argument, area.toString(), () -> image.crop(area));
    }
    refused(argument, "short array", () -> image.read(image.area(), new short[71]));
    refused(argument, "short array", () -> image.write(image.area(), new short[71]));
    refused(NullPointerException.class, "no array", () -> image.read(image.area(), (short[]) null));
    refused(NullPointerException.class, "no area", () -> image.read(null, new short[100]));
    refused(ImageException.class, "bytes of shorts", () -> image.read(image.area(), new byte[100]));
    refused(ImageException.class, "bytes of shorts", () -> image.write(image.area(), new byte[100]));
    ByteBuffer small = ByteBuffer.allocateDirect(143), heap = ByteBuffer.allocate(1000);
    ByteBuffer constant = ByteBuffer.allocateDirect(1000).asReadOnlyBuffer();
    refused(argument, "small buffer", () -> image.read(image.area(), small));
    refused(argument, "buffer on the heap", () -> image.read(image.area(), heap));
    refused(argument, "constant buffer", () -> image.read(image.area(), constant));
    refused(argument, "image of a small buffer", () -> Image.over(small, 12, 12, 0, grey));
    refused(argument, "image of a large pitch", () -> Image.over(small, 2, 2, Integer.MAX_VALUE, grey));
    refused(argument, "image of a small pitch", () -> Image.over(small, 2, 2, 1, grey));
    refused(argument, "image on the heap", () -> Image.over(heap, 2, 2, 0, grey));
    refused(argument, "constant image", () -> Image.over(constant, 2, 2, 0, grey));
    refused(argument, "no pixels", () -> Image.allocate(0, 5, grey));
    refused(argument, "a tenth of a turn", () -> image.rotate(36));
    refused(argument, "component 3", () -> image.component(3));
    refused(argument, "short table", () -> image.component(0).converter(8).lookup(new byte[255]));
    refused(argument, "table of another type", () -> image.component(0).converter(8).lookup(new short[256]));
    refused(argument, "too few tables", () -> image.lookup(new short[65536]));
    refused(argument, "plane 1", () -> image.volume().plane(1));
    refused(argument, "33 bits", () -> image.converter(33));
    refused(argument, "33 components", () -> PixelFormat.of(PixelType.UINT8, 33, Hint.UNKNOWN));
    refused(argument, "9 bits of a byte", () -> grey.withBits(9));
    refused(ImageException.class, "decimated colours", () -> image.decimate(2, 2));
    refused(ImageException.class, "steps of 0", () -> image.component(0).decimate(0, -1));
    Class<UnsupportedOperationException> unsupported = UnsupportedOperationException.class;
    refused(unsupported, "write of a mean", () -> image.volume().mean().write(image.area(), new short[72]));
    refused(unsupported, "buffer of a view", () -> image.rotate(90).buffer());
    refused(ImageException.class, "2^62 bytes", () -> Volume.allocate(1 << 30, 1 << 30, 4, grey));
    refused(argument, "2^66 bytes", () -> Volume.allocate(1 << 30, 1 << 30, 1 << 6, grey));
  }

  static void testRefusalTells() {
    try {
      picture(1, Hint.GREY, 12).colours(Hint.CMYK).colours(Hint.GREY);
      fail("colours of grey were taken");
    } catch (ImageException e) {
      equal("code", -21, e.code());
      equal("file", null, e.file());
      if (e.reason().isEmpty()) fail("no reason");
    }
  }

  static void testBufferedImages() {
    BufferedImage deep = picture(1, Hint.GREY, 12).toBufferedImage();
    equal("type of 12 bits", BufferedImage.TYPE_USHORT_GRAY, deep.getType());
    equal("12 bits, stretched", value(3, 2, 0) << 4, deep.getRaster().getSample(3, 2, 0));
    BufferedImage bytes = picture(1, Hint.GREY, 12).converter(8).toBufferedImage();
    equal("type of 8 bits", BufferedImage.TYPE_BYTE_GRAY, bytes.getType());
    equal("8 bits", value(5, 3, 0) >> 4, bytes.getRaster().getSample(5, 3, 0));

    Image rgb = Image.allocate(3, 2, PixelFormat.rgb(PixelType.UINT8));
    rgb.write(new Rectangle(2, 1, 1, 1), new byte[] {(byte) 200, 100, 50});
    equal("colours", 0xFFC86432, rgb.toBufferedImage().getRGB(2, 1));
    equal("blue first", 0xFFC86432, rgb.colours(Hint.BGRPAD).toBufferedImage().getRGB(2, 1));
    Image deepColours = picture(3, Hint.RGB, 12);
    int shown = deepColours.toBufferedImage().getRGB(4, 3);
    for (int c = 0; c < 3; c++) equal("12 bits of colour", value(4, 3, c) >> 4, shown >> 8 * (2 - c) & 0xFF);

    BufferedImage levels = picture(1, Hint.GREY, 12).toBufferedImage(200, 1200);
    for (int y = 0; y < HEIGHT; y++) {
      for (int x = 0; x < WIDTH; x++) {
        long wanted = Math.round(Math.max(0, Math.min(255, (value(x, y, 0) - 200) * 255 / 1000.0)));
        equal("level", (int) wanted, levels.getRaster().getSample(x, y, 0));
      }
    }
    Image reals = Image.allocate(2, 1, PixelFormat.grey(PixelType.FLOAT32));
    reals.write(reals.area(), new float[] {0.2f, 7});
    equal("real", 51, reals.toBufferedImage().getRaster().getSample(0, 0, 0));
    equal("beyond", 255, reals.toBufferedImage().getRaster().getSample(1, 0, 0));
  }
}
