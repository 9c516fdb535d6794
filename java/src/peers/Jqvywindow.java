/** A rectangle of a 2-D image. The first corner lies in it, the second one beyond its last pixel. */
class Jqvywindow {
  /** The first corner. */
  public int nwx, nwy;

  /** The corner one pixel beyond the last one. */
  public int sex, sey;
}
