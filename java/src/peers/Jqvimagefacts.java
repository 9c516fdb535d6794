/** What follows from a {@link Jqvimagedata}: the library fills it in. */
class Jqvimagefacts {
  /** Bytes of a component and of a pixel. */
  public int pixiesize, pixelsize;

  /** Whether components are integers, or floating numbers. */
  public boolean pixieuint, pixiereal;
}
