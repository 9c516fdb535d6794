/** Loops over natives, which the benchmark times. */
class Loops {
  static final Jqvimage image = new Jqvimage();
  static byte[] bytes;
  static short[] shorts;

  /** An image over memory, and arrays for so many pixels of it. */
  static void use(long record, int type, int pixels) throws JqverrnoException {
    image.peeradrs = record;
    image.ioset(0x40, type, 1);
    bytes = new byte[type == 1 ? pixels : 0];
    shorts = new short[type == 2 ? pixels : 0];
  }

  static void readBytes(int times) throws JqverrnoException {
    for (int i = 0; i < times; i++) image.ioread_byte(0, bytes, bytes.length, 0, 0);
  }

  static void writeBytes(int times) throws JqverrnoException {
    for (int i = 0; i < times; i++) image.iorite_byte(0, bytes, bytes.length, 0, 0);
  }

  static void readShorts(int times) throws JqverrnoException {
    for (int i = 0; i < times; i++) image.ioread_short(0, shorts, shorts.length, 0, 0);
  }

  static void writeShorts(int times) throws JqverrnoException {
    for (int i = 0; i < times; i++) image.iorite_short(0, shorts, shorts.length, 0, 0);
  }
}
