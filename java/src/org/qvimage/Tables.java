package org.qvimage;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;

/** Lookup tables where native code finds them: one a component for reading and one for writing. */
final class Tables {
  /** Their addresses, four for reading and four for writing; 0 where there is none. */
  final long[] addresses = new long[8];
  private final ByteBuffer[] memory = new ByteBuffer[8];

  /**
   * Copies tables; what is written passes through tables that change nothing.
   *
   * @param format of the image that values come from
   * @param tables arrays of the format's type, each of all values that its bits can be
   */
  Tables(PixelFormat format, Object[] tables) {
    if (tables.length < 1 || tables.length > 4)
      throw new IllegalArgumentException("not 1 to 4 tables: " + tables.length);
    if (!format.type().isInteger() || format.bits() > 24)
      throw new IllegalArgumentException("no tables for values of " + format);
    for (int i = 0; i < tables.length; i++) {
      put(i, copy(format, tables[i]));
      put(4 + i, identity(format));
    }
  }

  private void put(int place, ByteBuffer table) {
    memory[place] = table;
    addresses[place] = Direct.address(table);
  }

  private static ByteBuffer allocate(PixelFormat format) {
    return ByteBuffer.allocateDirect(format.type().bytes() << format.bits()).order(ByteOrder.nativeOrder());
  }

  private static ByteBuffer copy(PixelFormat format, Object table) {
    int entries = 1 << format.bits();
    ByteBuffer copy = allocate(format);
    try {
      switch (format.type()) {
        case UINT8: copy.put((byte[]) table, 0, entries); break;
        case UINT16: copy.asShortBuffer().put((short[]) table, 0, entries); break;
        default: copy.asIntBuffer().put((int[]) table, 0, entries); break;
      }
    } catch (ClassCastException | IndexOutOfBoundsException other) {
      throw new IllegalArgumentException(
          "a table for " + format + " has " + entries + " of its values", other);
    }
    return copy;
  }

  private static ByteBuffer identity(PixelFormat format) {
    int entries = 1 << format.bits();
    ByteBuffer table = allocate(format);
    for (int i = 0; i < entries; i++) {
      switch (format.type()) {
        case UINT8: table.put(i, (byte) i); break;
        case UINT16: table.putShort(2 * i, (short) i); break;
        default: table.putInt(4 * i, i); break;
      }
    }
    return table;
  }
}
