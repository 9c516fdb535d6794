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

/**
 * Shows a file of any format: {@code java -cp qvimage-java.jar Viewer.java FILE}. Pixels of more than 8 bits
 * have sliders for what is black and what is white. Page Up and Page Down step through the pages, + and -
 * zoom, the value under the mouse is written below.
 */
class Viewer extends JFrame {
  private static final long serialVersionUID = 1;
  private static final int MOST_ZOOM = 32;

  private final transient Path file;
  private transient Image page;
  private transient BufferedImage shown;
  private int number = -1;
  private int zoom = 1;
  private final Picture picture = new Picture();
  private final JLabel status = new JLabel(" ");
  private final JSlider black = new JSlider();
  private final JSlider white = new JSlider();
  private final Box levels = Box.createVerticalBox();

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
    this.file = file;
    show(0);
    setDefaultCloseOperation(DISPOSE_ON_CLOSE);
    levels.add(slider("Black", black));
    levels.add(slider("White", white));
    status.setName("status");
    Box controls = Box.createVerticalBox();
    for (JComponent part : new JComponent[] {levels, status}) {
      part.setAlignmentX(LEFT_ALIGNMENT);
      controls.add(part);
    }
    add(new JScrollPane(picture), BorderLayout.CENTER);
    add(controls, BorderLayout.SOUTH);
    onKey("PAGE_DOWN", () -> show(number + 1));
    onKey("PAGE_UP", () -> show(number - 1));
    onKey("PLUS", () -> zoom(2));
    onKey("ADD", () -> zoom(2));
    onKey("MINUS", () -> zoom(0.5));
    onKey("SUBTRACT", () -> zoom(0.5));
    pack();
  }

  private Component slider(String name, JSlider slider) {
    slider.setName(name);
    slider.setFocusable(false); // Page Up and Page Down are for pages
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

  /** Shows a page; where there is none of that number, what was shown stays. */
  private void show(int wanted) {
    if (wanted < 0) return;
    try {
      Image next = Images.open(file, wanted); // by itself: pages of a file may differ
      if (page != null) page.close();
      page = next;
      number = wanted;
    } catch (ImageException none) {
      if (page == null) throw none;
      status.setText(none.getMessage());
      return;
    }
    PixelFormat format = page.format();
    setLevels(format);
    develop();
    status.setText(String.format("%d x %d, %d x %s, %d bits, page %d", page.width(), page.height(),
        format.components(), format.type(), format.bits(), number + 1));
  }

  /** Makes the sliders fit pixels of more than 8 bits, and hides them from others. */
  private void setLevels(PixelFormat format) {
    levels.setVisible(format.type().isInteger() && format.bits() > 8 && format.bits() < 31);
    int largest = (1 << Math.min(format.bits(), 30)) - 1;
    if (white.getMaximum() == largest) return;
    for (JSlider slider : new JSlider[] {black, white}) {
      slider.setMaximum(largest);
      slider.setValue(slider == white ? largest : 0);
    }
  }

  /** Makes what is seen of the page's pixels. */
  private void develop() {
    try {
      int low = Math.min(black.getValue(), white.getMaximum() - 1);
      int high = Math.max(white.getValue(), low + 1);
      shown = levels.isVisible() ? page.toBufferedImage(low, high) : page.toBufferedImage();
    } catch (ImageException failed) { // a damaged page: what was seen before is none of it
      shown = null;
      status.setText(failed.getMessage());
    }
    picture.revalidate();
    picture.repaint();
  }

  private void zoom(double times) {
    zoom = (int) Math.max(1, Math.min(MOST_ZOOM, zoom * times));
    picture.revalidate();
    picture.repaint();
  }

  private void tell(Point at) {
    Rectangle pixel = new Rectangle(at.x / zoom, at.y / zoom, 1, 1);
    if (!page.area().contains(pixel)) return;
    double[] values = new double[page.format().components()];
    try (Image numbers = page.converter(PixelType.FLOAT64)) {
      numbers.read(pixel, values);
      status.setText("(" + pixel.x + ", " + pixel.y + "): " + Arrays.toString(values));
    } catch (ImageException failed) {
      status.setText(failed.getMessage());
    }
  }

  @Override
  public void dispose() {
    super.dispose();
    if (page != null) page.close();
  }

  /** The page's pixels, each a square. */
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
      return new Dimension(page.width() * zoom, page.height() * zoom);
    }

    @Override
    protected void paintComponent(Graphics graphics) {
      if (shown == null) return;
      ((Graphics2D) graphics).drawImage(shown, 0, 0, page.width() * zoom, page.height() * zoom, null);
    }
  }
}
