/** A box of a 3-D image. The first corner lies in it, the second one beyond its last pixel. */
class Jqvyzwindow {
  /** The first corner. */
  public int nwx, nwy, nwz;

  /** The corner one pixel beyond the last one. */
  public int sex, sey, sez;
}
