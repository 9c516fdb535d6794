import java.awt.Color;
import java.awt.Component;
import java.awt.Container;
import java.awt.Rectangle;
import java.awt.Robot;
import java.awt.event.InputEvent;
import java.awt.event.KeyEvent;
import java.awt.image.BufferedImage;
import java.io.ByteArrayOutputStream;
import java.io.File;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.imageio.ImageIO;
import javax.swing.JLabel;
import javax.swing.JScrollPane;
import javax.swing.JSlider;
import javax.swing.SwingUtilities;

/** The example viewer on a screen: keys and the mouse go in, what is seen comes out. */
class ViewerTest extends Checks {
  private static final int WIDTH = 320, HEIGHT = 240, LARGEST = 4095;
  private static Robot robot;

  public static void main(String[] arguments) throws Exception {
    robot = new Robot();
    robot.setAutoWaitForIdle(true);
    run(ViewerTest.class);
  }

  /** The 12-bit pixel (x, y) of a plane. */
  private static int value(int x, int y, int z) { return (12 * x + 3 * y + 1000 * z) & LARGEST; }

  private static Path frames() throws Exception {
    ByteArrayOutputStream file = new ByteArrayOutputStream();
    file.write(("P5 " + WIDTH + " " + HEIGHT + " " + LARGEST + "\n").getBytes(StandardCharsets.US_ASCII));
    for (int z = 0; z < 3; z++) {
      for (int i = 0; i < WIDTH * HEIGHT; i++) {
        int value = value(i % WIDTH, i / WIDTH, z);
        file.write(value >> 8);
        file.write(value);
      }
    }
    Path path = Files.createTempFile("qvimage", "");
    path.toFile().deleteOnExit();
    return Files.write(path, file.toByteArray());
  }

  /** The first component of a class, or the one of that name. */
  private static <T extends Component> T find(Class<T> type, String name, Container in) {
    for (Component child : in.getComponents()) {
      if (type.isInstance(child) && (name == null || name.equals(child.getName()))) return type.cast(child);
      T found = child instanceof Container ? find(type, name, (Container) child) : null;
      if (found != null) return found;
    }
    return null;
  }

  private static Rectangle picture(Viewer viewer) {
    Component inside = find(JScrollPane.class, null, viewer.getContentPane()).getViewport();
    return new Rectangle(inside.getLocationOnScreen(), inside.getSize());
  }

  private static void press(int key) {
    robot.keyPress(key);
    robot.keyRelease(key);
    robot.delay(100);
  }

  /** Is each pixel seen as its value between black and white? */
  private static void seen(String what, Viewer viewer, int z, int zoom, int black, int white) {
    BufferedImage screen = robot.createScreenCapture(picture(viewer));
    int wrong = 0;
    int width = Math.min(screen.getWidth(), WIDTH * zoom),
        height = Math.min(screen.getHeight(), HEIGHT * zoom);
    if (width < 200 || height < 200) fail(what + ": a small picture");
    for (int y = 0; y < height; y++) {
      for (int x = 0; x < width; x++) {
        double grey = (value(x / zoom, y / zoom, z) - black) * 255.0 / (white - black);
        int wanted = (int) Math.round(Math.max(0, Math.min(255, grey)));
        if (!new Color(screen.getRGB(x, y)).equals(new Color(wanted, wanted, wanted))) wrong++;
      }
    }
    equal(what + ": pixels that are wrong", 0, wrong);
  }

  static void testViewer() throws Exception {
    Path file = frames();
    Viewer[] made = new Viewer[1];
    SwingUtilities.invokeAndWait(() -> {
      made[0] = new Viewer(file);
      made[0].setLocation(0, 0);
      made[0].setVisible(true);
    });
    Viewer viewer = made[0];
    robot.delay(500);
    Rectangle at = picture(viewer);
    robot.mouseMove(at.x + 17, at.y + 29);
    robot.mousePress(InputEvent.BUTTON1_DOWN_MASK);
    robot.mouseRelease(InputEvent.BUTTON1_DOWN_MASK);
    robot.delay(200);
    seen("plane 1", viewer, 0, 1, 0, LARGEST);
    robot.mouseMove(at.x + 100, at.y + 50);
    robot.delay(200);
    String told = find(JLabel.class, "status", viewer.getContentPane()).getText();
    equal("status", "(100, 50): [" + (double) value(100, 50, 0) + "]", told);

    press(KeyEvent.VK_PAGE_DOWN);
    press(KeyEvent.VK_PAGE_DOWN);
    press(KeyEvent.VK_PAGE_DOWN);
    seen("the last plane", viewer, 2, 1, 0, LARGEST);
    press(KeyEvent.VK_PAGE_UP);
    seen("the second plane", viewer, 1, 1, 0, LARGEST);
    SwingUtilities.invokeAndWait(() -> {
      find(JSlider.class, "Black", viewer.getContentPane()).setValue(1200);
      find(JSlider.class, "White", viewer.getContentPane()).setValue(3000);
    });
    robot.delay(200);
    seen("levels", viewer, 1, 1, 1200, 3000);
    press(KeyEvent.VK_ADD);
    seen("zoomed", viewer, 1, 2, 1200, 3000);
    String screenshot = System.getProperty("screenshot");
    if (screenshot != null)
      ImageIO.write(robot.createScreenCapture(viewer.getBounds()), "png", new File(screenshot));
    SwingUtilities.invokeAndWait(viewer::dispose);
  }
}
