package org.qvimage;

import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.awt.image.DataBufferByte;
import java.awt.image.DataBufferUShort;

/** Copies of images for AWT. */
final class Awt {
  private static final int HIGH_END = 0x100;
  private static final int BAND_PIXELS = 1 << 16;

  private Awt() {}

  static BufferedImage copy(Image image) {
    PixelFormat format = image.format();
    if (!format.type().isInteger()) return copy(image, 0, 1);
    if (format.components() == 1) return grey(image);
    if (!hasColours(format)) {
      try (Image first = image.component(0)) {
        return grey(first);
      }
    }
    if (format.type() == PixelType.UINT8 && format.bits() == 8) return colours(image);
    try (Image narrow = image.converter(8)) {
      return colours(narrow);
    }
  }

  /** Can pixels be shown as red, green and blue? */
  private static boolean hasColours(PixelFormat format) {
    switch (format.hint()) {
      case RGB:
      case BGR:
      case RGBPAD:
      case BGRPAD:
      case YCRCB:
      case BSH:
      case CMY:
      case CMYK: return format.hint().components() == format.components();
      default: return false;
    }
  }

  /** Grey values, those of fewer bits than their containers stretched. */
  private static BufferedImage grey(Image image) {
    PixelFormat format = image.format();
    if (format.bits() > 16) {
      try (Image narrow = image.converter(16)) {
        return grey(narrow);
      }
    }
    boolean isWide = format.type() != PixelType.UINT8;
    BufferedImage copy = new BufferedImage(image.width(), image.height(),
        isWide ? BufferedImage.TYPE_USHORT_GRAY : BufferedImage.TYPE_BYTE_GRAY);
    Object pixels = isWide ? ((DataBufferUShort) copy.getRaster().getDataBuffer()).getData() : bytes(copy);
    image.move(false, format.type().code | HIGH_END, image.area(), 0, pixels, null, 0);
    return copy;
  }

  /** Colours of 8 bits. */
  private static BufferedImage colours(Image image) {
    if (image.format().hint() != Hint.BGR) {
      try (Image ordered = image.colours(Hint.BGR)) {
        return colours(ordered);
      }
    }
    BufferedImage copy = new BufferedImage(image.width(), image.height(), BufferedImage.TYPE_3BYTE_BGR);
    image.read(image.area(), bytes(copy));
    return copy;
  }

  private static byte[] bytes(BufferedImage image) {
    return ((DataBufferByte) image.getRaster().getDataBuffer()).getData();
  }

  // --- levels ---

  static BufferedImage copy(Image image, double black, double white) {
    if (!(black < white))
      throw new IllegalArgumentException("black " + black + " is not below white " + white);
    PixelFormat format = image.format();
    if (format.components() > 1 && format.hint() != Hint.BGR) {
      try (Image shown = hasColours(format) ? image.colours(Hint.BGR) : image.component(0)) {
        return copy(shown, black, white);
      }
    }
    boolean isGrey = format.components() == 1;
    BufferedImage copy = new BufferedImage(
        image.width(), image.height(), isGrey ? BufferedImage.TYPE_BYTE_GRAY : BufferedImage.TYPE_3BYTE_BGR);
    try (Image values = image.converter(PixelType.FLOAT32)) {
      stretch(values, (float) black, (float) (255 / (white - black)), bytes(copy));
    }
    return copy;
  }

  private static void stretch(Image values, float black, float scale, byte[] shown) {
    int rows = Math.max(1, BAND_PIXELS / values.width());
    int components = values.format().components();
    float[] band = new float[rows * values.width() * components];
    for (int y = 0, at = 0; y < values.height(); y += rows) {
      Rectangle area = new Rectangle(0, y, values.width(), Math.min(rows, values.height() - y));
      values.read(area, band);
      for (int i = 0; i < area.width * area.height * components; i++)
        shown[at++] = (byte) Math.max(0, Math.min(255, Math.round((band[i] - black) * scale)));
    }
  }
}
