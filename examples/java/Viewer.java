import java.awt.BorderLayout;
import java.awt.Component;
import java.awt.Dimension;
import java.awt.Graphics;
import java.awt.Graphics2D;
import java.awt.Point;
import java.awt.Rectangle;
import java.awt.event.ActionEvent;
import java.awt.event.MouseAdapter;
import java.awt.event.MouseEvent;
import java.awt.image.BufferedImage;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import javax.swing.AbstractAction;
import javax.swing.Box;
import javax.swing.JComponent;
import javax.swing.JFrame;
import javax.swing.JLabel;
import javax.swing.JOptionPane;
import javax.swing.JScrollPane;
import javax.swing.JSlider;
import javax.swing.KeyStroke;
import javax.swing.SwingUtilities;
import org.qvimage.Image;
import org.qvimage.ImageException;
import org.qvimage.Images;
import org.qvimage.PixelFormat;
import org.qvimage.PixelType;
import org.qvimage.Volume;

/**
 * Shows a file of any format: {@code java -cp qvimage-java.jar Viewer.java FILE}. Pixels of more than 8 bits
 * have sliders for what is black and what is white. Page Up and Page Down step through the planes, + and -
 * zoom, the value under the mouse is written below.
 */
class Viewer extends JFrame {
  private static final long serialVersionUID = 1;
  private static final int MOST_ZOOM = 32;

  private final transient Volume volume;
  private transient Image plane;
  private transient BufferedImage shown;
  private int z = -1;
  private int zoom = 1;
  private final Picture picture = new Picture();
  private final JLabel status = new JLabel(" ");
  private final JSlider black = new JSlider();
  private final JSlider white = new JSlider();

  public static void main(String[] arguments) {
    SwingUtilities.invokeLater(() -> {
      try {
        new Viewer(Paths.get(arguments[0])).setVisible(true);
      } catch (ImageException failed) {
        JOptionPane.showMessageDialog(null, failed.getMessage(), "qvimage", JOptionPane.ERROR_MESSAGE);
      }
    });
  }

  Viewer(Path file) {
    super(file.getFileName().toString());
    volume = Images.openVolume(file);
    setDefaultCloseOperation(DISPOSE_ON_CLOSE);
    Box controls = Box.createVerticalBox();
    if (hasLevels()) {
      int largest = (1 << volume.format().bits()) - 1;
      controls.add(slider("Black", black, largest, 0));
      controls.add(slider("White", white, largest, largest));
    }
    status.setName("status");
    status.setAlignmentX(LEFT_ALIGNMENT);
    controls.add(status);
    add(new JScrollPane(picture), BorderLayout.CENTER);
    add(controls, BorderLayout.SOUTH);
    onKey("PAGE_DOWN", () -> show(Math.min(z + 1, volume.depth() - 1)));
    onKey("PAGE_UP", () -> show(Math.max(z - 1, 0)));
    onKey("PLUS", () -> zoom(2));
    onKey("ADD", () -> zoom(2));
    onKey("MINUS", () -> zoom(0.5));
    onKey("SUBTRACT", () -> zoom(0.5));
    show(0);
    pack();
  }

  private boolean hasLevels() {
    PixelFormat format = volume.format();
    return format.type().isInteger() && format.bits() > 8 && format.bits() < 31;
  }

  private Component slider(String name, JSlider slider, int largest, int value) {
    slider.setName(name);
    slider.setMaximum(largest);
    slider.setValue(value);
    slider.setFocusable(false); // Page Up and Page Down are for planes
    slider.addChangeListener(change -> develop());
    Box row = Box.createHorizontalBox();
    row.add(new JLabel(name + " "));
    row.add(slider);
    row.setAlignmentX(LEFT_ALIGNMENT);
    return row;
  }

  private void onKey(String key, Runnable action) {
    getRootPane().getInputMap(JComponent.WHEN_IN_FOCUSED_WINDOW).put(KeyStroke.getKeyStroke(key), key);
    getRootPane().getActionMap().put(key, new AbstractAction() {
      private static final long serialVersionUID = 1;

      @Override
      public void actionPerformed(ActionEvent event) {
        action.run();
      }
    });
  }

  /** Shows a plane. */
  private void show(int wanted) {
    if (wanted == z) return;
    z = wanted;
    if (plane != null) plane.close();
    plane = volume.plane(z);
    develop();
    PixelFormat format = volume.format();
    status.setText(String.format("%d x %d, %d x %s, %d bits, plane %d of %d", volume.width(), volume.height(),
        format.components(), format.type(), format.bits(), z + 1, volume.depth()));
  }

  /** Makes what is seen of the plane's pixels. */
  private void develop() {
    try {
      boolean all = !hasLevels();
      int low = Math.min(black.getValue(), white.getMaximum() - 1);
      shown = all ? plane.toBufferedImage() : plane.toBufferedImage(low, Math.max(white.getValue(), low + 1));
    } catch (ImageException failed) { // a damaged plane: what was seen before is none of it
      shown = null;
      status.setText(failed.getMessage());
    }
    picture.repaint();
  }

  private void zoom(double times) {
    zoom = (int) Math.max(1, Math.min(MOST_ZOOM, zoom * times));
    picture.revalidate();
    picture.repaint();
  }

  private void tell(Point at) {
    Rectangle pixel = new Rectangle(at.x / zoom, at.y / zoom, 1, 1);
    if (!plane.area().contains(pixel)) return;
    double[] values = new double[plane.format().components()];
    try (Image numbers = plane.converter(PixelType.FLOAT64)) {
      numbers.read(pixel, values);
      status.setText("(" + pixel.x + ", " + pixel.y + "): " + Arrays.toString(values));
    } catch (ImageException failed) {
      status.setText(failed.getMessage());
    }
  }

  @Override
  public void dispose() {
    super.dispose();
    volume.close();
  }

  /** The plane's pixels, each a square. */
  private final class Picture extends JComponent {
    private static final long serialVersionUID = 1;

    Picture() {
      addMouseMotionListener(new MouseAdapter() {
        @Override
        public void mouseMoved(MouseEvent event) {
          tell(event.getPoint());
        }
      });
    }

    @Override
    public Dimension getPreferredSize() {
      return new Dimension(volume.width() * zoom, volume.height() * zoom);
    }

    @Override
    protected void paintComponent(Graphics graphics) {
      if (shown == null) return;
      ((Graphics2D) graphics).drawImage(shown, 0, 0, volume.width() * zoom, volume.height() * zoom, null);
    }
  }
}
