import java.io.File;
import java.net.URISyntaxException;
import java.security.CodeSource;

/** The texts of error codes. */
class Jqverrno {
  static { load(); }

  /**
   * The text of a code.
   *
   * @param code what a function answered
   * @return the text, or null for a code that is not negative
   */
  public static native String mesg(int code);

  /**
   * Loads the library, once for all peers: the file that the system property {@code qvimage.library} names,
   * else what {@code java.library.path} has, else the file beside the jar.
   */
  static void load() {
    String file = System.getProperty("qvimage.library");
    if (file != null) {
      System.load(new File(file).getAbsolutePath());
      return;
    }
    try {
      System.loadLibrary("qvimage");
    } catch (UnsatisfiedLinkError notOnPath) {
      File beside = besideJar();
      if (beside == null) throw notOnPath;
      System.load(beside.getPath());
    }
  }

  /** The library in the folder that the classes or their jar are in, or null. */
  private static File besideJar() {
    CodeSource source = Jqverrno.class.getProtectionDomain().getCodeSource();
    if (source == null) return null;
    try {
      File folder = new File(source.getLocation().toURI()).getParentFile();
      File file = new File(folder, System.mapLibraryName("qvimage"));
      return file.isFile() ? file.getAbsoluteFile() : null;
    } catch (URISyntaxException | IllegalArgumentException notFile) {
      return null;
    }
  }
}
