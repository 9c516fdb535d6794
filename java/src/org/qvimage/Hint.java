package org.qvimage;

/** What the components of a pixel mean. */
public enum Hint {
  /** Nothing that is known. */
  UNKNOWN(0),
  /** One grey value. */
  GREY(1),
  /** Real and imaginary part. */
  COMPLEX(2),
  /** Blue, green, red. */
  BGR(3),
  /** Blue, green, red and a component without a meaning. */
  BGRPAD(4),
  /** An index into a palette. */
  INDEX(17),
  /** A pair of pixels: Cb, Y, Cr, Y. */
  CBYCRY(18),
  /** Luma and two colour differences: Y, Cr, Cb. */
  YCRCB(19),
  /** The same and a component without a meaning. */
  YCRCBPAD(20),
  /** A raw value behind a mosaic of colour filters. */
  BAYER(33),
  /** A pair of pixels: Y, Cb, Y, Cr. */
  YCBYCR(34),
  /** Brightness, saturation, hue. */
  BSH(35),
  /** Red, green, blue and a component without a meaning. */
  RGBPAD(36),
  /** A pair of pixels: Cr, Y, Cb, Y. */
  CRYCBY(50),
  /** The four values of a cell of such a mosaic: red, green, green, blue. */
  BAYER4(52),
  /** A pair of pixels: Y, Cr, Y, Cb. */
  YCRYCB(66),
  /** Red, green, blue. */
  RGB(67),
  /** Cyan, magenta, yellow, black. */
  CMYK(68),
  /** Cells of blue, green, red, green. */
  BGRG(82),
  /** Luma and two colour differences of analogue television. */
  YIQ(83),
  /** Cells of red, green, green, blue. */
  RGGB(98),
  /** Cyan, magenta, yellow. */
  CMY(99),
  /** Cells of red, green, blue, green. */
  RGBG(114);

  final int code;

  Hint(int code) { this.code = code; }

  static Hint of(int code) {
    for (Hint hint : values()) {
      if (hint.code == code) return hint;
    }
    return UNKNOWN;
  }

  /** How many components pixels of this meaning have. */
  int components() { return code & 15; }

  boolean isRgb() { return this == RGB || this == BGR || this == RGBPAD || this == BGRPAD; }
}
