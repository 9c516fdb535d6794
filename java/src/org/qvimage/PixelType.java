package org.qvimage;

/** How one component of a pixel is stored. */
public enum PixelType {
  /** Unsigned 8-bit integers, in {@code byte[]}. */
  UINT8(1, 1),
  /** Unsigned 16-bit integers, in {@code short[]}. */
  UINT16(2, 2),
  /** Unsigned 32-bit integers, in {@code int[]}. */
  UINT32(4, 4),
  /** Unsigned 64-bit integers, in {@code long[]}; they can be read and written, not converted. */
  UINT64(8, 8),
  /** Single precision, in {@code float[]}. */
  FLOAT32(16, 4),
  /** Double precision, in {@code double[]}. */
  FLOAT64(32, 8);

  private static final int LOW_END = 0x200;

  final int code;
  private final int bytes;

  PixelType(int code, int bytes) {
    this.code = code;
    this.bytes = bytes;
  }

  /**
   * The size of a component.
   *
   * @return its bytes
   */
  public int bytes() { return bytes; }

  /**
   * Integers or floating numbers?
   *
   * @return true for integers
   */
  public boolean isInteger() { return code < FLOAT32.code; }

  /** The data type word of numbers as Java has them. */
  int request() { return isInteger() ? code | LOW_END : code; }

  /** The smallest integers that have so many bits. */
  static PixelType ofBits(int bits) {
    if (bits < 1 || bits > 32) throw new IllegalArgumentException("not 1 to 32 bits: " + bits);
    return bits <= 8 ? UINT8 : bits <= 16 ? UINT16 : UINT32;
  }

  static PixelType of(int code) {
    for (PixelType type : values()) {
      if (type.code == code) return type;
    }
    throw new IllegalArgumentException("no data type: " + code);
  }
}
