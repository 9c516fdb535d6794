import java.awt.image.BufferedImage;
import java.nio.ByteBuffer;
import org.qvimage.Image;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;

/** Loops over the package org.qvimage, which the benchmark times. */
class LayerLoops {
  static final Image grey = Image.allocate(4000, 3000, PixelFormat.grey(PixelType.UINT16));
  static final Image rgb = Image.allocate(4000, 3000, PixelFormat.rgb(PixelType.UINT8));
  static final short[] shorts = new short[4000 * 3000];
  static final ByteBuffer buffer = ByteBuffer.allocateDirect(2 * 4000 * 3000);
  static BufferedImage shown;

  static void readArray(int times) {
    for (int i = 0; i < times; i++) grey.read(grey.area(), shorts);
  }

  static void readBuffer(int times) {
    for (int i = 0; i < times; i++) {
      buffer.clear();
      grey.read(grey.area(), buffer);
    }
  }

  static void show(int times) {
    for (int i = 0; i < times; i++) shown = rgb.toBufferedImage();
  }
}
