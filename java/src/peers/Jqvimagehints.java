/** The physical size of a pixel. */
class Jqvimagehints {
  /** The sizes; 0 where they are not known. */
  public float pixelwidth, pixelheight, pixeldepth;

  /** Their units; {@link Jqvimage#unittostring} has the names. */
  public short widthunits, heightunits, depthunits;
}
