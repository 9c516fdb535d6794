package org.qvimage;

import java.nio.file.Path;

/** The library refused something, or a file could not be read. */
public final class ImageException extends RuntimeException {
  private static final long serialVersionUID = 1;

  /** A negative number. */
  private final int code;
  private final transient Path file;
  /** Words, or an empty text. */
  private final String reason;

  ImageException(int code, Path file, String reason) {
    super(message(code, file, reason));
    this.code = code;
    this.file = file;
    this.reason = reason;
  }

  private static String message(int code, Path file, String reason) {
    String text = Peers.text(code);
    String cause = reason.isEmpty() || reason.equals(text) ? text : text + ": " + reason;
    return file == null ? cause : file + ": " + cause;
  }

  /**
   * The library's code, whose general meaning the message tells.
   *
   * @return a negative number, such as -13 where there is no such file
   */
  public int code() { return code; }

  /**
   * The file that the image is of.
   *
   * @return its path, or null where there is none
   */
  public Path file() { return file; }

  /**
   * Why the library could not do it: page, strip and row of a file that is damaged, what was found and what
   * was expected.
   *
   * @return words for people; they may be empty
   */
  public String reason() { return reason; }
}
