package org.qvimage;

import java.util.Objects;

/** What a pixel is made of. */
public final class PixelFormat {
  private final PixelType type;
  private final int components;
  private final int bits;
  private final Hint hint;

  private PixelFormat(PixelType type, int components, int bits, Hint hint) {
    this.type = Objects.requireNonNull(type, "type");
    this.hint = Objects.requireNonNull(hint, "hint");
    if (components < 1 || components > 32)
      throw new IllegalArgumentException("not 1 to 32 components: " + components);
    if (bits < 1 || bits > 8 * type.bytes())
      throw new IllegalArgumentException(type + " has no " + bits + " bits");
    this.components = components;
    this.bits = bits;
  }

  /**
   * Pixels whose components use all their bits.
   *
   * @param type how a component is stored
   * @param components how many a pixel has, 1 to 32
   * @param hint what they mean
   * @return the format
   */
  public static PixelFormat of(PixelType type, int components, Hint hint) {
    return new PixelFormat(type, components, 8 * type.bytes(), hint);
  }

  /**
   * Grey pixels.
   *
   * @param type how they are stored
   * @return the format
   */
  public static PixelFormat grey(PixelType type) { return of(type, 1, Hint.GREY); }

  /**
   * Pixels of red, green and blue.
   *
   * @param type how a component is stored
   * @return the format
   */
  public static PixelFormat rgb(PixelType type) { return of(type, 3, Hint.RGB); }

  /**
   * The same with fewer significant bits, such as 12 of a camera.
   *
   * @param significant how many, at the low end
   * @return the format
   */
  public PixelFormat withBits(int significant) {
    return new PixelFormat(type, components, significant, hint);
  }

  /**
   * How a component is stored.
   *
   * @return the type
   */
  public PixelType type() { return type; }

  /**
   * How many components a pixel has.
   *
   * @return 1 to 32
   */
  public int components() { return components; }

  /**
   * Significant bits of a component.
   *
   * @return the bits; all for floating numbers
   */
  public int bits() { return bits; }

  /**
   * What the components mean.
   *
   * @return the meaning
   */
  public Hint hint() { return hint; }

  /**
   * The size of a pixel.
   *
   * @return its bytes
   */
  public int bytes() { return components * type.bytes(); }

  /** The same components in another type. */
  PixelFormat as(PixelType other) { return of(other, components, hint); }

  /** The largest number that an integer component can be. */
  double largest() { return Math.scalb(1.0, bits) - 1; }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof PixelFormat)) return false;
    PixelFormat that = (PixelFormat) other;
    return type == that.type && components == that.components && bits == that.bits && hint == that.hint;
  }

  @Override
  public int hashCode() {
    return Objects.hash(type, components, bits, hint);
  }

  @Override
  public String toString() {
    return components + " x " + type + " of " + bits + " bits, " + hint;
  }
}
