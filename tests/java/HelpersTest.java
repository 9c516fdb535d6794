/** The natives for records, raw memory and texts. */
class HelpersTest extends Checks {
  public static void main(String[] arguments) throws Exception { run(HelpersTest.class); }

  static void testSizes() {
    equal("csize", 452, Jqvimage.csize());
    equal("csize of volumes", 452, Jqvimage3.csize());
    equal("address", 8, Jqvimage.pixelptrsize());
    equal("heap", 0, Jqvimage.peerHeapStatus());
    int[] types = {1, 2, 4, 8, 16, 32, 0, 3, -1}, bytes = {1, 2, 4, 8, 4, 8, 0, 0, 0};
    for (int i = 0; i < types.length; i++) equal("type " + types[i], bytes[i], Jqvimage.pixelsize(types[i]));
  }

  static void testTexts() {
    equal("-2", "Memory heap allocation error", Jqverrno.mesg(-2));
    equal("5", null, Jqverrno.mesg(5));
    equal("0", null, Jqverrno.mesg(0));
    equal("BGR", "Blue Green Red color", Jqvimage.hinttostring(3));
    equal("no hint", null, Jqvimage.hinttostring(-7));
    equal("no unit", null, Jqvimage.unittostring(77));
    String version = Jqvimage.peerVersionId(0);
    if (!version.matches(
            "qvimage \\d+\\.\\d+\\.\\d+, [A-Z][a-z]{2} [ \\d]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d, Linux \\w+"))
      fail(version);
    equal("no version", null, Jqvimage.peerVersionId(1));
  }

  static void testMemory() throws Exception {
    long[][] none = {
        {8, 1L << 62}, {8, 1L << 61}, {1, 0}, {1, -1}, {3, 10}, {32, Long.MAX_VALUE}, {1, Long.MIN_VALUE}};
    for (long[] n : none)
      thrown("type " + n[0] + " count " + n[1], -2, "Jqvimage_pixelmalloc",
          () -> Jqvimage.pixelalloc((int) n[0], n[1]));
    long a = Jqvimage.pixelalloc(4, 8), b = Jqvimage.pixelalloc(1, 32);
    for (int i = 0; i < 32; i += 8) equal("zeros", 0L, Jqvimage.pixelgetlong(a, i));
    Jqvimage.pixelsetlong(a, 1, 0x0102030405060708L);
    equal("bytes from 3", 0x03040506, Jqvimage.pixelgetint(a, 3));
    Jqvimage.pixelsetint(a, 9, -2);
    Jqvimage.pixelcopy(b, a, 2, 5);
    equal("copied", 0x0102030405060708L, Jqvimage.pixelgetlong(b, 1));
    equal("10 bytes copied", 0xFE, Jqvimage.pixelgetint(b, 9));
    Jqvimage.pixelcopy(b, a, 8, 1L << 62);
    Jqvimage.pixelcopy(b, a, 8, -1);
    Jqvimage.pixelcopy(0, a, 1, 4);
    Jqvimage.pixelcopy(b, 0, 1, 4);
    Jqvimage.pixelzero(b, 2, 3);
    Jqvimage.pixelzero(b, 0, -5);
    equal("zeroed", 0x0203040000000800L, Jqvimage.pixelgetlong(b, 0));
    Jqvimage.pixelzero(0, 0, 5);
    Jqvimage.pixelsetint(0, 0, 5);
    Jqvimage.pixelsetlong(0, 0, 5);
    equal("null", 0, Jqvimage.pixelgetint(0, 8));
    equal("null", 0L, Jqvimage.pixelgetlong(0, 8));
    Jqvimage.pixelfree(a);
    Jqvimage.pixelfree(b);
    Jqvimage.pixelfree(0);
  }

  static void testReferences() throws Exception {
    long record = Jqvimage.pixelalloc(1, Jqvimage.csize());
    long[] values = {-1, -128, -129, 4711};
    boolean[] relative = {true, true, false, false};
    for (int i = 0; i < 4; i++) {
      Jqvimage.setfilterip(record, values[i], i);
      Jqvimage.setfilterip(record, 0, i);
    }
    for (int i = 0; i < 4; i++) {
      equal("reference " + i, values[i], Jqvimage.getfilterip(record, i));
      equal("relative " + i, relative[i], Jqvimage.isfilterstack(record, i));
    }
    for (int i : new int[] {4, -1}) {
      Jqvimage.setfilterip(record, 1, i);
      equal("reference " + i, 0L, Jqvimage.getfilterip(record, i));
      equal("relative " + i, false, Jqvimage.isfilterstack(record, i));
    }
    Jqvimage.setfilterip(0, 1, 0);
    equal("of null", 0L, Jqvimage.getfilterip(0, 0));
    equal("of null", false, Jqvimage.isfilterstack(0, 0));
    Jqvimage.pixelfree(record);
  }

  static void testAwt() {
    byte[] source = {1, 2, 3, 4, 5, 6, 7, 8};
    // offset, count, integers that are expected of 3 and of 4 bytes a pixel
    Object[][] table = {
        {0, 5, new int[] {0xFF030201, 0xFF060504, 0, 0}, new int[] {0xFF030201, 0xFF070605, 0, 0}},
        {1, 1, new int[] {0, 0xFF030201, 0, 0}, new int[] {0, 0xFF030201, 0, 0}},
        {3, 2, new int[] {0, 0, 0, 0xFF030201}, new int[] {0, 0, 0, 0xFF030201}},
        {4, 2, new int[4], new int[4]}, {5, 2, new int[4], new int[4]}, {-1, 2, new int[4], new int[4]},
        {Integer.MIN_VALUE, 2, new int[4], new int[4]}, {Integer.MAX_VALUE, 2, new int[4], new int[4]},
        {0, 0, new int[4], new int[4]}, {0, -3, new int[4], new int[4]}};
    for (Object[] row : table) {
      int[] three = new int[4], four = new int[4];
      Jqvimage.RGBToAwt(source, three, (Integer) row[0], (Integer) row[1]);
      Jqvimage.RGBXToAwt(source, four, (Integer) row[0], (Integer) row[1]);
      equal("RGB " + row[0] + " " + row[1], row[2], three);
      equal("RGBX " + row[0] + " " + row[1], row[3], four);
    }
    Jqvimage.RGBToAwt(null, new int[1], 0, 1);
    Jqvimage.RGBToAwt(source, null, 0, 1);
    Jqvimage.RGBXToAwt(new byte[0], new int[0], 0, 1);
  }
}
