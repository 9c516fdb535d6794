/** What a pixel is made of, as {@code qvimagedata} of the C interface. */
class Jqvimagedata {
  /** How one component is stored: 1, 2, 4 and 8 integers of so many bytes, 16 float, 32 double. */
  public int pixietype;

  /** Components of a pixel, 1 to 32. */
  public int pixies;

  /** What the components mean; {@link Jqvimage#hinttostring} has the names. */
  public int pixelhint;

  /** Significant bits of an integer component. */
  public int i_bitsused;

  /** Where these bits are: 0x300 everywhere, 0x200 at the low end, 0x100 at the high end. */
  public int i_bitsxsb;

  /** 0x400 where unused bits of stored components may hold anything, else 0. */
  public int i_dirtyread;

  /** 0x400 where anything may be written into the unused bits, else 0. */
  public int i_dirtyrite;

  /** 0x800 where components are stored in the reverse of the machine's byte order, else 0. */
  public int i_endian;

  /** The nominal range of floating components; 0 for integers. */
  public float r_minvalue, r_maxvalue;
}
