import org.qvimage.Image;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;

/** Says whether the library was found. */
class LoadTest {
  public static void main(String[] arguments) {
    try (Image image = Image.allocate(3, 2, PixelFormat.grey(PixelType.UINT8))) {
      System.out.println("works");
    } catch (LinkageError failed) {
      System.out.println(failed);
    }
  }
}
